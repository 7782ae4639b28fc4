// SPDX-License-Identifier: Apache-2.0

#include <array>
#include <string_view>
#include <utility>

#include <mimelib/component.h>
#include <mimelib/enum.h>
#include <mimelib/media_type.h>
#include <mimelib/string.h>

#include "mimelib/src/last_two.h"
#include "mimelib/src/media_type_parts.h"
#include "mimelib/src/view.h"

using mimelib::equals_ignoring_case;
using mimelib::MediaTypeReader;
using mimelib::slice_of;
using mimelib::view;

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
        if (equals_ignoring_case(name, type.name)) {
            return type.number;
        }
    }
    return DwMime::kTypeUnknown;
}

// Some mailers put the boundary in single quotes, which RFC 2045 does not provide for.
DwString without_single_quotes(const DwString& value) {
    const std::size_t length = value.length();
    if (length > 2 && value[0] == '\'' && value[length - 1] == '\'') {
        return value.substr(1, length - 2);
    }
    return value;
}

}  // namespace

struct DwMediaType::Parts {
    int type = DwMime::kTypeNull;
    std::size_t parameters_position = 0;
    mimelib::LastTwo<DwParameter> parameters;
};

DwParameter::DwParameter(const DwMediaType& media_type, DwString text, DwString attribute,
                         DwString value, std::size_t next_position) noexcept
    : DwMessageComponent(std::move(text)),
      media_type_(media_type),
      attribute_(std::move(attribute)),
      value_(std::move(value)),
      next_position_(next_position) {}

DwParameter* DwParameter::Next() const {
    return media_type_.parameter_after(*this);
}

DwMediaType::DwMediaType(DwString text) noexcept : DwFieldBody(std::move(text)) {}

DwMediaType::~DwMediaType() = default;

int DwMediaType::Type() const {
    return parts().type;
}

DwParameter* DwMediaType::FirstParameter() const {
    return parameter_at(parts().parameters_position);
}

DwMediaType::Parts& DwMediaType::parts() const {
    if (!parts_) {
        MediaTypeReader reader(view(text()));
        auto parts = std::make_unique<Parts>();
        parts->type = type_number(view(slice_of(text(), reader.read_type())));
        parts->parameters_position = reader.position();
        parts_ = std::move(parts);
    }
    return *parts_;
}

DwParameter* DwMediaType::parameter_at(std::size_t position) const {
    return parts().parameters.at(position, [&] { return read_parameter(position); });
}

DwParameter* DwMediaType::parameter_after(const DwParameter& parameter) const {
    parts().parameters.use(parameter);
    return parameter_at(parameter.next_position_);
}

std::unique_ptr<DwParameter> DwMediaType::read_parameter(std::size_t position) const {
    MediaTypeReader reader(view(text()), position);
    const auto found = reader.next_parameter();
    if (!found) {
        return nullptr;
    }
    const DwString attribute = slice_of(text(), found->attribute);
    DwString value = slice_of(text(), found->value);
    if (equals_ignoring_case(view(attribute), "boundary")) {
        value = without_single_quotes(value);
    }
    return std::unique_ptr<DwParameter>(new DwParameter(*this, slice_of(text(), found->whole),
                                                        attribute, value, reader.position()));
}
