// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "core/reply/size_limit.h"  // IWYU pragma: export
#include "support/descriptor.h"     // IWYU pragma: export

namespace autoresponder {

struct Envelope;
struct Mail_content;
struct MissingFileNotice;
struct ResponderStory;

/// What is done at the steps of the walk (core/walk.h). An ending decides nothing: whom, what and
/// when is the walk's.
class Ending {
  public:
    enum class Effects {
        kReal,  ///< replies are counted, and composed in a file in /tmp
        kNone,  ///< the panel is only read, and replies are composed in memory
    };

    explicit Ending(Effects effects) : effects_(effects) {}
    virtual ~Ending() = default;

    [[nodiscard]] Effects effects() const { return effects_; }

    // Each returns the status of the mail program as from waitpid(2), 0 where none was started.

    /// The message goes to the forward addresses of `responder`.
    virtual int forward(const ResponderStory& responder, const Mail_content& mail) = 0;

    virtual int notify(const ResponderStory& responder, const MissingFileNotice& notice,
                       const Mail_content& mail) = 0;

    /// The reply that is read from `contents` goes out. Throws SendError where it cannot.
    virtual int reply(const ResponderStory& responder, tolva::Descriptor contents,
                      const Envelope& envelope, ReplyKind kind) = 0;

  private:
    const Effects effects_;
};

}  // namespace autoresponder
