// SPDX-License-Identifier: Apache-2.0

#include "core/people/loop_and_daemon_check.h"

#include <algorithm>
#include <array>
#include <string>

#include "core/message/mail_content.h"

namespace autoresponder {

const char* loop_reason(const Mail_content& mail) {
    constexpr std::array daemons = {"MAILER-DAEMON", "mailer-daemon", "DrWEB-DAEMON"};

    if (mail.from == mail.to) {
        return "Field From: equial field To:";
    }
    const bool from_daemon = std::ranges::any_of(daemons, [&mail](const char* daemon) {
        return mail.from.find(daemon) != std::string::npos;
    });
    return from_daemon ? "Field From: contains MAILER-DAEMON" : nullptr;
}

}  // namespace autoresponder
