// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Returns `times` copies of `text` in a row.
inline std::string repeat(std::string_view text, std::size_t times) {
    std::string repeated;
    for (std::size_t i = 0; i < times; ++i) {
        repeated += text;
    }
    return repeated;
}

/// Returns the text of the Exception that `action` throws, "" when it throws none.
template <typename Exception, typename Action>
std::string thrown_text(const Action& action) {
    try {
        action();
    } catch (const Exception& exception) {
        return exception.what();
    }
    return "";
}
