#include "tests/unit/mimelib/naive.h"

#include <algorithm>
#include <cctype>

namespace naive {
namespace {

const std::string kAddressSpecials = "()<>@,;:\\\".[]";
const std::string kMediaTypeSpecials = "()<>@,;:\\\"/[]?=";

std::string lower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return text;
}

// Lines with their line feeds.
std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::string line;
    for (const char c : text) {
        line += c;
        if (c == '\n') {
            lines.push_back(line);
            line.clear();
        }
    }
    if (!line.empty()) {
        lines.push_back(line);
    }
    return lines;
}

std::string trim_left(const std::string& text, const std::string& what) {
    const auto first = text.find_first_not_of(what);
    return first == std::string::npos ? "" : text.substr(first);
}

std::string trim_right(const std::string& text, const std::string& what) {
    return text.substr(0, text.find_last_not_of(what) + 1);
}

// A token is its text, whose first character shows what it is: an atom starts with no special.
using Token = std::string;

bool is_gap(char c) {
    return c >= 0 && c <= ' ' && c != 0x10;
}

bool is_atom(const Token& token, const std::string& specials) {
    return specials.find(token[0]) == std::string::npos;
}

bool is_quoted(const Token& token) {
    return token[0] == '"';
}

std::vector<Token> tokens_of(const std::string& text, const std::string& specials) {
    std::vector<Token> tokens;
    std::size_t i = 0;
    while (i < text.size()) {
        const std::size_t begin = i;
        if (is_gap(text[i])) {
            ++i;
            continue;
        }
        if (specials.find(text[i]) == std::string::npos) {
            while (i < text.size() && !is_gap(text[i]) &&
                   specials.find(text[i]) == std::string::npos) {
                ++i;
            }
        } else if (text[i] == '"' || text[i] == '[' || text[i] == '(') {
            const char opening = text[i];
            const char closing = opening == '"' ? '"' : opening == '[' ? ']' : ')';
            std::size_t depth = 1;
            ++i;
            while (i < text.size() && depth > 0) {
                if (text[i] == '\\') {
                    ++i;
                } else if (text[i] == closing) {
                    --depth;
                } else if (text[i] == opening && opening == '(') {
                    ++depth;
                }
                ++i;
            }
            if (depth > 0) {
                return tokens;
            }
        } else {
            ++i;
        }
        tokens.push_back(text.substr(begin, i - begin));
    }
    return tokens;
}

bool is_address_word(const Token& token) {
    return is_atom(token, kAddressSpecials) || is_quoted(token);
}

Address mailbox(const std::vector<Token>& tokens) {
    Address address;
    std::string where = "start";
    for (const Token& token : tokens) {
        const bool dot = token == ".";
        if (where == "domain") {
            if (token == ">") {
                break;
            }
            if (is_atom(token, kAddressSpecials) || token.size() > 1 || dot) {
                if (!is_quoted(token) && token[0] != '(') {
                    address.domain += token;
                }
            }
        } else if (where == "route") {
            where = token == ":" ? "local part" : "route";
        } else if (where == "angle") {
            if (token == "@") {
                where = "route";
            } else if (is_address_word(token)) {
                address.local_part += token;
                where = "local part";
            }
        } else if (token == "@") {
            where = "domain";
        } else if (where == "start" && token == "<") {
            address.local_part.clear();
            where = "angle";
        } else if (is_address_word(token) || dot) {
            address.local_part += token;
        }
    }
    return address;
}

std::string one_line(const std::string& text) {
    std::string line;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool line_feed_of_pair = text[i] == '\n' && i > 0 && text[i - 1] == '\r';
        if (!line_feed_of_pair) {
            line += text[i] == '\r' || text[i] == '\n' ? ' ' : text[i];
        }
    }
    return line;
}

std::vector<Address> element(const std::vector<Token>& tokens, bool groups) {
    bool angle = false;
    bool word = false;
    for (const Token& token : tokens) {
        if (groups && !angle && token == ":") {
            return word ? std::vector<Address>{{true, "", ""}} : std::vector<Address>{};
        }
        angle = angle ? token != ">" : token == "<";
        word = word || is_address_word(token);
    }
    Address address = mailbox(tokens);
    if (address.local_part.empty()) {
        return {};
    }
    address.local_part = one_line(address.local_part);
    return {address};
}

struct Boundary {
    bool found = false;
    std::size_t begin = 0;
    std::size_t end = 0;
    bool final = false;
};

// The position after the end of the line that `position` stands in.
std::size_t after_line(const std::string& text, std::size_t position) {
    while (position < text.size() && text[position] != '\n') {
        ++position;
    }
    return std::min(position + 1, text.size());
}

