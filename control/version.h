// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace autoresponder::control {

/// The version of both programs, as CMakeLists.txt has it.
extern const char* const kVersion;

}  // namespace autoresponder::control
