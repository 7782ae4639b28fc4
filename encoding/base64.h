#ifndef ENCODING_BASE64_H
#define ENCODING_BASE64_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

size_t base64Encode(const unsigned char* input, size_t length, char* output);
size_t base64ArrayDecode(const char* input, size_t length, unsigned char* output);
size_t base64Decode(const char* input, unsigned char* output);

#ifdef __cplusplus
}
#endif

#endif
