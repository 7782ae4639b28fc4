// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/unit/mimelib/reading.h"

// The library's rules a second time, written to be read: no slices, no laziness, no care for speed.
// Tests and fuzz targets compare the library with it. It was written from the rules alone, without
// the library's sources at hand, and has to stay independent of them: a rule that both misread in
// the same way is a bug that no comparison finds.
namespace naive {

struct Address {
    bool is_group = false;
    std::string local_part;
    std::string domain;

    bool operator==(const Address&) const = default;
};

struct MediaType {
    std::string type;
    std::vector<std::pair<std::string, std::string>> parameters;
};

struct Entity {
    std::vector<std::pair<std::string, std::string>> fields;  // name and body
    std::string body;
};

Entity entity(const std::string& text);
// The valid addresses. Without groups, ':' and ';' do not divide the list; the ':' after a route
// counts all the same.
std::vector<Address> addresses(const std::string& text, bool groups);
MediaType media_type(const std::string& text);
// The direct parts; none if the entity is not a multipart.
std::vector<std::string> parts(const Entity& entity);
std::string base64(const std::string& text);
std::string quoted_printable(std::string text);
Reading read_message(const std::string& text);

}  // namespace naive
