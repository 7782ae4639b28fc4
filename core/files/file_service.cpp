// SPDX-License-Identifier: Apache-2.0

#include "core/files/file_service.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

#include "core/files/opener.h"
#include "support/descriptor.h"
#include "support/descriptor_passing.h"
#include "support/result.h"

namespace autoresponder {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;

// For file systems that cannot hand over what they have in memory.
tolva::Result<void> copy(int from, int to) {
    std::vector<char> block(kBlock);
    for (;;) {
        const tolva::Result<std::size_t> length = tolva::read_some(from, block);
        if (!length || *length == 0) {
            return length ? tolva::Result<void>() : tolva::Errno{length.error()};
        }
        if (auto written = tolva::write_whole(to, std::string_view(block.data(), *length));
            !written) {
            return written;
        }
    }
}

// Whoever stops reading ends this process: by SIGPIPE.
tolva::Result<void> send(int file, int pipe) {
    for (;;) {
        const ssize_t moved =
            TEMP_FAILURE_RETRY(splice(file, nullptr, pipe, nullptr, kBlock, SPLICE_F_MOVE));
        if (moved < 0) {
            return errno == EINVAL ? copy(file, pipe) : tolva::Errno{errno};
        }
        if (moved == 0) {
            return {};
        }
    }
}

class FileService {
  public:
    explicit FileService(const std::string& root) : root_(root) {}

    FileAnswer carry_out(tolva::Message request) {
        const std::string path = request.bytes.substr(1);
        switch (static_cast<FileRequest>(request.bytes[0])) {
            case FileRequest::kIsThere:
                return answer(look_up(root_, path, Question::kIsThere, openers_));
            case FileRequest::kOpen:
                return answer(look_up(root_, path, Question::kOpen, openers_));
            case FileRequest::kSend:
                return send_file(std::exchange(request.descriptor, {}));
        }
        return {.error = EINVAL};
    }

  private:
    FileAnswer answer(LookUp result) {
        file_ = std::move(result.file);
        return {result.state, result.error};
    }

    FileAnswer send_file(const tolva::Descriptor& pipe) {
        const tolva::Descriptor file = std::move(file_);
        const tolva::Result<void> sent = send(file.get(), pipe.get());
        return {sent ? LookUp::State::kFound : LookUp::State::kUnreadable, sent.error()};
    }

    const std::string& root_;
    Openers openers_;
    tolva::Descriptor file_;
};

}  // namespace

std::string_view FileAnswer::bytes() const {
    return {reinterpret_cast<const char*>(this), sizeof *this};
}

std::optional<FileAnswer> FileAnswer::from(std::string_view bytes) {
    FileAnswer answer;
    if (bytes.size() != sizeof answer) {
        return std::nullopt;
    }
    std::memcpy(&answer, bytes.data(), sizeof answer);
    return answer;
}

void serve_files(int socket, const std::string& root) {
    FileService service(root);
    for (;;) {
        auto request = tolva::receive_message(socket, 1 + PATH_MAX);
        if (!request ||
            !tolva::send_message(socket, service.carry_out(std::move(*request)).bytes())) {
            return;
        }
    }
}

}  // namespace autoresponder
