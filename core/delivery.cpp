#include "core/delivery.h"

#include <exception>
#include <new>
#include <utility>

#include "core/diagnostics.h"
#include "core/mail_content.h"
#include "core/mail_program.h"
#include "core/response_file.h"
#include "core/send_error.h"
#include "core/too_large_reply.h"
#include "encoding/idn.h"

namespace {

void submit(const ResponseFile& file, const Mail_content& mail) {
    tolva::Descriptor response = file.reopen();
    const Envelope envelope = response_envelope(mail);
    if (const int error = submit_file(std::move(response), envelope.sender, envelope.recipient)) {
        report("autoresponder: Failed to spawn sendmail for response: ", error_text(error));
        throw SendError("Failed to spawn sendmail to send response mail", error);
    }
}

}  // namespace

Envelope response_envelope(const Mail_content& mail) {
    Envelope envelope{.sender = tolva::idn::toAscii(mail.to), .recipient = mail.from};
    if (const char* objection = recipient_objection(envelope.recipient)) {
        throw SendError("No reply to '" + on_one_line(mail.from) + "': " + objection, 0);
    }
    return envelope;
}

bool sent_or_recorded(const std::function<void()>& send) {
    try {
        send();
        return true;
    } catch (const tolva::idn::IdnaError& error) {
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

void send_response(const ResponseFile& file, const Mail_content& mail,
                   const ResponderRow& responder, const ResponseAttachments& attachments,
                   const ReplyMarks& marks) {
    sent_or_recorded([&] {
        compose_response(file, mail, responder, attachments, marks);
        submit(file, mail);
    });
}
