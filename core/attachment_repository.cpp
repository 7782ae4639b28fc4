#include "core/attachment_repository.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <string_view>

#include "core/file_identity.h"
#include "core/guarded_path.h"
#include "core/mailbox.h"
#include "support/conf.h"
#include "support/conf_variables.h"

namespace {

// Whether a component of the path is "..", which leads out of the repository.
bool climbs(std::string_view path) {
    return ("/" + std::string(path) + "/").find("/../") != std::string::npos;
}

// Calls look_up() with the rights that the path is to be looked up with; returns its result, or
// else an errno value, 0 for success.
template <typename LookUp>
int with_rights_for(const GuardedPath& path, LookUp look_up) {
    if (path.error != 0) {
        return path.error;
    }
    std::optional<AssumedIdentity> identity;
    if (path.identity) {
        identity.emplace(*path.identity);
        if (identity->error() != 0) {
            return identity->error();
        }
    }
    return look_up() ? 0 : errno;
}

}  // namespace

AttachmentRepository::AttachmentRepository(const Mailbox& mailbox)
    : AttachmentRepository(tvaConfGetDefaultByIndex(TOLVA_MAILNAMES_D),
                           mailbox.domain + "/" + mailbox.name + "/@attachments") {}

std::string AttachmentRepository::path(const std::string& name) const {
    return root_ + "/" + path_ + "/" + name;
}

bool AttachmentRepository::has(const std::string& name) const {
    if (climbs(name)) {
        return true;
    }
    const GuardedPath path = walk_guarded(root_, path_ + "/" + name);
    return with_rights_for(path, [&] {
               struct stat status {};
               const int flags = path.follow_links ? 0 : AT_SYMLINK_NOFOLLOW;
               return fstatat(path.directory.get(), path.name.c_str(), &status, flags) == 0;
           }) == 0;
}

AttachmentRepository::OpenedFile AttachmentRepository::open(const std::string& name) const {
    if (climbs(name)) {
        return {{}, EACCES};
    }
    const GuardedPath path = walk_guarded(root_, path_ + "/" + name);
    OpenedFile file;
    file.error = with_rights_for(path, [&] {
        const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
        file.descriptor = tolva::Descriptor(openat(path.directory.get(), path.name.c_str(),
                                                   path.follow_links ? flags : flags | O_NOFOLLOW));
        return static_cast<bool>(file.descriptor);
    });
    struct stat status {};
    if (file.error != 0) {
        return file;
    }
    if (fstat(file.descriptor.get(), &status) != 0) {
        return {{}, errno};
    }
    if (!S_ISREG(status.st_mode)) {
        return {{}, S_ISDIR(status.st_mode) ? EISDIR : EINVAL};
    }
    return file;
}
