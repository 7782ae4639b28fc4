#include "core/attachment_part.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <span>
#include <vector>

#include "core/attachment_repository.h"
#include "core/diagnostics.h"
#include "encoding/base64.h"
#include "encoding/rfc1522.h"
#include "support/descriptor.h"

namespace {

constexpr std::size_t kBytesPerLine = 45;
constexpr std::size_t kLineLength = 61;  // 60 characters and a line feed; RFC 2045 allows 76
constexpr std::size_t kLinesPerBlock = 1024;

struct FilledBlock {
    std::size_t length;
    int error;  // errno value of a read that failed
};

// Reads as much of the file as fits; less only at its end or when reading fails.
FilledBlock fill(std::span<unsigned char> block, int fd) {
    std::size_t filled = 0;
    while (filled < block.size()) {
        const ssize_t count = read(fd, block.data() + filled, block.size() - filled);
        if (count == 0) {
            break;
        }
        if (count > 0) {
            filled += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            return {filled, errno};
        }
    }
    return {filled, 0};
}

// Encodes the bytes into lines; returns their length in all.
std::size_t encode_lines(std::span<const unsigned char> bytes, char* lines) {
    char* end = lines;
    while (!bytes.empty()) {
        const std::size_t count = std::min(bytes.size(), kBytesPerLine);
        end += base64Encode(bytes.data(), count, end);
        *end++ = '\n';
        bytes = bytes.subspan(count);
    }
    return static_cast<std::size_t>(end - lines);
}

// Writes the whole file in base64, or as much of it as `out` takes. Returns the errno value of a
// read that failed.
int write_base64(std::ostream& out, int fd) {
    std::vector<unsigned char> block(kLinesPerBlock * kBytesPerLine);
    std::vector<char> lines(kLinesPerBlock * kLineLength);
    for (;;) {
        const auto [length, error] = fill(block, fd);
        const std::size_t encoded = encode_lines(std::span(block).first(length), lines.data());
        out.write(lines.data(), static_cast<std::streamsize>(encoded));
        if (length < block.size() || !out) {
            return error;
        }
    }
}

int attach_file(std::ostream& out, const AttachmentRepository& repository,
                const std::string& name) {
    const auto [file, error] = repository.open(name);
    return error != 0 ? error : write_base64(out, file.get());
}

}  // namespace

void write_attachment_part(std::ostream& out, const AttachmentRepository& repository,
                           const std::string& name) {
    out << "Content-Type: application/octet-stream\n"
        << "Content-Transfer-Encoding: base64\n"
        << "Content-Disposition: attachment;\n"
        << "\tfilename=\"" << tolva::rfc1522::encode(name) << "\"\n"
        << "\n";
    if (const int error = attach_file(out, repository, name)) {
        report("autoresponder: Failed to read attachement file '", repository.path(name),
               "': ", error_text(error));
    }
    out << "\n";
}
