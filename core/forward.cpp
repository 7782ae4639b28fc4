#include "core/forward.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <vector>

#include "core/database.h"
#include "core/diagnostics.h"
#include "core/mail_content.h"
#include "core/mail_program.h"
#include "core/run_end.h"
#include "support/descriptor.h"
#include "support/exec.h"

namespace {

std::vector<std::string> forward_addresses(MYSQL* connection, const std::string& rn_id) {
    std::vector<std::string> addresses;
    QueryResult rows = query(connection, "select address from resp_forward where rn_id=" + rn_id);
    while (rows.fetch()) {
        const auto address = rows.column(0);
        if (!address) {
            continue;
        }
        if (const char* objection = recipient_objection(*address)) {
            std::cerr << "autoresponder: Not forwarded to '" << on_one_line(*address)
                      << "': " << objection << std::endl;
            continue;
        }
        addresses.emplace_back(*address);
    }
    return addresses;
}

}  // namespace

void forward(st_mysql* connection, Mail_content* mail,
             std::string rn_id)  // NOLINT(performance-unnecessary-value-param)
{
    std::vector<std::string> addresses = forward_addresses(connection, rn_id);
    if (addresses.empty()) {
        return;
    }
    tolva::Descriptor message(open(mail_file_name, O_RDONLY | O_CLOEXEC));
    if (!message) {
        std::cerr << "autoresponder: Failed to open temporary file with forward mail contents '"
                  << mail_file_name << "': " << error_text(errno) << std::endl;
        return;
    }
    std::string program = kMailProgram;
    std::string option = "-f";
    std::vector<char*> arguments = {program.data(), option.data(), mail->to.data()};
    for (std::string& address : addresses) {
        arguments.push_back(address.data());
    }
    arguments.push_back(nullptr);

    const pid_t pid = fork_execv_pipes(message.get(), fileno(stdout), fileno(stderr), kMailProgram,
                                       arguments.data());
    message.close();
    if (pid < 0) {
        std::cerr << "autoresponder: Failed to spawn sendmail for forwarding: " << error_text(errno)
                  << std::endl;
        return;
    }
    wait_for_mail_program(pid);
}
