// SPDX-License-Identifier: Apache-2.0

#include "core/reply/attachment_part.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "core/files/attachment_repository.h"
#include "core/files/file_helper.h"
#include "core/run/diagnostics.h"
#include "encoding/base64.h"
#include "encoding/rfc1522.h"
#include "support/result.h"

namespace autoresponder {

namespace {

constexpr std::size_t kBytesPerLine = 45;
constexpr std::size_t kLineLength = 61;  // 60 characters and a line feed; RFC 2045 allows 76
constexpr std::size_t kLinesPerBlock = 1024;

// Encodes the bytes into lines; returns their length in all.
std::size_t encode_lines(std::span<const char> bytes, char* lines) {
    char* end = lines;
    while (!bytes.empty()) {
        const std::size_t count = std::min(bytes.size(), kBytesPerLine);
        end += base64Encode(reinterpret_cast<const unsigned char*>(bytes.data()), count, end);
        *end++ = '\n';
        bytes = bytes.subspan(count);
    }
    return static_cast<std::size_t>(end - lines);
}

// Writes the whole file in base64, or as much of it as can be read and as `out` takes.
tolva::Result<void> write_base64(std::ostream& out, OpenedFile& file) {
    std::vector<char> block(kLinesPerBlock * kBytesPerLine);
    std::vector<char> lines(kLinesPerBlock * kLineLength);
    for (;;) {
        std::size_t length = 0;
        const tolva::Result<void> read = file.read_block(block, length);
        const std::size_t encoded = encode_lines(std::span(block).first(length), lines.data());
        out.write(lines.data(), static_cast<std::streamsize>(encoded));
        if (length < block.size() || !out) {
            return read;
        }
    }
}

}  // namespace

void write_attachment_part(std::ostream& out, const AttachmentRepository& repository,
                           const std::string& name) {
    out << "Content-Type: application/octet-stream\n"
        << "Content-Transfer-Encoding: base64\n"
        << "Content-Disposition: attachment;\n"
        << "\tfilename=\"" << tolva::rfc1522::encode(name) << "\"\n"
        << "\n";
    tolva::Result<OpenedFile> file = repository.open(name);
    const tolva::Result<void> attached =
        file ? write_base64(out, *file) : tolva::Errno{file.error()};
    if (!attached) {
        report("autoresponder: Failed to read attachement file '", repository.path(name),
               "': ", error_text(attached.error()));
    }
    out << "\n";
}

}  // namespace autoresponder
