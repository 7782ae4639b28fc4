// SPDX-License-Identifier: Apache-2.0

#include <array>
#include <string_view>

#include <mimelib/enum.h>
#include <mimelib/field_body.h>

#include "mimelib/src/view.h"

namespace {

struct Mechanism {
    std::string_view name;
    int number;
};

constexpr std::array<Mechanism, 6> kMechanisms = {{
    {"", DwMime::kCteNull},
    {"7bit", DwMime::kCte7bit},
    {"8bit", DwMime::kCte8bit},
    {"binary", DwMime::kCteBinary},
    {"quoted-printable", DwMime::kCteQuotedPrintable},
    {"base64", DwMime::kCteBase64},
}};

}  // namespace

int DwMechanism::AsEnum() const {
    for (const Mechanism& mechanism : kMechanisms) {
        if (mimelib::equals_ignoring_case(mimelib::view(text()), mechanism.name)) {
            return mechanism.number;
        }
    }
    return DwMime::kCteUnknown;
}
