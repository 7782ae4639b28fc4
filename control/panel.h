// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

#include "core/panel/database_session.h"
#include "core/panel/mailbox.h"

/// The panel's database as the commands use it.
namespace autoresponder::control {

/// Opens a session as the autoresponder does. Throws Failure with the reason.
Session connect_or_fail();

/// The mailbox that `address` leads to. Throws Failure when there is none, EndOfRun if a statement
/// fails.
Mailbox mailbox_or_fail(Session& session, const std::string& address);

}  // namespace autoresponder::control
