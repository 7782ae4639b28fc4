#pragma once

#include <string>

namespace tolva {

std::string base64_decode(const std::string& text);

namespace rfc1522 {

std::string decode(std::string text);
std::string encode(std::string text);

}  // namespace rfc1522
}  // namespace tolva
