// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/mimelib/naive.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace naive {
namespace {

std::string lower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return text;
}

bool is_one_of(char c, const std::string& characters) {
    return characters.find(c) != std::string::npos;
}

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

std::string without_leading(std::string text, const std::string& characters) {
    while (!text.empty() && is_one_of(text.front(), characters)) {
        text.erase(0, 1);
    }
    return text;
}

std::string without_trailing(std::string text, const std::string& characters) {
    while (!text.empty() && is_one_of(text.back(), characters)) {
        text.pop_back();
    }
    return text;
}

// The position of `c` at or after `start`; the end of the text if it is not there.
std::size_t position_of(char c, const std::string& text, std::size_t start) {
    return std::min(text.find(c, start), text.size());
}

// The lines, each with its line feed; the last one may have none.
std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> all;
    bool line_is_open = false;
    for (const char c : text) {
        if (!line_is_open) {
            all.emplace_back();
        }
        all.back() += c;
        line_is_open = c != '\n';
    }
    return all;
}

// Headers and body

bool is_header_line(const std::string& line) {
    return is_blank(line[0]) || is_one_of(':', line);
}

bool is_empty_line(const std::string& line) {
    return line == "\n" || line == "\r\n";
}

struct HeadersAndBody {
    std::string headers;
    std::string body;
};

HeadersAndBody split(const std::string& text) {
    std::string headers;
    for (const std::string& line : lines(text)) {
        if (is_empty_line(line)) {
            return {headers, text.substr(headers.size() + line.size())};
        }
        if (!is_header_line(line) && line.ends_with('\n')) {
            return {headers, text.substr(headers.size())};
        }
        headers += line;
    }
    return {headers, ""};
}

// Fields

std::vector<std::string> unfolded_lines(const std::string& headers) {
    std::vector<std::string> all;
    for (const std::string& line : lines(headers)) {
        if (all.empty() || !is_blank(line[0])) {
            all.emplace_back();
        }
        all.back() += line;
    }
    return all;
}

std::vector<std::pair<std::string, std::string>> fields(const std::string& headers) {
    std::vector<std::pair<std::string, std::string>> all;
    for (const std::string& field : unfolded_lines(headers)) {
        const std::size_t colon = field.find(':');
        if (colon != std::string::npos) {
            const std::string body = without_leading(field.substr(colon + 1), " \t");
            all.emplace_back(without_trailing(field.substr(0, colon), " \t"),
                             without_trailing(body, " \t\n\v\f\r"));
        } else if (!is_one_of('\n', field)) {
            all.emplace_back(without_trailing(field, " \t"), "");
        }
    }
    return all;
}

std::optional<std::string> first_field(const Entity& entity, const std::string& lower_name) {
    for (const auto& [name, body] : entity.fields) {
        if (lower(name) == lower_name) {
            return body;
        }
    }
    return std::nullopt;
}

// Tokens

enum class Kind { kAtom, kQuotedString, kComment, kDomainLiteral, kSpecial };

struct Token {
    Kind kind;
    std::string text;
};

const std::string kAddressSpecials = "()<>@,;:\\\".[]";
const std::string kMediaTypeSpecials = "()<>@,;:\\\"/[]?=";

bool is_special(const Token& token, char c) {
    return token.kind == Kind::kSpecial && token.text[0] == c;
}

bool is_atom(const Token& token) {
    return token.kind == Kind::kAtom;
}

bool is_word(const Token& token) {
    return token.kind == Kind::kAtom || token.kind == Kind::kQuotedString;
}

bool is_gap(char c) {
    return static_cast<unsigned char>(c) <= ' ' && c != '\x10';
}

// The length of the quoted string, comment or domain literal that `text` starts with; npos if it is
// never closed. Only comments nest.
std::size_t closed_length(const std::string& text) {
    const char opening = text[0];
    const char closing = opening == '"' ? '"' : opening == '(' ? ')' : ']';
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
    return std::string::npos;
}

