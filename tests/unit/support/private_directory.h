// SPDX-License-Identifier: Apache-2.0

/// A directory of the machine replaced, for one process, by an empty one.
#pragma once

/// Puts an empty directory in the place of directory, for the calling process only: call it in a
/// child (run_in_child). False where the system does not allow it, which needs root or user
/// namespaces.
bool make_private(const char* directory);

/// Whether make_private works here.
bool can_make_private(const char* directory);
