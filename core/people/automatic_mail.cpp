// SPDX-License-Identifier: Apache-2.0

#include "core/people/automatic_mail.h"

#include <array>
#include <cstdlib>
#include <span>
#include <string_view>

#include "core/message/field_tokens.h"
#include "core/message/header_fields.h"
#include "core/message/mail_content.h"
#include "support/ascii.h"

namespace autoresponder {

namespace {

using Reason = std::optional<std::string>;

// Local parts that programs send mail as; "*" stands for any bytes and only at either end.
constexpr std::array<std::string_view, 19> kMachines = {
    "mailer-daemon", "mailer",       "daemon",         "postmaster",    "root",
    "uucp",          "listserv",     "majordomo",      "owner-*",       "*-owner",
    "*-request",     "bounce*",      "*-bounce*",      "*noreply*",     "*no-reply*",
    "*no_reply*",    "*donotreply*", "*do-not-reply*", "*do_not_reply*"};

bool matches(std::string_view pattern, std::string_view text) {
    const bool open_start = pattern.starts_with('*');
    const bool open_end = pattern.ends_with('*');
    pattern.remove_prefix(open_start ? 1 : 0);
    pattern.remove_suffix(open_end ? 1 : 0);
    if (open_start && open_end) {
        return text.find(pattern) != std::string_view::npos;
    }
    if (open_start) {
        return text.ends_with(pattern);
    }
    return open_end ? text.starts_with(pattern) : text == pattern;
}

// `who` is what the reason calls the address.
Reason machine_name(std::string_view who, const MailAddress& address) {
    for (const std::string_view pattern : kMachines) {
        if (matches(pattern, address.local_part)) {
            return std::string(who).append(" ").append(pattern);
        }
    }
    return std::nullopt;
}

std::string_view without_brackets(std::string_view path) {
    return path.starts_with('<') && path.ends_with('>') ? path.substr(1, path.size() - 2) : path;
}

Reason envelope_reason(const MailAddress& sender) {
    if (sender == MailAddress{}) {
        return "empty envelope sender";
    }
    // qmail's for notices about notices that could not be delivered.
    if (sender == MailAddress{"#", "[]"}) {
        return "envelope sender #@[]";
    }
    return machine_name("envelope sender", sender);
}

Reason presence(std::string_view name, std::string_view /*body*/) {
    return std::string(name).append(": field");
}

// The body is a keyword, which parameters may follow (RFC 3834, 5).
Reason unless_no(std::string_view name, std::string_view body) {
    FieldTokens tokens(body);
    const FieldToken keyword = tokens.next();
    const FieldToken after = tokens.next();
    const bool is_no = tolva::equals_ignoring_case(keyword.text, "no") &&
                       (after.is(';') || after.kind == FieldToken::Kind::kEnd);
    return is_no ? std::nullopt : presence(name, body);
}

Reason one_of(std::span<const std::string_view> keywords, std::string_view name,
              std::string_view body) {
    FieldTokens tokens(body);
    for (FieldToken token = tokens.next(); token.kind != FieldToken::Kind::kEnd;
         token = tokens.next()) {
        for (const std::string_view keyword : keywords) {
            if (tolva::equals_ignoring_case(token.text, keyword)) {
                return std::string(name).append(": ").append(keyword);
            }
        }
    }
    return std::nullopt;
}

Reason mass_mail(std::string_view name, std::string_view body) {
    constexpr std::array<std::string_view, 3> keywords = {"bulk", "junk", "list"};
    return one_of(keywords, name, body);
}

Reason suppressed(std::string_view name, std::string_view body) {
    constexpr std::array<std::string_view, 3> keywords = {"OOF", "AutoReply", "All"};
    return one_of(keywords, name, body);
}

struct FieldRule {
    std::string_view field;
    Reason (*reason)(std::string_view name, std::string_view body);
};

constexpr std::array kFieldRules = {
    FieldRule{"Auto-Submitted", unless_no},
    FieldRule{"List-Id", presence},
    FieldRule{"List-Help", presence},
    FieldRule{"List-Unsubscribe", presence},
    FieldRule{"List-Subscribe", presence},
    FieldRule{"List-Post", presence},
    FieldRule{"List-Owner", presence},
    FieldRule{"List-Archive", presence},
    FieldRule{"Mailing-List", presence},
    FieldRule{"Precedence", mass_mail},
    FieldRule{"X-Auto-Response-Suppress", suppressed},
};

Reason field_reason(const HeaderField& field) {
    for (const FieldRule& rule : kFieldRules) {
        if (tolva::equals_ignoring_case(field.name, rule.field)) {
            return rule.reason(rule.field, field.body);
        }
    }
    return std::nullopt;
}

Reason header_reason(const HeaderFields& header) {
    for (const HeaderField& field : header) {
        if (Reason reason = field_reason(field)) {
            return reason;
        }
    }
    return std::nullopt;
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

std::optional<std::string> machine_reason(const Mail_content& mail,
                                          const std::optional<MailAddress>& envelope_sender,
                                          const HeaderFields& header) {
    if (envelope_sender) {
        if (Reason reason = envelope_reason(*envelope_sender)) {
            return reason;
        }
    }
    if (Reason reason = header_reason(header)) {
        return reason;
    }
    const auto sender = AddressReader(mail.from).next();
    return sender ? machine_name("sender", *sender) : std::nullopt;
}

}  // namespace autoresponder