std::size_t atom_length(const std::string& text, const std::string& specials) {
    std::size_t length = 0;
    while (length < text.size() && !is_gap(text[length]) && !is_one_of(text[length], specials)) {
        ++length;
    }
    return length;
}

Kind kind_of(char first, const std::string& specials) {
    switch (first) {
        case '"':
            return Kind::kQuotedString;
        case '(':
            return Kind::kComment;
        case '[':
            return Kind::kDomainLiteral;
        default:
            return is_one_of(first, specials) ? Kind::kSpecial : Kind::kAtom;
    }
}

std::vector<Token> tokens(const std::string& text, const std::string& specials) {
    std::vector<Token> all;
    for (std::string rest = text; !rest.empty();) {
        if (is_gap(rest[0])) {
            rest.erase(0, 1);
            continue;
        }
        const Kind kind = kind_of(rest[0], specials);
        const std::size_t length = kind == Kind::kAtom      ? atom_length(rest, specials)
                                   : kind == Kind::kSpecial ? 1
                                                            : closed_length(rest);
        if (length == std::string::npos) {
            break;
        }
        all.push_back({kind, rest.substr(0, length)});
        rest.erase(0, length);
    }
    return all;
}

// Mailboxes

std::string with_spaces_for_line_ends(const std::string& text) {
    std::string line;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool ends_pair = text[i] == '\n' && i > 0 && text[i - 1] == '\r';
        if (!ends_pair) {
            line += is_one_of(text[i], "\r\n") ? ' ' : text[i];
        }
    }
    return line;
}

// The parts of a mailbox, in the order in which its tokens fill them.
enum class Place { kBeforeAngle, kAfterAngle, kRoute, kLocalPart, kDomain, kAfterDomain };

Place place_after(Place place, const Token& token) {
    switch (place) {
        case Place::kBeforeAngle:
            return is_special(token, '<')   ? Place::kAfterAngle
                   : is_special(token, '@') ? Place::kDomain
                                            : place;
        case Place::kAfterAngle:
            return is_special(token, '@') ? Place::kRoute
                   : is_word(token)       ? Place::kLocalPart
                                          : place;
        case Place::kRoute:
            return is_special(token, ':') ? Place::kLocalPart : place;
        case Place::kLocalPart:
            return is_special(token, '@') ? Place::kDomain : place;
        case Place::kDomain:
            return is_special(token, '>') ? Place::kAfterDomain : place;
        case Place::kAfterDomain:
            break;
    }
    return place;
}

Address mailbox(const std::vector<Token>& element) {
    Address address;
    Place place = Place::kBeforeAngle;
    for (const Token& token : element) {
        const Place next = place_after(place, token);
        const bool is_dot = is_special(token, '.');
        if (place == Place::kBeforeAngle && next == Place::kAfterAngle) {
            address.local_part.clear();
        } else if (place == Place::kBeforeAngle || place == Place::kLocalPart) {
            address.local_part += is_word(token) || is_dot ? token.text : "";
        } else if (place == Place::kAfterAngle) {
            address.local_part += is_word(token) ? token.text : "";
        } else if (place == Place::kDomain) {
            const bool is_label = is_atom(token) || token.kind == Kind::kDomainLiteral;
            address.domain += is_label || is_dot ? token.text : "";
        }
        place = next;
    }
    address.local_part = with_spaces_for_line_ends(address.local_part);
    return address;
}

// Lists of addresses

struct Element {
    std::vector<Token> tokens;
    bool is_group = false;
    bool has_group_name = false;  // a word before the first colon, wherever that stands
    bool has_colon = false;
};

// Commas divide a list only where nothing surrounds them. Angle brackets mean nothing in a group,
// and colons nothing in angle brackets.
enum class Within { kNothing, kAngle, kGroup };

Within within_after(Within within, const Token& token, bool groups) {
    switch (within) {
        case Within::kNothing:
            return is_special(token, '<')             ? Within::kAngle
                   : is_special(token, ':') && groups ? Within::kGroup
                                                      : within;
        case Within::kAngle:
            return is_special(token, '>') ? Within::kNothing : within;
        case Within::kGroup:
            return is_special(token, ';') ? Within::kNothing : within;
    }
    return within;
}

