// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

// The rules for reading headers a second time, written to be read: no slices, no laziness, no care
// for speed or memory. Tests and the fuzz target compare core/ with it.
namespace naive {

using Address = std::pair<std::string, std::string>;  // local part and domain, in lower case

struct Token {
    char kind = 'a';   // 'a' atom, '"' quoted string, '[' domain literal, or the special itself
    std::string text;  // of a quoted string what stands between its quotes

    bool operator==(const Token&) const = default;
};

// Name and body of each field.
std::vector<std::pair<std::string, std::string>> fields(const std::string& header);
std::vector<Token> tokens(const std::string& body);
std::vector<Address> addresses(const std::string& body);
std::optional<std::string> message_id(const std::string& body);
// As machine_reason; `from` is the sender.
std::optional<std::string> machine_reason(const std::string& from,
                                          const std::optional<Address>& envelope_sender,
                                          const std::string& header);

}  // namespace naive
