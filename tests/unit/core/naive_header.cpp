// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/core/naive_header.h"

#include <algorithm>
#include <cstddef>
#include <map>

namespace naive {
namespace {

const std::string kSpecials = "()<>@,;:\\\".[]";

std::string lower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c + ('a' - 'A'));
        }
    }
    return text;
}

std::string trim(const std::string& text, const std::string& what) {
    const auto first = text.find_first_not_of(what);
    return first == std::string::npos ? ""
                                      : text.substr(first, text.find_last_not_of(what) + 1 - first);
}

bool is_gap(char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == 0x7F;
}

// The length of what begins `text` with '(', '"' or '[', up to what closes it; 0 if nothing does.
std::size_t closed_length(const std::string& text) {
    const char opening = text[0];
    const char closing = opening == '(' ? ')' : opening == '[' ? ']' : '"';
    int depth = 1;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
        } else if (text[i] == closing) {
            --depth;
        } else if (text[i] == '(' && opening == '(') {
            ++depth;
        }
        if (depth == 0) {
            return i + 1;
        }
    }
    return 0;
}

// "*" in a pattern stands for any text.
bool matches(const std::string& pattern, const std::string& text) {
    if (pattern.empty()) {
        return text.empty();
    }
    if (pattern[0] != '*') {
        return !text.empty() && text[0] == pattern[0] && matches(pattern.substr(1), text.substr(1));
    }
    for (std::size_t length = 0; length <= text.size(); ++length) {
        if (matches(pattern.substr(1), text.substr(length))) {
            return true;
        }
    }
    return false;
}

std::string unquoted(const Token& token) {
    std::string value;
    for (std::size_t i = 0; i < token.text.size(); ++i) {
        if (token.kind == '"' && token.text[i] == '\\') {
            ++i;
        }
        if (token.kind != '"' || (token.text[i] != '\r' && token.text[i] != '\n')) {
            value += token.text[i];
        }
    }
    return value;
}

std::string cut(const std::string& text) {
    return lower(text).substr(0, 1000);
}

// The last words of the tokens that only dots divide.
std::string local_part(const std::vector<Token>& tokens) {
    std::string text;
    bool after_word = false;
    for (const Token& token : tokens) {
        const bool word = token.kind == 'a' || token.kind == '"';
        if (word && after_word) {
            text.clear();
        }
        if (word || token.kind == '.') {
            text = cut(text.append(unquoted(token)));
            after_word = word;
        }
    }
    return text;
}

std::string domain(const std::vector<Token>& tokens) {
    std::string text;
    bool after_label = false;
    for (const Token& token : tokens) {
        const bool label = token.kind == 'a' || token.kind == '[';
        if (token.kind != '.' && (!label || after_label)) {
            break;
        }
        text = cut(text.append(token.text));
        after_label = label;
    }
    return text;
}

std::optional<Address> mailbox(const std::vector<Token>& tokens) {
    const auto is_at = [](const Token& token) { return token.kind == '@'; };
    if (std::count_if(tokens.begin(), tokens.end(), is_at) > 1) {
        return std::nullopt;
    }
    const auto at = std::find_if(tokens.begin(), tokens.end(), is_at);
    Address address{local_part({tokens.begin(), at}),
                    at == tokens.end() ? "" : domain({at + 1, tokens.end()})};
    return address.first.empty() ? std::nullopt : std::optional(address);
}

bool is_one_of(const Token& token, const std::string& kinds) {
    return kinds.find(token.kind) != std::string::npos;
}

std::optional<std::string> machine_name(const std::string& who, const std::string& local_part) {
    const std::vector<std::string> patterns = {
        "mailer-daemon", "mailer",       "daemon",         "postmaster",    "root",
        "uucp",          "listserv",     "majordomo",      "owner-*",       "*-owner",
        "*-request",     "bounce*",      "*-bounce*",      "*noreply*",     "*no-reply*",
        "*no_reply*",    "*donotreply*", "*do-not-reply*", "*do_not_reply*"};
    for (const std::string& pattern : patterns) {
        if (matches(pattern, local_part)) {
            return std::string(who).append(" ").append(pattern);
        }
    }
    return std::nullopt;
}

bool is_no(const std::string& body) {
    const std::vector<Token> all = tokens(body);
    return !all.empty() && is_one_of(all[0], "a\"") && lower(all[0].text) == "no" &&
           (all.size() == 1 || all[1].kind == ';');
}

