#ifndef SUPPORT_STRING_HELPERS_H
#define SUPPORT_STRING_HELPERS_H

#ifdef __cplusplus
extern "C" {
#endif

char* tolva_trim(char* str);

#ifdef __cplusplus
}
#endif

#endif
