// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// A message with ten header fields and a plain text body, of about `size` bytes.
std::string plain_message(std::size_t size);

// The same fields, a short quoted-printable text and one Base64 attachment that fills it to about
// `size` bytes, which is to be a thousand or more. When the text comes last, the attachment has to
// be read past to find it.
enum class TextPart { kFirst, kLast };
std::string multipart_message(std::size_t size, TextPart place);

// A kind of message that costs a careless parser more than it should.
struct HostileShape {
    std::string name;
    std::size_t size;  // the larger of the two sizes that are compared, as `make` counts
    std::function<std::string(std::size_t size)> make;
};

std::vector<HostileShape> hostile_shapes();
