// SPDX-License-Identifier: Apache-2.0

#include "core/reply/reply_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "core/reply/reply_stream.h"
#include "core/run/diagnostics.h"
#include "core/run/temporary_files.h"

namespace autoresponder {

namespace {

int make_file() {
    // mkostemp has put the name of the run's previous reply here; only the template makes a new
    // one.
    constexpr std::size_t random_letters = 6;
    char* name_end = resp_uu_file_name + std::strlen(resp_uu_file_name);
    std::memset(name_end - random_letters, 'X', random_letters);
    return mkostemp(resp_uu_file_name, O_CLOEXEC);
}

[[noreturn]] void fail(const char* message, int error) {
    report(message, resp_uu_file_name, "': ", error_text(error));
    throw SendError("Failed to generate response mail contents", error);
}

[[noreturn]] void fail_to_open(int error) {
    fail("autoresponder: Failed to open temporary file with response mail contents '", error);
}

[[noreturn]] void fail_to_write(int error) {
    fail("autoresponder: Failed to write temporary file with response mail contents '", error);
}

}  // namespace

ReplyFile::ReplyFile(Place place)
    : place_(place),
      file_(
          tolva::opened(place == Place::kTmp ? make_file() : memfd_create("reply", MFD_CLOEXEC))) {}

ReplyFile::~ReplyFile() {
    if (place_ == Place::kTmp && file_) {
        unlink(resp_uu_file_name);
    }
}

ReplyFile::Written ReplyFile::write(SizeLimit limit,
                                    const std::function<void(std::ostream&)>& contents) const {
    if (!file_) {
        fail_to_open(file_.error());
    }
    if (lseek(file_->get(), 0, SEEK_SET) != 0 || ftruncate(file_->get(), 0) != 0) {
        fail_to_write(errno);
    }
    ReplyStream stream(file_->get(), limit);
    contents(stream);
    stream.finish();
    if (stream.error() != 0) {
        fail_to_write(stream.error());
    }
    if (stream.too_large()) {
        return Written::kTooLarge;
    }
    if (!stream) {
        fail_to_write(EIO);  // given up by whoever wrote it
    }
    return Written::kWhole;
}

tolva::Descriptor ReplyFile::open() const {
    tolva::Result<tolva::Descriptor> file = tolva::opened(
        place_ == Place::kTmp ? ::open(resp_uu_file_name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC)
                              : fcntl(file_->get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!file) {
        fail_to_open(file.error());
    }
    if (place_ == Place::kMemory && lseek(file->get(), 0, SEEK_SET) != 0) {
        fail_to_open(errno);
    }
    return std::move(*file);
}

}  // namespace autoresponder
