// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <span>
#include <string>

#include "core/files/opener.h"
#include "support/descriptor.h"

namespace autoresponder {

/// What is known of a file.
struct LookUp {
    enum class State {
        kFound,
        kMissing,    ///< there is nothing, whoever asks
        kUnreadable  ///< something may be there; why it cannot be read is `error`
    };
    State state;
    int error = 0;                ///< errno value
    tolva::Descriptor file = {};  ///< for reading; none if the question was only what is there
};

enum class Question { kIsThere, kOpen };

/// Looks the file `path` below the directory `root` up for all who could have put it there
/// (core/files/path_walk.h) besides root. It is found only if each of them gets the same file, one
/// that the path leads to at that time. Where root alone could have put it there, root looks it up;
/// and a process that is not root does so itself.
///
/// Only a regular file is opened, without blocking: a pipe or device may block or never end. It is
/// read through a descriptor that such a suspect has opened, and so with that suspect's rights.
///
/// What suspects find in /proc depends on who asks, and their openers find themselves there: it is
/// refused with EACCES.
LookUp look_up(const std::string& root, const std::string& path, Question question,
               Openers& openers);

/// What a suspect was told about a file.
struct Told {
    int error = 0;               ///< errno value; 0: the suspect can open something
    bool has_led_there = false;  ///< by a link of the suspect's own
};

/// What follows if not all suspects got the same file. It is missing if all of them who can see so
/// far say so. Whoever leads there by a link has to be among those, for it would tell what is in
/// another user's private directory otherwise.
LookUp judge(std::span<const Told> suspects);

}  // namespace autoresponder
