#include "core/delivery.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "core/diagnostics.h"
#include "core/mail_content.h"
#include "core/mail_program.h"
#include "core/response_file.h"
#include "core/run_end.h"
#include "encoding/idn.h"
#include "encoding/rfc1522.h"
#include "support/descriptor.h"
#include "support/exec.h"

namespace {

/// The limit in bytes; 0 or less for none.
int databytes_limit() {
    std::ifstream control("/var/qmail/control/databytes");
    std::string limit;
    control >> limit;
    return std::atoi(limit.c_str());
}

bool is_too_large(const char* file_name) {
    struct stat status {};
    return stat(file_name, &status) == 0 && exceeds_size_limit(status.st_size, databytes_limit());
}

void write_size_notice(std::ostream& out, const Mail_content& mail, const std::string& reply_to) {
    if (!reply_to.empty()) {
        out << "Reply-To: " << reply_to << "\n";
    }
    out << "From: " << mail.to << "\n"
        << "CC: \n"
        << "Subject: " << tolva::rfc1522::encode("Re: " + mail.subject) << "\n"
        << "\n"
        << "An error occurred while responding on you request.\n"
        << "\n"
        << "Autoresponder message size exceeds databytes limit.\n"
        << "\n"
        << "\n"
        << "\n";
}

/// Reports on standard error and throws, with `error` left in errno for the log.
[[noreturn]] void fail(const std::string& message, int error, const char* what) {
    std::cerr << message << error_text(error) << std::endl;
    errno = error;
    throw std::runtime_error(what);
}

}  // namespace

bool exceeds_size_limit(off_t size, int limit) {
    return limit > 0 && size > off_t{limit};
}

void hold_to_size_limit(const ResponseFile& file, const Mail_content& mail,
                        const std::string& reply_to) {
    if (is_too_large(resp_uu_file_name)) {
        file.write([&](std::ostream& out) { write_size_notice(out, mail, reply_to); });
    }
}

void submit_response(const Mail_content& mail) {
    tolva::Descriptor response(open(resp_uu_file_name, O_RDONLY | O_CLOEXEC));
    if (!response) {
        fail("autoresponder: Failed to open temporary file with response mail contents '" +
                 std::string(resp_uu_file_name) + "': ",
             errno, "Failed to generate response mail contents");
    }
    const std::string own_address = tolva::idn::toAscii(mail.to);
    if (const char* objection = recipient_objection(mail.from)) {
        errno = 0;
        throw std::runtime_error("No reply to '" + on_one_line(mail.from) + "': " + objection);
    }
    const pid_t pid =
        fork_execl_pipes(response.get(), fileno(stdout), fileno(stderr), kMailProgram, kMailProgram,
                         "-f", own_address.c_str(), mail.from.c_str(), static_cast<char*>(nullptr));
    response.close();
    if (pid < 0) {
        fail("autoresponder: Failed to spawn sendmail for response: ", errno,
             "Failed to spawn sendmail to send response mail");
    }
    wait_for_mail_program(pid);
}
