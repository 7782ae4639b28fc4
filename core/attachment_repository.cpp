#include "core/attachment_repository.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "core/mailbox.h"
#include "support/conf.h"

AttachmentRepository::AttachmentRepository(const Mailbox& mailbox)
    : directory_(std::string(tvaConfGetDefaultByIndex(TOLVA_MAILNAMES_D)) + "/" + mailbox.domain +
                 "/" + mailbox.name + "/@attachments") {}

bool AttachmentRepository::has(const std::string& name) const {
    struct stat status {};
    return stat(path(name).c_str(), &status) == 0;
}

AttachmentRepository::OpenedFile AttachmentRepository::open(const std::string& name) const {
    tolva::Descriptor file(
        ::open(path(name).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0) {
        return {{}, errno};
    }
    if (!S_ISREG(status.st_mode)) {
        return {{}, S_ISDIR(status.st_mode) ? EISDIR : EINVAL};
    }
    return {std::move(file)};
}
