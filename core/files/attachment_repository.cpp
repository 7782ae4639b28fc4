// SPDX-License-Identifier: Apache-2.0

#include "core/files/attachment_repository.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <string_view>

#include "core/files/guarded_path.h"
#include "core/panel/database_session.h"
#include "core/panel/mailbox.h"
#include "core/run/file_identity.h"
#include "support/conf.h"
#include "support/conf_variables.h"
#include "support/string_helpers.h"

namespace autoresponder {

namespace {

// Whether a component of the path is "..", which leads out of the repository.
bool climbs(std::string_view path) {
    return ("/" + std::string(path) + "/").find("/../") != std::string::npos;
}

// Walks to the file and calls look_up(path), which tells whether it succeeded, with the rights that
// the file is to be looked up with.
template <typename LookUp>
tolva::Result<void> look_up_guarded(const std::string& root, const std::string& name,
                                    LookUp look_up) {
    const tolva::Result<GuardedPath> path = walk_guarded(root, name);
    if (!path) {
        return tolva::Errno{path.error()};
    }
    std::optional<AssumedIdentity> identity;
    if (path->identity) {
        identity.emplace(*path->identity);
        if (!identity->assumed()) {
            return identity->assumed();
        }
    }
    if (!look_up(*path)) {
        return tolva::Errno{errno};
    }
    return {};
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
        return true;  // no notice about it; open refuses it
    }
    const auto found = look_up_guarded(root_, path_ + "/" + name, [](const GuardedPath& path) {
        struct stat status {};
        const int flags = path.follow_links ? 0 : AT_SYMLINK_NOFOLLOW;
        return fstatat(path.directory.get(), path.name.c_str(), &status, flags) == 0;
    });
    return static_cast<bool>(found);
}

tolva::Result<tolva::Descriptor> AttachmentRepository::open(const std::string& name) const {
    if (climbs(name)) {
        return tolva::Errno{EACCES};
    }
    tolva::Descriptor file;
    const auto opened = look_up_guarded(root_, path_ + "/" + name, [&](const GuardedPath& path) {
        const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
        file = tolva::Descriptor(openat(path.directory.get(), path.name.c_str(),
                                        path.follow_links ? flags : flags | O_NOFOLLOW));
        return static_cast<bool>(file);
    });
    struct stat status {};
    if (!opened) {
        return tolva::Errno{opened.error()};
    }
    if (fstat(file.get(), &status) != 0) {
        return tolva::Errno{errno};
    }
    if (!S_ISREG(status.st_mode)) {
        return tolva::Errno{S_ISDIR(status.st_mode) ? EISDIR : EINVAL};
    }
    return file;
}

Attachments find_attachments(Session& session, const std::string& rn_id,
                             const AttachmentRepository& repository) {
    Attachments attachments;
    QueryResult rows =
        session.ask_or_end_run("select filename from resp_attach where rn_id=" + rn_id);
    while (rows.fetch()) {
        std::string filename = rows.text(0, "");
        if (filename.empty()) {
            continue;
        }
        std::string name = tolva_trim(filename.data());
        std::vector<std::string>& names =
            repository.has(name) ? attachments.present : attachments.missing;
        names.push_back(std::move(name));
    }
    return attachments;
}

}  // namespace autoresponder
