// SPDX-License-Identifier: Apache-2.0

#include "core/send/delivery.h"

#include <exception>
#include <new>
#include <utility>

#include "core/message/mail_content.h"
#include "core/reply/reply_address.h"
#include "core/reply/reply_file.h"
#include "core/run/diagnostics.h"
#include "core/send/mail_program.h"
#include "support/ascii.h"

namespace autoresponder {

void check_reply_recipient(const Mail_content& mail) {
    if (const char* objection = recipient_objection(mail.from)) {
        throw SendError(
            "No reply to '" + tolva::without_control_characters(mail.from) + "': " + objection, 0);
    }
}

Envelope reply_envelope(const Mail_content& mail) {
    return {.sender = reply_address(mail.to), .recipient = mail.from};
}

int submit_reply(tolva::Descriptor reply, const Envelope& envelope) {
    const auto sent = submit_file(std::move(reply), envelope.sender, envelope.recipient);
    if (!sent) {
        report("autoresponder: Failed to spawn sendmail for response: ", error_text(sent.error()));
        throw SendError("Failed to spawn sendmail to send response mail", sent.error());
    }
    return *sent;
}

bool sent_or_recorded(const std::function<void()>& send) {
    try {
        send();
        return true;
    } catch (const AddressError& error) {
        record(0, "IDN conversion error: %s", error.what());
    } catch (const std::bad_alloc&) {
        record(0, "Program failed due to exhausted memory");
    } catch (const SendError& error) {
        record(error.error(), "Send error: %s", error.what());
    } catch (const std::exception& error) {
        record(0, "Send error: %s", error.what());
    }
    return false;
}

}  // namespace autoresponder
