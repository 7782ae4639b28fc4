#pragma once

#include <mimelib/mimepp.h>

struct Mail_content;

/// Reads the incoming message from standard input, keeps a copy of it in the file `mail_file_name`
/// and fills `mail` from it and from the environment variable RESP_RECIPIENT.
///
/// Returns 0 when `mail` is filled and 1 when the message cannot be answered; the reason is then on
/// standard error and `mail` untouched. Text that cannot be converted to UTF-8 is a warning there.
/// Throws std::bad_alloc, and std::out_of_range for a subject that ends in blanks (see
/// tolva::rfc1522::decode).
int parse_message(Mail_content* mail);

/// The first address of a Reply-To: field that is valid and a mailbox, not a group; null when there
/// is none. The mailbox belongs to the list.
DwMailbox* GetMailboxFromAddressList(const DwAddressList& addresses);

/// The first valid mailbox of a From: field; null when there is none. It belongs to the list.
DwMailbox* GetMailboxFromMailboxList(const DwMailboxList& mailboxes);

/// The charset that the entity's Content-Type declares, as written there; "US-ASCII" when it
/// declares none (RFC 2046, 4.1.2).
DwString GetCharset(const DwEntity& entity);

/// Stores the entity's body in `out`, undone from its Content-Transfer-Encoding (RFC 2045, 6). A
/// body in no encoding that is known here is taken as it stands.
void DecodeBody(const DwEntity& entity, DwString& out);
