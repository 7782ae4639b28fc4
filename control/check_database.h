#pragma once

#include "control/checklist.h"
#include "support/db.h"

/// Whether the panel's database has what the autoresponder asks it for: tables and columns with
/// what matters in their types, the rights to read and write them, room for the connections.
/// Changes nothing.
void check_database(Checklist& checklist, MYSQL* connection);
