// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/core/header_agreement.h"

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "core/message/field_tokens.h"
#include "core/message/header_fields.h"
#include "core/message/mail_address.h"
#include "core/message/mail_content.h"
#include "core/message/message_id.h"
#include "core/people/automatic_mail.h"
#include "tests/unit/core/naive_header.h"

namespace {

using namespace autoresponder;

bool is_slice(std::string_view part, const std::string& whole) {
    return part.empty() || (part.data() >= whole.data() &&
                            part.data() + part.size() <= whole.data() + whole.size());
}

std::vector<naive::Token> tokens(std::string_view body) {
    std::vector<naive::Token> all;
    FieldTokens reader(body);
    for (FieldToken token = reader.next(); token.kind != FieldToken::Kind::kEnd;
         token = reader.next()) {
        const char kind = token.kind == FieldToken::Kind::kAtom            ? 'a'
                          : token.kind == FieldToken::Kind::kQuotedString  ? '"'
                          : token.kind == FieldToken::Kind::kDomainLiteral ? '['
                                                                           : token.text.front();
        all.push_back({kind, std::string(token.text)});
    }
    return all;
}

std::vector<naive::Address> addresses(std::string_view body) {
    std::vector<naive::Address> all;
    AddressReader reader(body);
    while (const auto address = reader.next()) {
        all.emplace_back(address->local_part, address->domain);
    }
    return all;
}

std::optional<MailAddress> first_address(const HeaderFields& header, const char* field) {
    const auto body = header.first(field);
    return body ? AddressReader(*body).next() : std::nullopt;
}

std::optional<std::string> reason(const std::string& text) {
    const HeaderFields header(text);
    Mail_content mail;
    mail.from = header.first("From").value_or("");
    return machine_reason(mail, first_address(header, "Return-Path"), header);
}

std::optional<std::string> naive_reason(const std::string& text) {
    const HeaderFields header(text);
    const auto sender = first_address(header, "Return-Path");
    return naive::machine_reason(
        std::string(header.first("From").value_or("")),
        sender ? std::optional(naive::Address(sender->local_part, sender->domain)) : std::nullopt,
        text);
}

std::string in_capitals(std::string text) {
    for (char& c : text) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - ('a' - 'A'));
        }
    }
    return text;
}

std::string with_network_line_ends(const std::string& text) {
    std::string all;
    for (const char c : text) {
        all += c == '\n' ? "\r\n" : std::string(1, c);
    }
    return all;
}

std::string disagreement_on(const HeaderField& field) {
    const std::string body(field.body);
    if (tokens(field.body) != naive::tokens(body)) {
        return "tokens of " + body;
    }
    if (addresses(field.body) != naive::addresses(body)) {
        return "addresses of " + body;
    }
    const auto id = message_id(field.body);
    if (id != naive::message_id(body)) {
        return "message identifier in " + body;
    }
    return "";
}

}  // namespace

std::string disagreement(const std::string& header) {
    std::vector<std::pair<std::string, std::string>> fields;
    for (const HeaderField& field : HeaderFields(header)) {
        if (!is_slice(field.name, header) || !is_slice(field.body, header)) {
            return "a copied field";
        }
        if (std::string on_field = disagreement_on(field); !on_field.empty()) {
            return on_field;
        }
        fields.emplace_back(field.name, field.body);
    }
    if (fields != naive::fields(header)) {
        return "the fields";
    }
    if (reason(header) != naive_reason(header)) {
        return "the reason " + reason(header).value_or("none");
    }
    if (reason(in_capitals(header)) != reason(header)) {
        return "the reason in capitals";
    }
    if (reason(with_network_line_ends(header)) != reason(header)) {
        return "the reason with other line ends";
    }
    return "";
}
