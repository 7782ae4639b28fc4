/* SPDX-License-Identifier: Apache-2.0 */

/* Calls from C into the headers that are C interfaces, for c_interface_test.cpp. */
#ifndef TESTS_UNIT_ENCODING_C_INTERFACE_H
#define TESTS_UNIT_ENCODING_C_INTERFACE_H

#include <stddef.h> /* NOLINT(modernize-deprecated-headers) */

#ifdef __cplusplus
extern "C" {
#endif

/* Encodes the zero-terminated `text` in C and decodes it again into `decoded`, zero-terminated.
 * Both buffers are of `size` bytes. Returns the decoded length, or 0 when `size` is too small. */
size_t round_trip_in_c(const char* text, char* encoded, char* decoded, size_t size);

const char* idn_strerror_in_c(int code);

#ifdef __cplusplus
}
#endif

#endif
