// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <functional>
#include <string>

#include "support/descriptor.h"

/// Handing a composed reply to the mail program.
namespace autoresponder {

struct Mail_content;

struct Envelope {
    std::string sender;
    std::string recipient;
};

/// Throws SendError when the mail program must not be given the sender of `mail` as a recipient.
void check_reply_recipient(const Mail_content& mail);

/// From whom to whom the replies to `mail` go: from the mailbox's address to the message's sender.
/// Throws AddressError when the mailbox's address has no ASCII form.
Envelope reply_envelope(const Mail_content& mail);

/// Hands the mail that is read from `reply` to the mail program and waits for it. Returns its
/// status. Throws SendError, with the reason on standard error, if it cannot be started.
int submit_reply(tolva::Descriptor reply, const Envelope& envelope);

/// Calls `send`. When it throws, records in the log why the reply is not sent. Returns whether it
/// was.
bool sent_or_recorded(const std::function<void()>& send);

}  // namespace autoresponder
