// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/descriptor.h"
#include "support/result.h"

namespace autoresponder {

/// A start of the mail submission program, which gets the message on its standard input, and "-f",
/// the envelope sender and the recipients on its command line:
///
///     tolva::Result<MailProgram> program = MailProgram::start(message, sender, recipient);
///     message.close();
///     if (program) {
///         const int status = program->wait();
///     }
///
/// Its exit status decides nothing; it has queued, bounced or reported the mail itself.
class MailProgram {
  public:
    static constexpr char kPath[] = "/usr/sbin/sendmail";

    static tolva::Result<MailProgram> start(const tolva::Descriptor& input,
                                            const std::string& sender,
                                            const std::string& recipient);
    static tolva::Result<MailProgram> start(const tolva::Descriptor& input,
                                            const std::string& sender,
                                            const std::vector<std::string>& recipients);

    MailProgram(MailProgram&& other) noexcept : pid_(std::exchange(other.pid_, kEnded)) {}
    MailProgram& operator=(MailProgram&&) = delete;
    MailProgram(const MailProgram&) = delete;
    MailProgram& operator=(const MailProgram&) = delete;

    /// Waits for the program, unless wait() has been called.
    ~MailProgram() { wait(); }

    /// Waits until the program has ended or is stopped. Returns its status as from waitpid(2); 0 if
    /// the status cannot be had.
    int wait();

  private:
    static constexpr pid_t kEnded = -1;

    explicit MailProgram(pid_t pid) : pid_(pid) {}
    static tolva::Result<MailProgram> started(pid_t pid);

    pid_t pid_;
};

/// Hands over the mail that is read from `message` to one recipient or several, and waits until the
/// program has ended. Yields the program's status, or why it could not be started.
template <typename Recipients>
tolva::Result<int> submit_file(tolva::Descriptor message, const std::string& sender,
                               const Recipients& recipients) {
    tolva::Result<MailProgram> program = MailProgram::start(message, sender, recipients);
    message.close();
    if (!program) {
        return tolva::Errno{program.error()};
    }
    return program->wait();
}

/// How a mail program with that status has ended: "ended with status 111", "was ended by signal 9"
/// or "was stopped by signal 19"; empty for status 0.
std::string bad_status(int status);

/// Why the mail program must not be given `address` as a recipient, as the end of a message about
/// it; null when it may. It would take an address that begins with a hyphen for an option, and a
/// stranger could pass options to a program that runs as root; control characters, of which no
/// valid address has any, could end the header field that names the recipient.
const char* recipient_objection(std::string_view address);

}  // namespace autoresponder