std::optional<std::string> field_reason(const std::string& name, const std::string& body) {
    const std::map<std::string, std::string> presence = {{"list-id", "List-Id"},
                                                         {"list-help", "List-Help"},
                                                         {"list-unsubscribe", "List-Unsubscribe"},
                                                         {"list-subscribe", "List-Subscribe"},
                                                         {"list-post", "List-Post"},
                                                         {"list-owner", "List-Owner"},
                                                         {"list-archive", "List-Archive"},
                                                         {"mailing-list", "Mailing-List"}};
    if (presence.contains(lower(name))) {
        return presence.at(lower(name)) + ": field";
    }
    if (lower(name) == "auto-submitted" && !is_no(body)) {
        return "Auto-Submitted: field";
    }
    const std::map<std::string, std::pair<std::string, std::vector<std::string>>> keywords = {
        {"precedence", {"Precedence", {"bulk", "junk", "list"}}},
        {"x-auto-response-suppress", {"X-Auto-Response-Suppress", {"OOF", "AutoReply", "All"}}}};
    const auto found = keywords.find(lower(name));
    if (found == keywords.end()) {
        return std::nullopt;
    }
    for (const Token& token : tokens(body)) {
        for (const std::string& keyword : found->second.second) {
            if (is_one_of(token, "a\"") && lower(token.text) == lower(keyword)) {
                return found->second.first + ": " + keyword;
            }
        }
    }
    return std::nullopt;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> fields(const std::string& header) {
    std::vector<std::string> raw;
    std::string line;
    for (std::size_t i = 0; i < header.size(); ++i) {
        line += header[i];
        if (header[i] == '\n' || i + 1 == header.size()) {
            if (raw.empty() || (line[0] != ' ' && line[0] != '\t')) {
                raw.emplace_back();
            }
            raw.back() += line;
            line.clear();
        }
    }
    std::vector<std::pair<std::string, std::string>> all;
    for (const std::string& field : raw) {
        const auto colon = field.find(':');
        if (colon != std::string::npos) {
            const std::string name = field.substr(0, colon);
            all.emplace_back(name.substr(0, name.find_last_not_of(" \t") + 1),
                             trim(field.substr(colon + 1), " \t\r\n"));
        }
    }
    return all;
}

std::vector<Token> tokens(const std::string& body) {
    std::vector<Token> all;
    bool in_atom = false;
    std::string rest = body;
    while (!rest.empty()) {
        const char c = rest[0];
        const bool delimited = c == '(' || c == '"' || c == '[';
        const std::size_t length = delimited ? closed_length(rest) : 1;
        if (length == 0) {
            break;
        }
        const bool atom = !is_gap(c) && kSpecials.find(c) == std::string::npos;
        if (atom && in_atom) {
            all.back().text += c;
        } else if (c == '"') {
            all.push_back({c, rest.substr(1, length - 2)});
        } else if (c != '(' && !is_gap(c)) {
            all.push_back({atom ? 'a' : c, rest.substr(0, length)});
        }
        in_atom = atom;
        rest = rest.substr(length);
    }
    return all;
}

std::vector<Address> addresses(const std::string& body) {
    std::vector<Address> all;
    std::vector<Token> current;
    const auto finish = [&] {
        if (const auto address = mailbox(current)) {
            all.push_back(*address);
        }
        current.clear();
    };
    for (const Token& token : tokens(body)) {
        if (is_one_of(token, ",;>")) {
            finish();
        } else if (is_one_of(token, "<:")) {
            current.clear();
        } else {
            current.push_back(token);
        }
    }
    finish();
    return all;
}

std::optional<std::string> message_id(const std::string& body) {
    // The first "<" that only gaps and whole comments come before.
    const auto begins_at = [&body](std::size_t i) {
        const std::string before = body.substr(0, i);
        return body[i] == '<' && tokens(before).empty() && !tokens(before + "x").empty();
    };
    std::size_t begin = 0;
    while (begin < body.size() && !begins_at(begin)) {
        ++begin;
    }
    const auto end = body.find('>', begin);
    if (end == std::string::npos || !tokens(body.substr(end + 1)).empty()) {
        return std::nullopt;
    }
    const std::string id = body.substr(begin, end + 1 - begin);
    bool printable = true;
    for (const char c : id) {
        printable = printable && c > ' ' && c < 0x7F;
    }
    const bool well_formed = printable && id.size() <= 998 && id.rfind('<') == 0 &&
                             id.find('@') != std::string::npos && id.find("<@") != 0 &&
                             id.find("@>") == std::string::npos;
    return well_formed ? std::optional(id) : std::nullopt;
}

std::optional<std::string> machine_reason(const std::string& from,
                                          const std::optional<Address>& envelope_sender,
                                          const std::string& header) {
    if (envelope_sender == Address{"", ""}) {
        return "empty envelope sender";
    }
    if (envelope_sender == Address{"#", "[]"}) {
        return "envelope sender #@[]";
    }
    if (envelope_sender) {
        if (auto reason = machine_name("envelope sender", envelope_sender->first)) {
            return reason;
        }
    }
    for (const auto& [name, body] : fields(header)) {
        if (auto reason = field_reason(name, body)) {
            return reason;
        }
    }
    const std::vector<Address> senders = addresses(from);
    return senders.empty() ? std::nullopt : machine_name("sender", senders[0].first);
}

}  // namespace naive