std::vector<Element> elements(const std::vector<Token>& list, bool groups) {
    std::vector<Element> all(1);
    Within within = Within::kNothing;
    for (const Token& token : list) {
        if (within == Within::kNothing && is_special(token, ',')) {
            all.emplace_back();
            continue;
        }
        within = within_after(within, token, groups);
        Element& element = all.back();
        element.tokens.push_back(token);
        element.is_group = element.is_group || within == Within::kGroup;
        element.has_colon = element.has_colon || is_special(token, ':');
        element.has_group_name = element.has_group_name || (is_word(token) && !element.has_colon);
    }
    return all;
}

// Media types

using TokenTest = bool (*)(const Token&);

std::size_t find(const std::vector<Token>& all, std::size_t start, TokenTest test) {
    while (start < all.size() && !test(all[start])) {
        ++start;
    }
    return start;
}

bool is_slash(const Token& token) {
    return is_special(token, '/');
}

bool is_semicolon(const Token& token) {
    return is_special(token, ';');
}

bool is_equals_sign(const Token& token) {
    return is_special(token, '=');
}

std::string without_single_quotes(const std::string& value) {
    const bool quoted = value.size() > 2 && value.starts_with('\'') && value.ends_with('\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

std::string value_of(const Token& token, const std::string& attribute) {
    const std::string value = token.kind == Kind::kQuotedString
                                  ? token.text.substr(1, token.text.size() - 2)
                                  : token.text;
    return lower(attribute) == "boundary" ? without_single_quotes(value) : value;
}

// The last token of the parameter whose value is at `value`: a slash after a word takes everything
// up to the next word with it. The end of the list if there is no such word.
std::size_t last_of_parameter(const std::vector<Token>& all, std::size_t value) {
    std::size_t last = value;
    while (last + 1 < all.size() && is_slash(all[last + 1])) {
        last = find(all, last + 2, is_word);
    }
    return last;
}

std::vector<std::pair<std::string, std::string>> parameters(const std::vector<Token>& all,
                                                            std::size_t start) {
    std::vector<std::pair<std::string, std::string>> found;
    for (;;) {
        const std::size_t semicolon = find(all, start, is_semicolon);
        const std::size_t attribute = find(all, semicolon + 1, is_atom);
        const std::size_t equals_sign = find(all, attribute + 1, is_equals_sign);
        const std::size_t value = find(all, equals_sign + 1, is_word);
        const std::size_t last = last_of_parameter(all, value);
        if (last >= all.size()) {
            return found;
        }
        const std::string& name = all[attribute].text;
        found.emplace_back(name, value_of(all[value], name));
        start = last + 1;
    }
}

std::string parameter(const MediaType& type, const std::string& lower_attribute,
                      const std::string& otherwise) {
    for (const auto& [attribute, value] : type.parameters) {
        if (lower(attribute) == lower_attribute) {
            return value;
        }
    }
    return otherwise;
}

std::optional<MediaType> content_type(const Entity& entity) {
    const std::optional<std::string> body = first_field(entity, "content-type");
    return body ? std::optional(media_type(*body)) : std::nullopt;
}

bool is_of_type(const Entity& entity, const std::string& lower_type) {
    const std::optional<MediaType> type = content_type(entity);
    return type && lower(type->type) == lower_type;
}

// Multipart bodies

struct BoundaryLine {
    std::size_t begin;  // of the line end before it, if there is one
    std::size_t end;
    bool is_final;
};

// Compares like strncmp(): nothing after a zero byte is compared, but all of it has to be there.
bool stands_at(const std::string& expected, const std::string& text, std::size_t position) {
    if (text.size() - position < expected.size()) {
        return false;
    }
    const std::size_t compared = std::min(expected.find('\0'), expected.size() - 1) + 1;
    return text.substr(position, compared) == expected.substr(0, compared);
}

bool is_dashes_and_blanks(const std::string& text) {
    return without_leading(without_leading(text, "-"), " \t\r").empty();
}

// The end of the line whose boundary text ends at `position`. If a line end precedes the line, a
// first dash is skipped, and so is the character after it if another dash follows: when that
// character is the line feed, the next line is taken for the rest of this one.
std::size_t end_of_line(const std::string& text, std::size_t position, bool follows_line_end) {
    if (follows_line_end && text.substr(position, 1) == "-") {
        ++position;
        if (text.size() - position >= 2 && text[position + 1] == '-') {
            ++position;
        }
    }
    return std::min(position_of('\n', text, position) + 1, text.size());
}

// The boundary line that begins at `position`, if one does, in a search that began at `start`.
std::optional<BoundaryLine> boundary_line_at(const std::string& text, std::size_t start,
                                             std::size_t position, const std::string& boundary) {
    const std::string expected = "--" + boundary;
    if (!stands_at(expected, text, position)) {
        return std::nullopt;
    }
    const std::size_t after = position + expected.size();
    const std::string rest = text.substr(after, position_of('\n', text, after) - after);
    if (!is_dashes_and_blanks(rest)) {
        return std::nullopt;
    }
    const std::string before = text.substr(start, position - start);
    const std::size_t line_end = before.ends_with("\r\n") ? 2 : before.ends_with('\n') ? 1 : 0;
    return BoundaryLine{position - line_end, end_of_line(text, after, line_end > 0),
                        rest.starts_with(line_end > 0 ? "-" : "--")};
}

std::optional<BoundaryLine> next_boundary_line(const std::string& text, std::size_t start,
                                               const std::string& boundary) {
    for (std::size_t position = start; position < text.size(); ++position) {
        if (position == start || text[position - 1] == '\n') {
            const auto line = boundary_line_at(text, start, position, boundary);
            if (line) {
                return line;
            }
        }
    }
    return std::nullopt;
}

std::vector<std::string> parts(const std::string& body, const std::string& boundary) {
    const auto opening = next_boundary_line(body, 0, boundary);
    if (!opening) {
        return {};
    }
    std::vector<std::string> all;
    for (std::size_t start = opening->end;;) {
        const auto line = next_boundary_line(body, start, boundary);
        if (!line) {
            all.push_back(body.substr(start));
            return all;
        }
        all.push_back(body.substr(start, line->begin - start));
        if (line->is_final) {
            return all;
        }
        start = line->end;
    }
}

// Transfer encodings

const std::string kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

char to_char(std::size_t byte) {
    return static_cast<char>(static_cast<unsigned char>(byte & 0xFF));
}

// The bytes that some letters of the alphabet, four at most, hold in full.
std::string bytes_of(const std::string& letters) {
    std::size_t bits = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        bits = bits * 64 + (i < letters.size() ? kBase64Alphabet.find(letters[i]) : 0);
    }
    const std::string bytes = {to_char(bits >> 16), to_char(bits >> 8), to_char(bits)};
    return bytes.substr(0, letters.size() * 6 / 8);
}

char without_highest_bit(char c) {
    return static_cast<char>(static_cast<unsigned char>(c) & 0x7FU);
}

std::size_t hex_value(char c) {
    const std::size_t digit = std::string("0123456789abcdef").find(lower({c})[0]);
    return digit != std::string::npos ? digit : static_cast<unsigned char>(c);
}

// Decodes a line whose highest bits are cleared and whose end is cut. A '=' that ends the line, and
// no escape, joins it with the next one.
std::string decoded_line(const std::string& line, const std::string& line_end) {
    std::string decoded;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] != '=') {
            decoded += line[i];
        } else if (i + 1 == line.size()) {
            return decoded;
        } else if (i + 2 < line.size()) {
            decoded += to_char(hex_value(line[i + 1]) * 16 + hex_value(line[i + 2]));
            i += 2;
        }
    }
    return decoded + line_end;
}

