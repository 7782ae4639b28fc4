// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the capturing mail program and the tests agree on.
//
// The n-th mail program started (from 1) leaves in kMailDirectory
//   n.arguments    its argument vector, each argument ended by a zero byte
//   n.environment  its environment, in the same way
//   n.facts        lines "name value": what it found itself started with, see Submission
//   n.message      its standard input, byte for byte
// and behaves as the word in kBehaviourFile, if there is one, says:
//   count        stores only the number of bytes on standard input, as fact "size"
//   unread       ends with status 0 without reading its standard input
//   slow         reads 4 KiB every few milliseconds
//   linger       goes on for half a second after its input is stored
//   exit-75      ends with status 75 after its input is stored
//   killed       is killed by a signal after its input is stored

constexpr const char* kMailDirectory = "/world/mail";
constexpr const char* kBehaviourFile = "/world/behaviour";
