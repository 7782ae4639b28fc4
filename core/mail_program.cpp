#include "core/mail_program.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "core/control_characters.h"
#include "support/exec.h"
#include "support/pipestream.h"

namespace {

constexpr const char* kProgram = "/usr/sbin/sendmail";

// A start of the mail program, or the reason why there was none. Its destructor waits for the
// program to end.
class MailProgram {
  public:
    MailProgram(int input, const std::string& sender, const std::string& recipient)
        : pid_(fork_execl_pipes(input, STDOUT_FILENO, STDERR_FILENO, kProgram, kProgram, "-f",
                                sender.c_str(), recipient.c_str(), static_cast<char*>(nullptr))),
          error_(errno) {}

    MailProgram(int input, const std::string& sender, const std::vector<std::string>& recipients)
        : pid_(start(input, sender, recipients)), error_(errno) {}

    MailProgram(const MailProgram&) = delete;
    MailProgram& operator=(const MailProgram&) = delete;

    ~MailProgram() {
        while (started() && waitpid(pid_, nullptr, WUNTRACED) == -1 && errno == EINTR) {
        }
    }

    [[nodiscard]] bool started() const { return pid_ >= 0; }
    [[nodiscard]] int error() const { return started() ? 0 : error_; }

  private:
    static pid_t start(int input, const std::string& sender,
                       const std::vector<std::string>& recipients) {
        std::vector<const char*> arguments = {kProgram, "-f", sender.c_str()};
        for (const std::string& recipient : recipients) {
            arguments.push_back(recipient.c_str());
        }
        arguments.push_back(nullptr);
        // execv(3) does not write to the arguments.
        return fork_execv_pipes(input, STDOUT_FILENO, STDERR_FILENO, kProgram,
                                const_cast<char* const*>(arguments.data()));
    }

    pid_t pid_;
    int error_;
};

}  // namespace

int submit_file(tolva::Descriptor message, const std::string& sender,
                const std::string& recipient) {
    const MailProgram program(message.get(), sender, recipient);
    message.close();
    return program.error();
}

int submit_file(tolva::Descriptor message, const std::string& sender,
                const std::vector<std::string>& recipients) {
    const MailProgram program(message.get(), sender, recipients);
    message.close();
    return program.error();
}

std::optional<SubmissionFailure> submit_text(const std::string& sender,
                                             const std::string& recipient,
                                             const std::function<void(std::ostream&)>& write_mail) {
    std::optional<tolva::Pipe> pipe = tolva::make_pipe();
    if (!pipe) {
        return SubmissionFailure{SubmissionFailure::Step::kPipe, errno};
    }
    const MailProgram program(pipe->read_end.get(), sender, recipient);
    pipe->read_end.close();
    if (!program.started()) {
        return SubmissionFailure{SubmissionFailure::Step::kStart, program.error()};
    }
    // Destroyed before the program is waited for, which ends when its input does.
    ofd_pipestream mail(pipe->write_end.release());
    write_mail(mail);
    mail.flush();
    if (!mail) {
        return SubmissionFailure{SubmissionFailure::Step::kWrite, 0};
    }
    return std::nullopt;
}

const char* recipient_objection(std::string_view address) {
    if (address.starts_with('-')) {
        return "the address begins with a hyphen";
    }
    return has_control_character(address) ? "the address holds a control character" : nullptr;
}
