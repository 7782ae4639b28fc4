#pragma once

#include "core/mail_content.h"

// The message that the tests reply to. The placeholders of a subject keep the values of the
// process's first message, so all tests share one.
inline const Mail_content& first_message() {
    static const Mail_content message = [] {
        Mail_content content;
        content.from = "ann@correspondent.example";
        content.to = "info@client.example";
        content.subject = "A question";
        return content;
    }();
    return message;
}
