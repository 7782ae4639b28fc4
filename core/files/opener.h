// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <map>
#include <string>
#include <utility>

#include "core/files/suspect.h"
#include "core/run/forked_process.h"
#include "support/descriptor.h"
#include "support/result.h"

namespace autoresponder {

/// A process that opens files with a suspect's rights and no others. It ends with the object, or
/// with its parent.
class Opener {
  public:
    /// Starts the process. Its standard output is this process's: when the other end of that pipe
    /// is closed, it ends, too.
    static tolva::Result<Opener> start(const Suspect& suspect);

    /// Opens `path`, relative to the directory that `directory` stands for, with these flags and
    /// O_CLOEXEC, as openat(2) does. EIO if the process has ended. The descriptor that it yields
    /// has the suspect's rights to the file, not those of this process.
    [[nodiscard]] tolva::Result<tolva::Descriptor> open(int directory, const std::string& path,
                                                        int flags) const;

  private:
    Opener(tolva::Descriptor socket, ForkedProcess process)
        : process_(std::move(process)), socket_(std::move(socket)) {}

    ForkedProcess process_;
    tolva::Descriptor socket_;  // closed first: the process then ends of itself
};

/// The openers of a run, one for each suspect.
class Openers {
  public:
    /// What that suspect's opener opens; starts it if there is none yet. Why it cannot be started
    /// is why the file cannot be opened.
    tolva::Result<tolva::Descriptor> open_as(const Suspect& suspect, int directory,
                                             const std::string& path, int flags);

  private:
    std::map<Suspect, Opener> openers_;
};

}  // namespace autoresponder
