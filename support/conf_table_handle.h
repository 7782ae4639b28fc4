// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <memory>

#include "support/conf_table.h"

namespace tolva {

struct ConfTableDeleter {
    void operator()(conf_table* table) const { conf_free_r(table); }
};

using ConfTableHandle = std::unique_ptr<conf_table, ConfTableDeleter>;

/// An empty table; null when there is no memory.
[[nodiscard]] inline ConfTableHandle new_conf_table() {
    return ConfTableHandle(conf_new_r());
}

}  // namespace tolva
