// SPDX-License-Identifier: Apache-2.0

#pragma once

/// What a confined process may still do with files (landlock(7)).
namespace autoresponder {

/// Takes from this process, for good, all access to files by name but reading below /usr/lib, where
/// the charset modules and the libraries lie that they need. Does nothing where the kernel has
/// no Landlock.
void confine_file_access();

/// Whether the kernel has it.
bool can_confine_file_access();

}  // namespace autoresponder
