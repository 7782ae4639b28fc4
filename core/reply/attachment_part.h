// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <ostream>
#include <string>

namespace autoresponder {

class AttachmentRepository;

/// Writes the part of a reply that carries the file `name` of `repository` (RFC 2045, RFC 2183):
/// headers, an empty line, the file in base64 in lines of 60 characters, an empty line. The file is
/// streamed, and read no further than `out` takes it.
///
/// A file that cannot be read is reported on standard error and left empty, or cut short where
/// reading fails.
void write_attachment_part(std::ostream& out, const AttachmentRepository& repository,
                           const std::string& name);

}  // namespace autoresponder
