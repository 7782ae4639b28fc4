#include <array>

#include <mimelib/enum.h>
#include <mimelib/media_type.h>

#include "mimelib/src/media_type_parts.h"

namespace {

struct Type {
    std::string_view name;
    int number;
};

constexpr std::array<Type, 9> kTypes = {{
    {"", DwMime::kTypeNull},
    {"text", DwMime::kTypeText},
    {"multipart", DwMime::kTypeMultipart},
    {"message", DwMime::kTypeMessage},
    {"application", DwMime::kTypeApplication},
    {"image", DwMime::kTypeImage},
    {"audio", DwMime::kTypeAudio},
    {"video", DwMime::kTypeVideo},
    {"model", DwMime::kTypeModel},
}};

int type_number(std::string_view name) {
    for (const Type& type : kTypes) {
        if (mimelib::equals_ignoring_case(name, type.name)) {
            return type.number;
        }
    }
    return DwMime::kTypeUnknown;
}

// Some mailers put the boundary into single quotes, which are no quotes to RFC 2045.
DwString without_single_quotes(const DwString& value) {
    const std::size_t length = value.length();
    if (length > 2 && value[0] == '\'' && value[length - 1] == '\'') {
        return value.substr(1, length - 2);
    }
    return value;
}

}  // namespace

DwParameter::DwParameter(DwString text, DwString attribute, DwString value) noexcept
    : DwMessageComponent(std::move(text)),
      attribute_(std::move(attribute)),
      value_(std::move(value)) {}

int DwMediaType::Type() const {
    read();
    return type_;
}

DwParameter* DwMediaType::FirstParameter() const {
    read();
    return parameters_.empty() ? nullptr : &parameters_.front();
}

void DwMediaType::read() const {
    if (is_read_) {
        return;
    }
    mimelib::MediaTypeReader reader(mimelib::view(text()));
    type_ = type_number(mimelib::view(mimelib::slice_of(text(), reader.read_type())));
    DwParameter* last = nullptr;
    auto place = parameters_.before_begin();
    while (const auto found = reader.next_parameter()) {
        DwString attribute = mimelib::slice_of(text(), found->attribute);
        DwString value = mimelib::slice_of(text(), found->value);
        if (mimelib::equals_ignoring_case(mimelib::view(attribute), "boundary")) {
            value = without_single_quotes(value);
        }
        place = parameters_.emplace_after(place, mimelib::slice_of(text(), found->whole),
                                          std::move(attribute), std::move(value));
        if (last != nullptr) {
            last->next_ = &*place;
        }
        last = &*place;
    }
    is_read_ = true;
}
