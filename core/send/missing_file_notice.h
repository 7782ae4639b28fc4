// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace autoresponder {

class Session;
struct EscapedAddress;
struct Mail_content;

/// The mail that tells the client who owns the recipient's domain that files of a responder are
/// missing.
struct MissingFileNotice {
    std::string sender;
    std::string recipient;             ///< the client's address
    std::string client_name;           ///< as the notice calls the client
    std::string reply_to;              ///< the responder's Reply-To address; empty: none
    std::vector<std::string> missing;  ///< the files' names
};

/// Finds out from whom to whom the notice goes. Null, mostly with the reason on standard error,
/// when there is nobody to send it to. `recipient` is the address that the message was sent to,
/// `reply_to` the responder's Reply-To address, `missing` the names of the files.
std::optional<MissingFileNotice> prepare_missing_file_notice(
    Session& session, const EscapedAddress& recipient, const std::string& reply_to,
    const std::vector<std::string>& missing);

/// Writes the notice about the mailbox that `mail` was sent to, headers and text. In the files'
/// names
/// "?" stands for each control character: with line ends, whoever may write to the panel could have
/// the notice say something else.
void write_missing_file_notice(std::ostream& out, const MissingFileNotice& notice,
                               const Mail_content& mail);

/// Hands the notice to the mail program and returns its status. One that cannot be sent is reported
/// on standard error and left at that: the reply goes out all the same.
int send_missing_file_notice(const MissingFileNotice& notice, const Mail_content& mail);

}  // namespace autoresponder