Boundary find_boundary(const std::string& body, std::size_t from, const std::string& boundary) {
    const std::string start = "--" + boundary;
    for (std::size_t i = from; i <= body.size(); ++i) {
        if ((i > from && body[i - 1] != '\n') || body.compare(i, start.size(), start) != 0) {
            continue;
        }
        const std::size_t tail = i + start.size();
        std::string rest = body.substr(tail);
        rest = trim_left(trim_left(rest, "-"), " \t\r");
        if (!rest.empty() && rest[0] != '\n') {
            continue;
        }
        Boundary found{true, i, after_line(body, tail), false};
        if (i == from) {
            found.final = body.compare(tail, 2, "--") == 0;
            return found;
        }
        --found.begin;
        if (found.begin > from && body[found.begin - 1] == '\r') {
            --found.begin;
        }
        if (body.compare(tail, 1, "-") == 0) {
            found.final = true;
            const bool dash_after_next = tail + 2 < body.size() && body[tail + 2] == '-';
            found.end = after_line(body, tail + (dash_after_next ? 2 : 1));
        }
        return found;
    }
    return {};
}

const std::string* field(const Entity& entity, const std::string& name) {
    for (const auto& [field_name, body] : entity.fields) {
        if (lower(field_name) == name) {
            return &body;
        }
    }
    return nullptr;
}

std::optional<std::string> optional_field(const Entity& entity, const std::string& name) {
    const std::string* body = field(entity, name);
    return body == nullptr ? std::nullopt : std::optional(*body);
}

std::string parameter(const MediaType& type, const std::string& name, std::string otherwise) {
    for (const auto& [attribute, value] : type.parameters) {
        if (lower(attribute) == name) {
            return value;
        }
    }
    return otherwise;
}

void read_sender(const Entity& message, Reading& reading) {
    for (const std::string name : {"reply-to", "from"}) {
        const std::string* body = field(message, name);
        if (body == nullptr || reading.from) {
            continue;
        }
        for (const Address& address : addresses(*body, name == "reply-to")) {
            if (!address.is_group) {
                reading.sender_from = name;
                reading.from = address.local_part + "@" + address.domain;
                break;
            }
        }
    }
}

void take_body(const Entity& entity, Reading& reading) {
    const std::string* type = field(entity, "content-type");
    if (type != nullptr) {
        reading.charset = parameter(media_type(*type), "charset", "US-ASCII");
    }
    const std::string* encoding = field(entity, "content-transfer-encoding");
    const std::string word = encoding == nullptr ? "" : lower(*encoding);
    reading.body = word == "base64"             ? base64(entity.body)
                   : word == "quoted-printable" ? quoted_printable(entity.body)
                                                : entity.body;
}

}  // namespace

Entity entity(const std::string& text) {
    std::string headers;
    std::size_t end = 0;
    for (const std::string& line : lines_of(text)) {
        const bool is_header = line.back() != '\n' || line[0] == ' ' || line[0] == '\t' ||
                               line.find(':') != std::string::npos;
        if (!is_header) {
            end += line == "\n" || line == "\r\n" ? line.size() : 0;
            break;
        }
        headers += line;
        end += line.size();
    }
    Entity entity;
    entity.body = text.substr(end);
    std::vector<std::string> fields;
    for (const std::string& line : lines_of(headers)) {
        if (fields.empty() || (line[0] != ' ' && line[0] != '\t')) {
            fields.emplace_back();
        }
        fields.back() += line;
    }
    for (const std::string& field : fields) {
        const auto colon = field.find(':');
        if (colon != std::string::npos) {
            const std::string body = trim_right(field.substr(colon + 1), " \t\n\v\f\r");
            entity.fields.emplace_back(trim_right(field.substr(0, colon), " \t"),
                                       trim_left(body, " \t"));
        } else if (field.back() != '\n') {
            entity.fields.emplace_back(trim_right(field, " \t"), "");
        }
    }
    return entity;
}

std::vector<Address> addresses(const std::string& text, bool groups) {
    std::vector<Address> all;
    std::vector<Token> current;
    const auto finish = [&] {
        const auto valid = element(current, groups);
        all.insert(all.end(), valid.begin(), valid.end());
        current.clear();
    };
    char closing = ' ';
    for (const Token& token : tokens_of(text, kAddressSpecials)) {
        if (closing == ' ' && token == ",") {
            finish();
            continue;
        }
        current.push_back(token);
        if (closing == ' ' && token == "<") {
            closing = '>';
        } else if (closing == ' ' && token == ":" && groups) {
            closing = ';';
        } else if (token[0] == closing) {
            closing = ' ';
        }
    }
    finish();
    return all;
}

