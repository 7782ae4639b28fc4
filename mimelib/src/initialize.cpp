// SPDX-License-Identifier: Apache-2.0

#include <mimelib/mimepp.h>

// There is nothing to do, as all tables are made at compile time. Other implementations of the
// interface set up theirs here.
void DwInitialize() {}
