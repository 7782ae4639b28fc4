// SPDX-License-Identifier: Apache-2.0

#include "core/files/path_walk.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <optional>
#include <utility>

#include "core/files/user_mounts.h"

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

// The owner of what is found there, unless that is root.
std::optional<Suspect> owner_of(const WalkEntry& entry) {
    if (entry.on_user_mount) {
        return Suspect{Suspect::Kind::kAnybody};
    }
    if (entry.status.st_uid != 0) {
        return Suspect{Suspect::Kind::kUser, entry.status.st_uid};
    }
    return std::nullopt;
}

tolva::Result<WalkEntry> entry_of(tolva::Result<tolva::Descriptor> opened,
                                  const WalkEntry* directory) {
    if (!opened) {
        return tolva::Errno{opened.error()};
    }
    WalkEntry entry{.descriptor = std::move(*opened)};
    if (fstat(entry.descriptor.get(), &entry.status) != 0) {
        return tolva::Errno{errno};
    }
    const dev_t device = entry.status.st_dev;
    entry.on_user_mount = directory != nullptr && directory->status.st_dev == device
                              ? directory->on_user_mount
                              : is_on_user_mount(entry.descriptor.get(), device);
    return entry;
}

tolva::Result<WalkEntry> open_directory(const std::string& path) {
    const int flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    return entry_of(tolva::opened(open(path.c_str(), flags)), nullptr);
}

// Opens the component as root, or as the directory's owner if root may not.
tolva::Result<tolva::Descriptor> open_component(const WalkEntry& directory, const std::string& name,
                                                int flags, const OpenAs& open_as) {
    auto opened = tolva::opened(openat(directory.descriptor.get(), name.c_str(), flags));
    const std::optional<Suspect> owner = owner_of(directory);
    if (opened.error() == EACCES && owner) {
        return open_as(*owner, directory.descriptor.get(), name, flags);
    }
    return opened;
}

// With O_DIRECTORY where more follows, because file systems that are mounted on demand are not
// mounted otherwise; what is no directory may be a link.
tolva::Result<WalkEntry> look_up(const WalkEntry& directory, const std::string& name,
                                 bool more_follows, const OpenAs& open_as) {
    const int flags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
    auto opened =
        open_component(directory, name, more_follows ? flags | O_DIRECTORY : flags, open_as);
    if (more_follows && opened.error() == ENOTDIR) {
        opened = open_component(directory, name, flags, open_as);
    }
    return entry_of(std::move(opened), &directory);
}

tolva::Result<std::string> link_target(const WalkEntry& link) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length = readlinkat(link.descriptor.get(), "", target.data(), target.size());
    if (length <= 0) {
        return tolva::Errno{length < 0 ? errno : ENOENT};
    }
    target.resize(static_cast<std::size_t>(length));
    return target;
}

class Walker {
  public:
    // Begins in a directory that is trusted.
    Walker(WalkEntry directory, std::string path, const OpenAs& open_as)
        : directory_(std::move(directory)), left_(std::move(path)), open_as_(open_as) {}

    PathWalk go() {
        bool trusted = true;
        do {
            walk_.name = left_.take();
            if (!std::exchange(trusted, false)) {
                suspect_writers();
            }
        } while (step());
        walk_.directory = std::move(directory_.descriptor);
        return std::move(walk_);
    }

  private:
    // Looks the component walk_.name up. Returns whether the walk goes on.
    bool step() {
        walk_.end = look_up(directory_, walk_.name, !left_.empty(), open_as_);
        if (!walk_.end) {
            return false;
        }
        WalkEntry& entry = *walk_.end;
        suspect_owner(entry);
        if (entry.is_link()) {
            return follow(entry);
        }
        if (left_.empty()) {
            return false;
        }
        directory_ = std::move(entry);
        return true;
    }

    void suspect_owner(const WalkEntry& entry) {
        const std::optional<Suspect> owner = owner_of(entry);
        if (owner && S_ISDIR(entry.status.st_mode)) {
            suspect(*owner, entry, ".");
        } else if (owner) {
            suspect(*owner, directory_, walk_.name);
        }
        if (owner && entry.is_link()) {
            walk_.link_owners.insert(*owner);
        }
    }

    // Who may put something else in the place of the component that is looked up next.
    void suspect_writers() {
        const struct stat& status = directory_.status;
        if (directory_.on_user_mount) {
            return;  // anybody is suspected there already
        }
        if ((status.st_mode & S_IWGRP) != 0) {
            suspect({Suspect::Kind::kGroup, status.st_gid}, directory_, walk_.name);
        }
        if ((status.st_mode & S_IWOTH) != 0) {
            suspect({Suspect::Kind::kAnybody}, directory_, walk_.name);
        }
    }

    // The first suspect's path begins with the component `first` of `directory`, and so do those of
    // all others.
    void suspect(const Suspect& suspect, const WalkEntry& directory, const std::string& first) {
        if (walk_.suspects.empty()) {
            walk_.start = tolva::Descriptor(fcntl(directory.descriptor.get(), F_DUPFD_CLOEXEC, 0));
            walk_.rest = left_.after(first);
        }
        walk_.suspects.insert(suspect);
    }

    bool follow(const WalkEntry& link) {
        const tolva::Result<std::string> target = link_target(link);
        if (!target || ++links_ > kMostLinks) {
            return fail(!target ? target.error() : ELOOP);
        }
        left_.put_before(*target);
        if (!target->starts_with('/')) {
            return true;
        }
        tolva::Result<WalkEntry> top = open_directory("/");
        if (!top) {
            return fail(top.error());
        }
        directory_ = std::move(*top);
        suspect_owner(directory_);
        return true;
    }

    bool fail(int error) {
        walk_.end = tolva::Errno{error};
        return false;
    }

    PathWalk walk_;
    WalkEntry directory_;
    RemainingPath left_;
    const OpenAs& open_as_;
    int links_ = 0;
};

struct SplitPath {
    std::string above;
    std::string name;  // the last component
};

SplitPath split(const std::string& path) {
    const std::size_t last = path.find_last_not_of('/');
    if (last == std::string::npos) {
        return {"/", "."};
    }
    const std::size_t slash = path.rfind('/', last);
    if (slash == std::string::npos) {
        return {".", path};
    }
    return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

PathWalk failed_walk(int error) {
    PathWalk walk;
    walk.end = tolva::Errno{error};
    return walk;
}

}  // namespace

PathWalk walk_path(const std::string& root, const std::string& path, const OpenAs& open_as) {
    if (root.empty()) {
        return failed_walk(ENOENT);
    }
    if (root.size() + 1 + path.size() >= PATH_MAX) {  // with the slash between them
        return failed_walk(ENAMETOOLONG);
    }
    const SplitPath way = split(root);
    tolva::Result<WalkEntry> directory = open_directory(way.above);
    if (!directory) {
        return failed_walk(directory.error());
    }
    return Walker(std::move(*directory), way.name + "/" + path, open_as).go();
}

}  // namespace autoresponder
