#include "control/mail_files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "control/failure.h"
#include "control/words.h"
#include "core/diagnostics.h"
#include "core/response_stream.h"
#include "support/descriptor.h"

namespace {

constexpr mode_t kOwnersAlone = 0600;

[[noreturn]] void fail(const std::string& what, const std::string& path) {
    const int error = errno;
    throw Failure("cannot " + what + " " + path + ": " + error_text(error));
}

tolva::Descriptor create(const std::string& path) {
    tolva::Descriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, kOwnersAlone));
    if (!file) {
        fail("write", path);
    }
    return file;
}

void write_all(int fd, std::string_view bytes, const std::string& path) {
    while (!bytes.empty()) {
        const ssize_t count = write(fd, bytes.data(), bytes.size());
        if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            fail("write", path);
        }
    }
}

void copy_from_start(int from, int to, const std::string& path) {
    std::array<char, 65536> block;  // NOLINT(*-member-init): filled by each read
    off_t position = 0;
    for (;;) {
        const ssize_t count = pread(from, block.data(), block.size(), position);
        if (count == 0) {
            return;
        }
        if (count > 0) {
            write_all(to, {block.data(), static_cast<std::size_t>(count)}, path);
            position += count;
        } else if (errno != EINTR) {
            fail("write", path);
        }
    }
}

}  // namespace

MailFiles::MailFiles(std::optional<std::string> directory) : directory_(std::move(directory)) {
    constexpr mode_t kOwnersAloneDirectory = 0700;
    if (directory_ && mkdir(directory_->c_str(), kOwnersAloneDirectory) != 0 && errno != EEXIST) {
        fail("make the directory", *directory_);
    }
}

void MailFiles::add(ExplainedMail& mail, int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0) {
        fail("read", "the mail");
    }
    mail.size = static_cast<std::size_t>(status.st_size);
    ++count_;
    if (!directory_) {
        return;
    }
    const std::string base = *directory_ + "/" + std::to_string(count_) + "-" + word_of(mail.kind);
    mail.file = base + ".eml";
    copy_from_start(fd, create(mail.file).get(), mail.file);
    std::string envelope = mail.sender + "\n";
    for (const std::string& recipient : mail.recipients) {
        envelope += recipient + "\n";
    }
    write_all(create(base + ".envelope").get(), envelope, base + ".envelope");
}

void MailFiles::add(ExplainedMail& mail, const std::function<void(std::ostream&)>& write_mail) {
    const tolva::Descriptor memory(memfd_create("mail", MFD_CLOEXEC));
    if (!memory) {
        fail("make", "a file in memory");
    }
    ResponseStream stream(memory.get(), SizeLimit::none());
    write_mail(stream);
    stream.finish();
    if (!stream) {
        errno = stream.error();
        fail("write", "a file in memory");
    }
    add(mail, memory.get());
}