MediaType media_type(const std::string& text) {
    const std::vector<Token> tokens = tokens_of(text, kMediaTypeSpecials);
    std::size_t next = 0;
    const auto find = [&](auto wanted) {
        while (next < tokens.size() && !wanted(tokens[next])) {
            ++next;
        }
        return next < tokens.size() ? &tokens[next++] : nullptr;
    };
    const auto atom = [](const Token& token) { return is_atom(token, kMediaTypeSpecials); };
    const auto special = [](char c) {
        return [c](const Token& token) { return token == std::string(1, c); };
    };
    const auto word = [&](const Token& token) { return atom(token) || is_quoted(token); };

    MediaType type;
    if (const Token* token = find(atom)) {
        type.type = *token;
    }
    find(special('/'));
    find(atom);
    while (find(special(';')) != nullptr) {
        const Token* attribute = find(atom);
        find(special('='));
        const Token* first = find(word);
        if (attribute == nullptr || first == nullptr) {
            break;
        }
        const Token* last = first;
        while (last != nullptr && next < tokens.size() && tokens[next] == "/") {
            last = find(word);
        }
        if (last == nullptr) {
            break;
        }
        std::string value = *first;
        if (is_quoted(*first)) {
            value = value.substr(1, value.size() - 2);
        }
        if (lower(*attribute) == "boundary" && value.size() > 2 && value.front() == '\'' &&
            value.back() == '\'') {
            value = value.substr(1, value.size() - 2);
        }
        type.parameters.emplace_back(*attribute, value);
    }
    return type;
}

std::vector<std::string> parts(const Entity& entity) {
    const std::string* const field_body = field(entity, "content-type");
    const MediaType type = field_body == nullptr ? MediaType{} : media_type(*field_body);
    if (lower(type.type) != "multipart") {
        return {};
    }
    const std::string boundary = parameter(type, "boundary", "");
    std::vector<std::string> parts;
    Boundary opening = find_boundary(entity.body, 0, boundary);
    opening.final = false;
    while (opening.found && !opening.final) {
        const Boundary closing = find_boundary(entity.body, opening.end, boundary);
        const std::size_t end = closing.found ? closing.begin : entity.body.size();
        parts.push_back(entity.body.substr(opening.end, end - opening.end));
        opening = closing;
    }
    return parts;
}

std::string base64(const std::string& text) {
    const std::string alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
    if (text.size() == 1 || text.size() == 2 || text.size() == 5) {
        return "";
    }
    std::string characters;
    for (const char c : text) {
        if (alphabet.find(c) != std::string::npos) {
            characters += c;
        }
    }
    std::string decoded;
    for (std::size_t i = 0; i + 4 <= characters.size(); i += 4) {
        const std::string group = characters.substr(i, 4);
        const std::size_t leading = std::min<std::size_t>(group.find('='), 4);
        const bool padded = group.find_first_not_of('=', leading) == std::string::npos;
        std::size_t bits = 0;
        for (const char c : group) {
            bits = bits * 64 + alphabet.find(c) % 64;
        }
        const std::string bytes = {static_cast<char>(bits >> 16), static_cast<char>(bits >> 8),
                                   static_cast<char>(bits)};
        if (padded && leading >= 2) {
            decoded += bytes.substr(0, leading - 1);
        }
        if (leading < 4) {
            break;
        }
    }
    return decoded;
}

std::string quoted_printable(std::string text) {
    text = text.substr(0, text.find('\0'));
    std::string decoded;
    for (std::string line : lines_of(text)) {
        bool line_feed = line.back() == '\n';
        for (char& c : line) {
            c = static_cast<char>(c & 0x7F);
        }
        line = trim_right(line, " \t\n\v\f\r");
        while (!line.empty()) {
            if (line[0] != '=') {
                decoded += line[0];
                line.erase(0, 1);
            } else if (line.size() == 1) {
                line_feed = false;
                line.clear();
            } else if (line.size() == 2) {
                line.erase(0, 1);
            } else {
                int code = 0;
                for (const char c : line.substr(1, 2)) {
                    const std::size_t digit = std::string("0123456789abcdef").find(lower({c})[0]);
                    code = code * 16 + (digit == std::string::npos ? c : static_cast<int>(digit));
                }
                decoded += static_cast<char>(code);
                line.erase(0, 3);
            }
        }
        if (line_feed) {
            decoded += '\n';
        }
    }
    return decoded;
}

Reading read_message(const std::string& text) {
    const Entity message = entity(text);
    Reading reading;
    read_sender(message, reading);
    reading.subject = optional_field(message, "subject");
    reading.date = optional_field(message, "date");
    const std::string* type_field = field(message, "content-type");
    const MediaType type = type_field == nullptr ? MediaType{"text", {}} : media_type(*type_field);
    if (lower(type.type) == "text") {
        reading.kind = "self";
        take_body(message, reading);
    } else if (lower(type.type) == "multipart") {
        reading.kind = "multipart-none";
        unsigned number = 0;
        for (const std::string& part_text : parts(message)) {
            const Entity part = entity(part_text);
            const std::string* part_type = field(part, "content-type");
            if (part_type != nullptr && lower(media_type(*part_type).type) == "text") {
                reading.kind = "part";
                reading.part = number;
                take_body(part, reading);
                break;
            }
            ++number;
        }
    }
    return reading;
}

}  // namespace naive
