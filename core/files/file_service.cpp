// SPDX-License-Identifier: Apache-2.0

#include "core/files/file_service.h"

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <utility>

#include "core/files/opener.h"
#include "support/descriptor.h"
#include "support/descriptor_passing.h"
#include "support/result.h"

namespace autoresponder {

namespace {

class FileService {
  public:
    FileService(const std::string& root, const SharedBlocks& blocks)
        : root_(root), blocks_(blocks) {}

    FileAnswer carry_out(const std::string& request) {
        const std::string subject = request.substr(1);
        switch (static_cast<FileRequest>(request[0])) {
            case FileRequest::kIsThere:
                return answer(look_up(root_, subject, Question::kIsThere, openers_));
            case FileRequest::kOpen:
                return answer(look_up(root_, subject, Question::kOpen, openers_));
            case FileRequest::kRead:
                return read(static_cast<std::size_t>(subject.at(0)));
        }
        return {.error = EINVAL};
    }

  private:
    FileAnswer answer(LookUp result) {
        file_ = std::move(result.file);
        return {.state = result.state, .error = result.error};
    }

    [[nodiscard]] FileAnswer read(std::size_t block) const {
        const auto length = tolva::read_some(file_.get(), blocks_.block(block));
        return length ? FileAnswer{.state = LookUp::State::kFound, .length = *length}
                      : FileAnswer{.error = length.error()};
    }

    const std::string& root_;
    const SharedBlocks& blocks_;
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

void serve_files(int socket, const std::string& root, const SharedBlocks& blocks) {
    blocks.keep_from_children();
    FileService service(root, blocks);
    for (;;) {
        const auto request = tolva::receive_message(socket, 1 + PATH_MAX);
        if (!request || !tolva::send_message(socket, service.carry_out(request->bytes).bytes())) {
            return;
        }
    }
}

}  // namespace autoresponder
