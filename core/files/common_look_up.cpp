// SPDX-License-Identifier: Apache-2.0

#include "core/files/common_look_up.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include <linux/magic.h>

#include "core/files/path_walk.h"
#include "core/files/suspect.h"
#include "support/result.h"

namespace autoresponder {

namespace {

constexpr int kToRead = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr int kToLook = O_PATH | O_CLOEXEC;

// Nobody attaches a file that so many users have a part in; each takes a process.
constexpr std::size_t kMostSuspects = 16;

// A file may be replaced by a newer one just then.
constexpr int kTries = 3;

// What a look-up fails with where there is nothing, whatever rights it has.
bool is_missing(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG;
}

bool is_refused(int error) {
    return error == EACCES || error == EPERM;
}

LookUp unreadable(int error) {
    return {.state = LookUp::State::kUnreadable, .error = error};
}

LookUp not_found(int error) {
    return {is_missing(error) ? LookUp::State::kMissing : LookUp::State::kUnreadable, error};
}

// Why a file of that kind is not read, 0 if it is.
int objection_to(mode_t mode) {
    if (S_ISREG(mode)) {
        return 0;
    }
    // As if it had been opened.
    return S_ISDIR(mode) ? EISDIR : S_ISSOCK(mode) ? ENXIO : EINVAL;
}

bool is_same(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool is_file(const tolva::Descriptor& descriptor, const struct stat& file) {
    struct stat status {};
    return fstat(descriptor.get(), &status) == 0 && is_same(status, file);
}

bool is_in_proc(const tolva::Descriptor& descriptor) {
    struct statfs status {};
    return fstatfs(descriptor.get(), &status) != 0 || status.f_type == PROC_SUPER_MAGIC;
}

// A device or pipe is not even opened.
int flags_for(Question question, const struct stat& file) {
    return question == Question::kOpen && S_ISREG(file.st_mode) ? kToRead : kToLook;
}

// `file` is what somebody may open there, `status` what it is.
LookUp found(Question question, const struct stat& status, tolva::Descriptor file) {
    if (question == Question::kIsThere) {
        return {.state = LookUp::State::kFound};
    }
    if (const int objection = objection_to(status.st_mode); objection != 0) {
        return unreadable(objection);
    }
    return {.state = LookUp::State::kFound, .file = std::move(file)};
}

LookUp look_up_as_it_is(const std::string& path, Question question) {
    auto file = tolva::opened(open(path.c_str(), kToLook));
    struct stat status {};
    if (!file || fstat(file->get(), &status) != 0) {
        return not_found(file ? errno : file.error());
    }
    if (flags_for(question, status) == kToRead) {
        file = tolva::opened(open(path.c_str(), kToRead));
        if (!file) {
            return not_found(file.error());
        }
        if (!is_file(*file, status)) {
            return unreadable(EACCES);
        }
    }
    return found(question, status, std::move(*file));
}

// Nothing if the file changed in the meantime.
std::optional<LookUp> look_up_as_root(const PathWalk& walk, Question question) {
    if (!walk.end) {
        return not_found(walk.end.error());
    }
    const struct stat& status = walk.end->status;
    auto file = tolva::opened(
        openat(walk.directory.get(), walk.name.c_str(), flags_for(question, status) | O_NOFOLLOW));
    if (!file) {
        return not_found(file.error());
    }
    if (!is_file(*file, status)) {
        return std::nullopt;
    }
    return found(question, status, std::move(*file));
}

// Nothing if the file changed in the meantime.
std::optional<LookUp> look_up_for_suspects(const PathWalk& walk, Question question,
                                           Openers& openers) {
    if (walk.suspects.size() > kMostSuspects) {
        return unreadable(EUSERS);
    }
    const int flags = walk.end ? flags_for(question, walk.end->status) : kToLook;
    std::vector<Told> told;
    bool same = static_cast<bool>(walk.end);
    tolva::Descriptor file;
    for (const Suspect& suspect : walk.suspects) {
        auto opened = openers.open_as(suspect, walk.start.get(), walk.rest, flags);
        told.push_back({opened.error(), walk.link_owners.contains(suspect)});
        same = same && opened && is_file(*opened, walk.end->status);
        if (opened) {
            file = std::move(*opened);
        }
    }
    if (same) {
        return is_in_proc(file) ? unreadable(EACCES)
                                : found(question, walk.end->status, std::move(file));
    }
    if (std::all_of(told.begin(), told.end(), [](const Told& one) { return one.error == 0; })) {
        return std::nullopt;
    }
    return judge(told);
}

}  // namespace

LookUp judge(std::span<const Told> suspects) {
    int missing = 0;
    int reason = 0;
    for (const Told& told : suspects) {
        if (is_missing(told.error)) {
            missing = missing != 0 ? missing : told.error;
        } else if (told.error == 0 || !is_refused(told.error) || told.has_led_there) {
            reason = reason != 0 ? reason : told.error != 0 ? told.error : EACCES;
        }
    }
    if (missing != 0 && reason == 0) {
        return not_found(missing);
    }
    return unreadable(reason != 0 ? reason : EACCES);
}

LookUp look_up(const std::string& root, const std::string& path, Question question,
               Openers& openers) {
    if (geteuid() != 0) {
        return look_up_as_it_is(root + "/" + path, question);
    }
    const OpenAs open_as = [&](const Suspect& suspect, int directory, const std::string& name,
                               int flags) {
        return openers.open_as(suspect, directory, name, flags);
    };
    for (int tries = 0; tries < kTries; ++tries) {
        const PathWalk walk = walk_path(root, path, open_as);
        std::optional<LookUp> result = walk.suspects.empty()
                                           ? look_up_as_root(walk, question)
                                           : look_up_for_suspects(walk, question, openers);
        if (result) {
            return std::move(*result);
        }
    }
    return unreadable(EACCES);
}

}  // namespace autoresponder
