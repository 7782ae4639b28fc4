// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <mimelib/mimepp.h>

#include "core/message/mail_address.h"
#include "core/message/message_analysis.h"  // IWYU pragma: export
#include "core/run/confined_process.h"
#include "core/run/settings.h"

namespace autoresponder {

struct MailboxNames;

/// What the rules about people need to know of a message, where only people are answered.
struct PersonalFacts {
    std::string machine =
        {};  ///< why it is taken for a machine's (machine_reason); empty: it is not
    std::vector<MailAddress> sender = {};  ///< in all spellings
    std::string message_id = {};           ///< empty: none that is well formed
};

struct MessageFacts {
    MessageAnalysis analysis = {};
    PersonalFacts personal = {};
};

/// Reads a message, in a confined process: strangers chose every byte of it. Whoever captures that
/// process can lie about this message, and nothing else.
///
///     MessageReader reader(std::move(text), recipient, audience);
///     const MessageFacts facts = reader.read();
///
/// All functions throw EndOfRun if the message cannot be read.
class MessageReader {
  public:
    /// Starts with the message `text`, which was sent to `recipient`.
    MessageReader(DwString text, const std::optional<std::string>& recipient, Audience audience);

    /// What the message yields; to be called once. Complaints about it are written to standard
    /// error. Throws std::runtime_error for a subject that ends in blanks (see
    /// tolva::rfc1522::decode).
    MessageFacts read();

    /// Whether an address of the mailbox stands in To:, Cc:, Resent-To: or Resent-Cc:. Only where
    /// only people are answered, and after read().
    bool stand_in_header(const MailboxNames& names);

  private:
    std::size_t size_;  // of the message
    std::optional<std::string> recipient_;
    std::optional<ConfinedProcess> process_;
};

/// Reads the incoming message, keeps a copy of it and fills `mail` from it and from the environment
/// variable RESP_RECIPIENT. For tools of the panel; the program itself calls receive_message and
/// walk.
///
/// Returns 0 when `mail` is filled and 1 when the message cannot be answered; the reason is then on
/// standard error. Throws as MessageReader does. `mail` is untouched unless the result is 0.
int parse_message(Mail_content* mail);

}  // namespace autoresponder
