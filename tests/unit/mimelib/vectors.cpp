// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/mimelib/vectors.h"

#include <cstddef>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

namespace {

// UTF-8 of U+0000 to U+00FF to the bytes that the characters stand for.
std::string to_bytes(const std::string& utf8) {
    std::string bytes;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const unsigned byte = static_cast<unsigned char>(utf8[i]);
        if (byte < 0x80) {
            bytes += utf8[i];
        } else if ((byte == 0xC2 || byte == 0xC3) && i + 1 < utf8.size()) {
            bytes += static_cast<char>((byte & 3U) << 6 |
                                       (static_cast<unsigned char>(utf8[++i]) & 0x3FU));
        } else {
            throw std::runtime_error("vectors: a character above U+00FF");
        }
    }
    return bytes;
}

std::string bytes_of(const nlohmann::json& object, const char* name) {
    return to_bytes(object.at(name).get<std::string>());
}

std::optional<std::string> optional_bytes_of(const nlohmann::json& object, const char* name) {
    return object.at(name).is_null() ? std::nullopt : std::optional(bytes_of(object, name));
}

}  // namespace

std::vector<Vector> load_vectors(const std::string& file_name) {
    std::ifstream file(file_name);
    if (!file) {
        throw std::runtime_error("vectors: cannot open " + file_name);
    }
    std::vector<Vector> vectors;
    for (std::string line; std::getline(file, line);) {
        const auto object = nlohmann::json::parse(line);
        Vector vector;
        vector.message = bytes_of(object, "message");
        vector.expected.sender_from = bytes_of(object, "sender_from");
        vector.expected.from = optional_bytes_of(object, "from");
        vector.expected.subject = optional_bytes_of(object, "subject");
        vector.expected.date = optional_bytes_of(object, "date");
        vector.expected.kind = bytes_of(object, "kind");
        if (object.contains("part")) {
            vector.expected.part = object.at("part").get<unsigned>();
        }
        vector.expected.charset = bytes_of(object, "charset");
        vector.expected.body = bytes_of(object, "body");
        vectors.push_back(std::move(vector));
    }
    return vectors;
}
