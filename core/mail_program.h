#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "support/descriptor.h"

/// Handing mail over to the mail submission program, /usr/sbin/sendmail: the message on its
/// standard input, "-f", the envelope sender and the recipients on its command line.
///
/// Each function waits until the program has ended. How it ended is its own business: it has
/// reported, queued or bounced what there was.

/// Hands over the mail that is read from `message`. Returns 0, or the errno value that says why the
/// program could not be started.
[[nodiscard]] int submit_file(tolva::Descriptor message, const std::string& sender,
                              const std::string& recipient);

/// The same for several recipients, with one start of the program.
[[nodiscard]] int submit_file(tolva::Descriptor message, const std::string& sender,
                              const std::vector<std::string>& recipients);

/// Why a mail that is written into a pipe was not handed over.
struct SubmissionFailure {
    enum class Step {
        kPipe,   ///< there is no pipe to be had
        kStart,  ///< the program could not be started
        kWrite,  ///< not all of the mail could be written into the pipe
    };
    Step step;
    int error;  ///< errno value; 0 for kWrite
};

/// Hands over the mail that `write_mail` writes. Null on success.
[[nodiscard]] std::optional<SubmissionFailure> submit_text(
    const std::string& sender, const std::string& recipient,
    const std::function<void(std::ostream&)>& write_mail);

/// Why the mail program must not be given `address` as a recipient, as the end of a message about
/// it; null when it may. It would take an address that begins with a hyphen for an option, and a
/// stranger could pass options to a program that runs as root; control characters, of which no
/// valid address has any, could end the header field that names the recipient.
const char* recipient_objection(std::string_view address);
