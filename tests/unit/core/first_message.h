// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "core/message/mail_content.h"

// The message that the tests reply to. The placeholders of a subject keep the values of the
// process's first message, so all tests share one.
inline const autoresponder::Mail_content& first_message() {
    static const autoresponder::Mail_content message = [] {
        autoresponder::Mail_content content;
        content.from = "ann@correspondent.example";
        content.to = "info@client.example";
        content.subject = "A question";
        return content;
    }();
    return message;
}
