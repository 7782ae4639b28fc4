#pragma once

#include <cstdlib>
#include <memory>

#include "support/conf_table.h"

namespace tolva {

struct ConfTableDeleter {
    void operator()(conf_table* table) const { conf_free_r(table); }
};

using ConfTableHandle = std::unique_ptr<conf_table, ConfTableDeleter>;

/// An empty table; null when there is no memory.
inline ConfTableHandle new_conf_table() {
    return ConfTableHandle(static_cast<conf_table*>(std::calloc(1, sizeof(conf_table))));
}

}  // namespace tolva