// Messages

bool read_sender(const std::optional<std::string>& list, bool groups, Reading& reading) {
    for (const Address& address : addresses(list.value_or(""), groups)) {
        if (!address.is_group) {
            reading.from = address.local_part + "@" + address.domain;
            return true;
        }
    }
    return false;
}

std::string decoded_body(const Entity& entity) {
    const std::string encoding =
        lower(first_field(entity, "content-transfer-encoding").value_or(""));
    return encoding == "base64"             ? base64(entity.body)
           : encoding == "quoted-printable" ? quoted_printable(entity.body)
                                            : entity.body;
}

void take_body(const Entity& entity, Reading& reading) {
    const MediaType type = content_type(entity).value_or(MediaType());
    reading.charset = parameter(type, "charset", "US-ASCII");
    reading.body = decoded_body(entity);
}

void read_parts(const Entity& message, Reading& reading) {
    reading.kind = "multipart-none";
    unsigned number = 0;
    for (const std::string& part : parts(message)) {
        if (is_of_type(entity(part), "text")) {
            reading.kind = "part";
            reading.part = number;
            take_body(entity(part), reading);
            return;
        }
        ++number;
    }
}

}  // namespace

Entity entity(const std::string& text) {
    const auto [headers, body] = split(text);
    return {fields(headers), body};
}

