// SPDX-License-Identifier: Apache-2.0

// The C functions of encoding/base64.h on buffers of exactly the documented sizes, and the lenient
// decoder on what they encode.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "encoding/base64.h"
#include "encoding/base64_decode.h"
#include "tests/fuzz/require.h"

namespace {

void encode_and_decode(const std::uint8_t* data, std::size_t size) {
    const std::size_t room = 4 * ((size + 2) / 3) + 1;
    const auto encoded = std::make_unique<char[]>(room);
    const std::size_t written = base64Encode(data, size, encoded.get());
    require(written == room - 1 && encoded[written] == '\0', "length and zero byte");
    require(std::strspn(encoded.get(), base64tab) + 2 >= written, "alphabet and at most two '='");

    const auto in_place = std::make_unique<char[]>(room);
    std::memcpy(in_place.get(), data, size);
    base64Encode(reinterpret_cast<unsigned char*>(in_place.get()), size, in_place.get());
    require(std::memcmp(in_place.get(), encoded.get(), room) == 0, "in place is the same");

    const auto decoded = std::make_unique<unsigned char[]>(3 * (written / 4));
    require(base64Decode(encoded.get(), decoded.get()) == size, "decoded length");
    require(std::memcmp(decoded.get(), data, size) == 0, "decoding restores what was encoded");

    const std::string lenient = tolva::base64_decode(encoded.get());
    require(lenient.size() == size && std::memcmp(lenient.data(), data, size) == 0,
            "the lenient decoder agrees");
}

void decode_anything(const std::uint8_t* data, std::size_t size) {
    const auto decoded = std::make_unique<unsigned char[]>(3 * (size / 4));
    const std::size_t written =
        base64ArrayDecode(reinterpret_cast<const char*>(data), size, decoded.get());
    require(written <= 3 * (size / 4), "the documented room is enough");
    require(written + 2 >= 3 * (size / 4), "only padding makes it shorter");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 0) {
        encode_and_decode(data, size);
    }
    decode_anything(data, size);
    return 0;
}
