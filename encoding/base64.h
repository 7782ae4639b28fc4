/* SPDX-License-Identifier: Apache-2.0 */

/*
 * Base64 over caller-owned buffers: the alphabet of RFC 4648 section 4, "=" padding, no line
 * breaks. Nothing is allocated or reported, and nothing throws: the functions do not validate their
 * input. (The decoder for encoded words, which skips line breaks and complains about bad symbols,
 * is in encoding/base64_decode.h.)
 */
#ifndef ENCODING_BASE64_H
#define ENCODING_BASE64_H

#include <stddef.h> /* NOLINT(modernize-deprecated-headers) */

#ifdef __cplusplus
extern "C" {
#endif

/* The alphabet, zero-terminated. */
extern const char base64tab[65];

/* Its inverse by character code: 0 to 63, and 255 for every other code, "=" included. */
extern const unsigned char base64idx[128];

/*
 * Encodes `length` bytes of `input` into `output`, terminated by a zero byte. `output` needs room
 * for 4 * ceil(length / 3) + 1 characters. Both may be the same buffer. Returns the number of
 * characters written, not counting the zero byte.
 */
size_t base64Encode(const unsigned char* input, size_t length, char* output);

/*
 * Decodes `length` characters of `input` into `output`, which needs room for 3 * (length / 4)
 * bytes. No zero byte is added. Returns the number of bytes written.
 *
 * `length` should be a multiple of four: one to three characters beyond the last whole group are
 * ignored when the text does not end in "=", and a text of fewer than four characters decodes
 * to nothing. A character outside the alphabet yields wrong bytes, no error.
 */
size_t base64ArrayDecode(const char* input, size_t length, unsigned char* output);

/* base64ArrayDecode of the zero-terminated text `input`. */
size_t base64Decode(const char* input, unsigned char* output);

#ifdef __cplusplus
}
#endif

#endif
