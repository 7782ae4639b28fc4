// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Which system calls a confined process may still make (seccomp(2)).
namespace autoresponder {

/// Takes from this process, for good, all system calls but those that it needs to read files and
/// descriptors, to take memory, to load charset modules, to write to descriptors that it has, and
/// to end. All others fail with EPERM: starting or tracing processes, sending signals, sockets,
/// making or changing files, raising limits. Does nothing where the kernel has no such filters.
void filter_system_calls();

/// Whether the kernel has them.
bool can_filter_system_calls();

}  // namespace autoresponder
