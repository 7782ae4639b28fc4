// SPDX-License-Identifier: Apache-2.0

#include "core/files/guarded_path.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <optional>
#include <utility>

namespace autoresponder {

namespace {

constexpr int kMostLinks = 40;  // as many as the kernel follows, path_resolution(7)

// What is left of a path to walk along.
class RemainingPath {
  public:
    explicit RemainingPath(std::string path) : text_(std::move(path)) {}

    [[nodiscard]] bool empty() const { return position_ == text_.size(); }

    // The next component. A slash at the end stands for ".", so that only a directory fits.
    std::string take() {
        position_ = std::min(text_.find_first_not_of('/', position_), text_.size());
        const std::size_t end = std::min(text_.find('/', position_), text_.size());
        std::string component = text_.substr(position_, end - position_);
        position_ = end;
        return component.empty() ? "." : component;
    }

    // Puts `path` before what is left.
    void put_before(const std::string& path) {
        text_ = path + text_.substr(position_);
        position_ = 0;
    }

    // All of it as one path below the component `first`.
    [[nodiscard]] std::string after(const std::string& first) const {
        return first + text_.substr(position_);
    }

  private:
    std::string text_;
    std::size_t position_ = 0;
};

// What a component names, opened with O_PATH.
struct Entry {
    tolva::Descriptor descriptor;
    struct stat status {};

    [[nodiscard]] bool is_link() const { return S_ISLNK(status.st_mode); }
    [[nodiscard]] bool is_writable_by_others() const {
        return (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    }
};

tolva::Result<Entry> open_entry(int directory, const std::string& name, int flags) {
    Entry entry;
    entry.descriptor =
        tolva::Descriptor(openat(directory, name.c_str(), O_PATH | O_CLOEXEC | flags));
    if (!entry.descriptor || fstat(entry.descriptor.get(), &entry.status) != 0) {
        return tolva::Errno{errno};
    }
    return entry;
}

FileIdentity owner_of(const Entry& entry) {
    // The owner need not be a member of the group, so root's is left out.
    const gid_t group = entry.status.st_gid != 0 ? entry.status.st_gid : kNobody.group;
    return {entry.status.st_uid, group};
}

// Whose rights to use for an entry that somebody other than root can have put into the directory;
// nothing if nobody else can.
std::optional<FileIdentity> suspect(const Entry& entry, const Entry& directory) {
    if (entry.status.st_uid != 0) {
        return owner_of(entry);
    }
    return directory.is_writable_by_others() ? std::optional(kNobody) : std::nullopt;
}

tolva::Result<std::string> link_target(const Entry& link) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length = readlinkat(link.descriptor.get(), "", target.data(), target.size());
    if (length < 0) {
        return tolva::Errno{errno};
    }
    target.resize(static_cast<std::size_t>(length));
    return target;
}

tolva::Result<GuardedPath> walk_down(Entry directory, RemainingPath left) {
    std::string name = ".";
    for (int links = 0; !left.empty();) {
        name = left.take();
        tolva::Result<Entry> found = open_entry(directory.descriptor.get(), name, O_NOFOLLOW);
        if (!found) {
            return tolva::Errno{found.error()};
        }
        Entry& entry = *found;
        if (const auto identity = suspect(entry, directory)) {
            const bool stays = entry.is_link() || left.empty();
            return GuardedPath{std::move((stays ? directory : entry).descriptor),
                               left.after(stays ? name : "."), identity, true};
        }
        if (entry.is_link()) {
            const tolva::Result<std::string> target = link_target(entry);
            if (!target || ++links > kMostLinks) {
                return tolva::Errno{!target ? target.error() : ELOOP};
            }
            left.put_before(*target);
            if (target->starts_with('/')) {
                found = open_entry(AT_FDCWD, "/", O_DIRECTORY);
                if (!found) {
                    return tolva::Errno{found.error()};
                }
                directory = std::move(*found);
            }
        } else if (!left.empty()) {
            directory = std::move(entry);
        }
    }
    return GuardedPath{std::move(directory.descriptor), name};
}

}  // namespace

tolva::Result<GuardedPath> walk_guarded(const std::string& root, const std::string& path) {
    if (root.size() + 1 + path.size() >= PATH_MAX) {  // with the slash between them
        return tolva::Errno{ENAMETOOLONG};
    }
    // Both, because a link and what it leads to may belong to different users.
    const tolva::Result<Entry> way = open_entry(AT_FDCWD, root, O_NOFOLLOW);
    tolva::Result<Entry> directory = open_entry(AT_FDCWD, root, O_DIRECTORY);
    if (!way || !directory) {
        return tolva::Errno{!way ? way.error() : directory.error()};
    }
    if (geteuid() != 0) {
        return GuardedPath{std::move(directory->descriptor), path, std::nullopt, true};
    }
    for (const Entry* entry : {&*way, &std::as_const(*directory)}) {
        if (entry->status.st_uid != 0) {
            const FileIdentity owner = owner_of(*entry);
            return GuardedPath{std::move(directory->descriptor), path, owner, true};
        }
    }
    return walk_down(std::move(*directory), RemainingPath(path));
}

}  // namespace autoresponder
