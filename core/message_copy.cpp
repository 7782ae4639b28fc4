#include "core/message_copy.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "core/temporary_files.h"

namespace {

// Of the run's one copy, like the file's name.
int write_error = 0;

}  // namespace

MessageCopy::MessageCopy() : file_(mkostemp(mail_file_name, O_CLOEXEC)) {
    write_error = 0;
}

void MessageCopy::append(std::string_view bytes) {
    while (!bytes.empty() && write_error == 0) {
        const ssize_t count = write(file_.get(), bytes.data(), bytes.size());
        if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            write_error = errno;
        }
    }
}

tolva::Descriptor MessageCopy::open() {
    return tolva::Descriptor(::open(mail_file_name, O_RDONLY | O_CLOEXEC));
}

int MessageCopy::cut_short_by() {
    return write_error;
}

const char* MessageCopy::name() {
    return mail_file_name;
}
