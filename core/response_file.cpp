#include "core/response_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "core/diagnostics.h"
#include "core/response_stream.h"
#include "core/send_error.h"
#include "core/temporary_files.h"

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

[[noreturn]] void fail_to_write(int error) {
    fail("autoresponder: Failed to write temporary file with response mail contents '", error);
}

}  // namespace

ResponseFile::ResponseFile() : file_(make_file()), named_(file_) {}

ResponseFile::~ResponseFile() {
    if (named_) {
        unlink(resp_uu_file_name);
    }
}

ResponseFile::Written ResponseFile::write(
    SizeLimit limit, const std::function<void(std::ostream&)>& contents) const {
    if (!file_) {
        return Written::kWhole;
    }
    if (lseek(file_.get(), 0, SEEK_SET) != 0 || ftruncate(file_.get(), 0) != 0) {
        fail_to_write(errno);
    }
    ResponseStream stream(file_.get(), limit);
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

tolva::Descriptor ResponseFile::reopen() const {
    tolva::Descriptor file(open(resp_uu_file_name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!file) {
        fail("autoresponder: Failed to open temporary file with response mail contents '", errno);
    }
    return file;
}
