// SPDX-License-Identifier: Apache-2.0

#include "core/reply/reply_address.h"

#include <cstdint>

#include "core/run/confined_process.h"
#include "core/run/items.h"
#include "encoding/idn.h"
#include "support/ascii.h"

namespace autoresponder {

namespace {

enum Kind : std::uint32_t { kAscii = ConfinedEnd::kFirstFreeKind, kErrorCode };

std::string convert_confined(const std::string& address) {
    ConfinedProcess process(address.size(), [&address](ConfinedEnd& end) {
        try {
            end.out().put(kAscii, tolva::idn::toAscii(address));
        } catch (const tolva::idn::IdnaError& error) {
            end.out().put_number(kErrorCode, static_cast<std::uint64_t>(error.code()));
        }
    });
    std::string converted;
    while (const auto item = process.next()) {
        if (item->kind == kErrorCode) {
            throw tolva::idn::IdnaError(static_cast<int>(number_in(*item).value_or(0)));
        }
        converted += item->bytes;
    }
    // It becomes part of a header.
    if (!tolva::is_ascii(converted) ||
        (tolva::has_control_character(converted) && !tolva::has_control_character(address))) {
        throw ConfinedProcessError("the reading process gave an answer that makes no sense");
    }
    return converted;
}

}  // namespace

std::string reply_address(const std::string& recipient) {
    std::string address = recipient.substr(0, recipient.find('\0'));  // there a name ends
    try {
        if (!tolva::is_ascii(address)) {
            return convert_confined(address);
        }
        tolva::idn::check_lengths(address);
        return address;
    } catch (const tolva::idn::IdnaError& error) {
        throw AddressError(error.what());
    } catch (const ConfinedProcessError& error) {
        throw AddressError(error.what());
    }
}

}  // namespace autoresponder
