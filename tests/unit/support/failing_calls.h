// SPDX-License-Identifier: Apache-2.0

#pragma once

/// System calls that fail, by a filter of the kernel's. A filter cannot be removed, so this is for
/// children of a test.
namespace testing_support {

/// From now on the system call of that number fails with error in this process and its children.
void fail_system_call(long number, int error);

/// The same where the lowest byte of the call's first argument has that value.
void fail_system_call_with(long number, unsigned char first_argument, int error);

/// From now on fork(2) and vfork(2) fail with error.
void fail_fork(int error);

/// From now on the system call of that number with that lowest byte in its first argument ends the
/// process.
void forbid_system_call_with(long number, unsigned char first_argument);

}  // namespace testing_support
