#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "support/db.h"

struct EscapedAddress;
struct Mail_content;
struct ResponderRow;

/// The mail that tells the client who owns the recipient's domain that files of a responder are
/// missing.
struct MissingFileNotice {
    std::string sender;
    std::string recipient;    ///< the client's address
    std::string client_name;  ///< as the notice calls the client
    std::string reply_to;     ///< the responder's Reply-To address; empty: none
    std::string missing;      ///< the files' names, each followed by a line feed
};

/// Finds out from whom to whom the notice goes. Null, mostly with the reason on standard error,
/// when there is nobody to send it to. `recipient` is the address that the message was sent to,
/// `missing` the names of the files, each followed by a line feed.
std::optional<MissingFileNotice> prepare_missing_file_notice(MYSQL* connection,
                                                             const EscapedAddress& recipient,
                                                             const ResponderRow& responder,
                                                             const std::string& missing);

/// Writes the notice about the mailbox that `mail` was sent to, headers and text.
void write_missing_file_notice(std::ostream& out, const MissingFileNotice& notice,
                               const Mail_content& mail);

/// Hands the notice to the mail program. One that cannot be sent is reported on standard error and
/// left at that: the reply goes out all the same.
void send_missing_file_notice(const MissingFileNotice& notice, const Mail_content& mail);
