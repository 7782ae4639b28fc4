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

    const DwParameter* parameter = media_type.FirstParameter();
    for (const auto& [attribute, value] : expected.parameters) {
        require(parameter != nullptr, "no parameter is missing");
        require(to_string(parameter->Attribute()) == attribute, "the attribute is the naive one");
        require(to_string(parameter->Value()) == value, "the value is the naive one");
        require(is_slice(parameter->Attribute(), text), "the attribute is a slice");
        require(is_slice(parameter->Value(), text), "the value is a slice");
        parameter = parameter->Next();
    }
    require(parameter == nullptr, "there is no further parameter");
    return 0;
}
