#ifndef SUPPORT_CONF_H
#define SUPPORT_CONF_H

#ifdef __cplusplus
extern "C" {
#endif

enum { TOLVA_MAILNAMES_D = 1 };

int autoprepend(void);
const char* tvaConfGetDefaultByIndex(int index);

#ifdef __cplusplus
}
#endif

#endif
