// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "core/run/rights.h"

namespace autoresponder {

/// The system user that the package makes for the processes that read what others have written.
inline constexpr char kUnprivilegedUser[] = "_autoresponder";

/// That user, from /etc/passwd, or nobody where it does not exist. Directory services are not
/// asked: an outage of theirs must not keep mail from being read.
Identity unprivileged_identity();

}  // namespace autoresponder
