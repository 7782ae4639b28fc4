// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <mimelib/string.h>

namespace mimelib {

struct MailboxParts {
    DwString local_part;
    DwString domain;
};

// Reads the address out of one element of a list ("a@b", "Name <a@b>", "<@route:a@b>"). Parts
// without gaps are slices of `text`. The local part is empty if there is no address.
MailboxParts read_mailbox(const DwString& text);

}  // namespace mimelib
