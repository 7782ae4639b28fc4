// SPDX-License-Identifier: Apache-2.0

#include "tests/fuzz/mimelib/property.h"

namespace {

int number_of(const std::string& type) {
    const DwMediaType alone(to_dw_string(type));
    return alone.Type();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const DwString text = input(data, size);
    const DwMediaType media_type(text);
    const naive::MediaType expected = naive::media_type(to_string(text));
    require(media_type.Type() == number_of(expected.type), "the type is the first atom");

    const auto read = [&](const DwParameter& parameter) {
        require(is_slice(parameter.Attribute(), text), "the attribute is a slice");
        require(is_slice(parameter.Value(), text), "the value is a slice");
        return std::pair(to_string(parameter.Attribute()), to_string(parameter.Value()));
    };
    require(read_all([&] { return media_type.FirstParameter(); }, read) == expected.parameters,
            "the parameters are the naive reader's");
    return 0;
}
