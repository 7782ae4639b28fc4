#pragma once

#include <sys/types.h>

#include <optional>

static_assert(sizeof(off_t) == 8, "a reply may be larger than 2 GiB");

/// The mail system's size limit for messages.
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
