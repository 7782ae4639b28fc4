#pragma once

#include <sys/types.h>

#include <optional>
#include <ostream>
#include <string>

#include "core/reply_marks.h"

struct Mail_content;

static_assert(sizeof(off_t) == 8, "a reply may be larger than 2 GiB");

/// The mail system's size limit for messages, and what goes out in place of a reply that exceeds
/// it.
class SizeLimit {
  public:
    /// A limit in bytes; 0 or less is none.
    explicit SizeLimit(int bytes) : bytes_(bytes) {}

    /// qmail's (qmail-smtpd(8), control file databytes). A file that cannot be read is none.
    static SizeLimit of_mail_system();

    static SizeLimit none() { return SizeLimit(0); }

    /// The limit in bytes, nothing if there is none.
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
/// `reply_to` is the responder's Reply-To address, may be empty. The notice bears `marks`.
void write_size_notice(std::ostream& out, const Mail_content& mail, const std::string& reply_to,
                       const ReplyMarks& marks = {});
