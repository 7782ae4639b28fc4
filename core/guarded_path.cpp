#include "core/guarded_path.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <utility>

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
    int error = 0;

    [[nodiscard]] bool is_link() const { return S_ISLNK(status.st_mode); }
    [[nodiscard]] bool is_writable_by_others() const {
        return (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    }
};

Entry open_entry(int directory, const std::string& name, int flags) {
    Entry entry;
    entry.descriptor =
        tolva::Descriptor(openat(directory, name.c_str(), O_PATH | O_CLOEXEC | flags));
    if (!entry.descriptor || fstat(entry.descriptor.get(), &entry.status) != 0) {
        entry.error = errno;
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

// Where the link leads to; nothing, with the reason in errno, if it cannot be read.
std::optional<std::string> link_target(const Entry& link) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length = readlinkat(link.descriptor.get(), "", target.data(), target.size());
    if (length < 0) {
        return std::nullopt;
    }
    target.resize(static_cast<std::size_t>(length));
    return target;
}

GuardedPath nothing(int error) {
    GuardedPath path;
    path.error = error;
    return path;
}

GuardedPath as_it_is(Entry directory, std::string name) {
    GuardedPath path;
    path.directory = std::move(directory.descriptor);
    path.name = std::move(name);
    return path;
}

GuardedPath with_rights_of(FileIdentity identity, Entry directory, std::string name) {
    GuardedPath path = as_it_is(std::move(directory), std::move(name));
    path.identity = identity;
    path.follow_links = true;
    return path;
}

// Replaces a link of root's by the path that it points to. Returns an errno value, 0 on success.
int follow(const Entry& link, Entry& directory, RemainingPath& left) {
    const std::optional<std::string> target = link_target(link);
    if (!target) {
        return errno;
    }
    left.put_before(*target);
    if (target->starts_with('/')) {
        directory = open_entry(AT_FDCWD, "/", O_DIRECTORY);
    }
    return directory.error;
}

GuardedPath walk(Entry directory, RemainingPath left) {
    std::string name = ".";
    for (int links = 0; !left.empty();) {
        name = left.take();
        Entry entry = open_entry(directory.descriptor.get(), name, O_NOFOLLOW);
        if (entry.error != 0) {
            return nothing(entry.error);
        }
        if (const auto identity = suspect(entry, directory)) {
            const bool stays = entry.is_link() || left.empty();
            return stays ? with_rights_of(*identity, std::move(directory), left.after(name))
                         : with_rights_of(*identity, std::move(entry), left.after("."));
        }
        if (entry.is_link()) {
            const int error = ++links > kMostLinks ? ELOOP : follow(entry, directory, left);
            if (error != 0) {
                return nothing(error);
            }
        } else if (!left.empty()) {
            directory = std::move(entry);
        }
    }
    return as_it_is(std::move(directory), name);
}

}  // namespace

GuardedPath walk_guarded(const std::string& root, const std::string& path) {
    if (root.size() + path.size() >= PATH_MAX) {
        return nothing(ENAMETOOLONG);
    }
    // Both, because a link and what it leads to may belong to different users.
    const Entry way = open_entry(AT_FDCWD, root, O_NOFOLLOW);
    Entry directory = open_entry(AT_FDCWD, root, O_DIRECTORY);
    if (way.error != 0 || directory.error != 0) {
        return nothing(way.error != 0 ? way.error : directory.error);
    }
    if (geteuid() != 0) {
        GuardedPath unguarded = as_it_is(std::move(directory), path);
        unguarded.follow_links = true;
        return unguarded;
    }
    for (const Entry* entry : {&way, &std::as_const(directory)}) {
        if (entry->status.st_uid != 0) {
            const FileIdentity owner = owner_of(*entry);
            return with_rights_of(owner, std::move(directory), path);
        }
    }
    return walk(std::move(directory), RemainingPath(path));
}
