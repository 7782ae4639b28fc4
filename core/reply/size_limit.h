// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/types.h>

#include <optional>
#include <ostream>
#include <string>

namespace autoresponder {

class ReplyFile;
class ReplyMarks;
struct Mail_content;
struct ReplySource;

static_assert(sizeof(off_t) == 8, "a reply may be larger than 2 GiB");

/// The mail system's size limit for messages.
class SizeLimit {
  public:
    /// qmail's control file (qmail-smtpd(8)).
    static constexpr char kFile[] = "/var/qmail/control/databytes";

    /// A limit in bytes; 0 or less is none.
    explicit SizeLimit(int bytes) : bytes_(bytes) {}

    /// The limit in kFile. A file that cannot be read is none.
    static SizeLimit of_mail_system();

    static SizeLimit none() { return SizeLimit(0); }

    /// The limit in bytes; null if there is none.
    [[nodiscard]] std::optional<int> bytes() const {
        return bytes_ > 0 ? std::optional(bytes_) : std::nullopt;
    }

    /// Whether a mail of `size` bytes is larger. One as large as the limit is not.
    [[nodiscard]] bool is_exceeded_by(off_t size) const {
        return bytes_ > 0 && size > off_t{bytes_};
    }

  private:
    int bytes_;
};

/// Writes the notice that goes to the sender of `mail` in place of a reply that is too large.
/// `reply_to` is the responder's Reply-To address, may be empty.
void write_size_notice(std::ostream& out, const Mail_content& mail, const std::string& reply_to,
                       const ReplyMarks& marks);

/// What goes out as the reply of a responder.
enum class ReplyKind {
    kReply,
    kSizeNotice,  ///< the notice in place of a reply that exceeds the mail system's size limit
};

/// Composes the reply to `mail` in `file`, or the notice in its place. Throws SendError when it
/// cannot be written whole, and std::bad_alloc.
ReplyKind compose_reply(const ReplyFile& file, const Mail_content& mail, const ReplySource& source);

}  // namespace autoresponder
