#include "core/envelope_sender.h"

#include <cstdlib>
#include <string_view>

#include "core/header_fields.h"

namespace {

std::string_view without_brackets(std::string_view path) {
    return path.starts_with('<') && path.ends_with('>') ? path.substr(1, path.size() - 2) : path;
}

}  // namespace

std::optional<MailAddress> envelope_sender(const HeaderFields& header) {
    for (const char* variable : {"SENDER", "RETURN_PATH"}) {
        if (const char* value = std::getenv(variable)) {
            return bare_address(without_brackets(value));
        }
    }
    if (const auto path = header.first("Return-Path")) {
        return AddressReader(*path).next().value_or(MailAddress{});
    }
    return std::nullopt;
}
