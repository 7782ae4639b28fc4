#pragma once

#include <string>

#include "core/mailbox.h"
#include "support/db_handle.h"

/// The panel's database as the commands use it.

/// Opens the connection as the autoresponder does. Throws Failure with the reason.
tolva::db::ConnectionHandle connect_or_fail();

/// The mailbox that `address` leads to. Throws Failure when there is none, EndOfRun if a statement
/// fails.
Mailbox mailbox_or_fail(MYSQL* connection, const std::string& address);