std::vector<Address> addresses(const std::string& text, bool groups) {
    std::vector<Address> valid;
    for (const Element& element : elements(tokens(text, kAddressSpecials), groups)) {
        const Address address = element.is_group ? Address{true, "", ""} : mailbox(element.tokens);
        if (element.is_group ? element.has_group_name : !address.local_part.empty()) {
            valid.push_back(address);
        }
    }
    return valid;
}

MediaType media_type(const std::string& text) {
    const std::vector<Token> all = tokens(text, kMediaTypeSpecials);
    const std::size_t type = find(all, 0, is_atom);
    const std::size_t slash = find(all, type + 1, is_slash);
    const std::size_t subtype = find(all, slash + 1, is_atom);
    return {type < all.size() ? all[type].text : "", parameters(all, subtype + 1)};
}

std::vector<std::string> parts(const Entity& entity) {
    if (!is_of_type(entity, "multipart")) {
        return {};
    }
    return parts(entity.body, parameter(*content_type(entity), "boundary", ""));
}

std::string base64(const std::string& text) {
    if (text.size() == 1 || text.size() == 2 || text.size() == 5) {
        return "";
    }
    std::string encoded;
    for (const char c : text) {
        if (c == '=' || is_one_of(c, kBase64Alphabet)) {
            encoded += c;
        }
    }
    std::string decoded;
    for (std::size_t i = 0; i + 4 <= encoded.size(); i += 4) {
        const std::string group = encoded.substr(i, 4);
        const std::string letters = without_trailing(group, "=");
        if (!is_one_of('=', letters)) {
            decoded += bytes_of(letters);
        }
        if (is_one_of('=', group)) {
            break;
        }
    }
    return decoded;
}

std::string quoted_printable(std::string text) {
    text.erase(position_of('\0', text, 0));
    std::string decoded;
    for (std::string line : lines(text)) {
        const std::string line_end = line.ends_with('\n') ? "\n" : "";
        std::transform(line.begin(), line.end(), line.begin(), without_highest_bit);
        decoded += decoded_line(without_trailing(line, " \t\r\n"), line_end);
    }
    return decoded;
}

Reading read_message(const std::string& text) {
    const Entity message = entity(text);
    Reading reading;
    if (read_sender(first_field(message, "reply-to"), true, reading)) {
        reading.sender_from = "reply-to";
    } else if (read_sender(first_field(message, "from"), false, reading)) {
        reading.sender_from = "from";
    }
    reading.subject = first_field(message, "subject");
    reading.date = first_field(message, "date");
    if (!content_type(message) || is_of_type(message, "text")) {
        reading.kind = "self";
        take_body(message, reading);
    } else if (is_of_type(message, "multipart")) {
        read_parts(message, reading);
    }
    return reading;
}

}  // namespace naive
