#include "core/mail_content.h"

#include <utility>

void set_recipient(Mail_content& mail, std::string address) {
    mail.to = std::move(address);
    // Without "@" both are the whole address: npos + 1 is 0.
    const std::size_t at = mail.to.find('@');
    mail.to_mailname = mail.to.substr(0, at);
    mail.to_domain = mail.to.substr(at + 1);
}
