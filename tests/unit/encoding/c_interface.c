// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/encoding/c_interface.h"

#include <string.h>

#include "encoding/base64.h"
#include "encoding/idn.h"

size_t round_trip_in_c(const char* text, char* encoded, char* decoded, size_t size) {
    const size_t length = strlen(text);
    if (4 * ((length + 2) / 3) + 1 > size) {
        return 0;
    }
    const size_t characters = base64Encode((const unsigned char*)text, length, encoded);
    const size_t bytes = base64ArrayDecode(encoded, characters, (unsigned char*)decoded);
    decoded[bytes] = '\0';
    return base64Decode(encoded, (unsigned char*)decoded);
}

const char* idn_strerror_in_c(int code) {
    return idn_strerror(code);
}
