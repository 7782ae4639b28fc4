// SPDX-License-Identifier: Apache-2.0

/// Another way to the result of templ_replace: the straightforward one, with strings.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "support/template.h"

struct TemplateResult {
    std::string output;
    bool terminated;  // whether a zero follows the output
    repl_ctl control;

    bool operator==(const TemplateResult& other) const;
};

std::ostream& operator<<(std::ostream& stream, const TemplateResult& result);

/// The zeros of the untouched destination are told from written ones by filling it with this.
constexpr char kUntouched = '\x01';

TemplateResult reference_replace(char opening, char closing, const std::vector<par_templ>& table,
                                 std::string_view source, std::size_t size, int flags);

/// The same from templ_replace, which is given copies that end where they may be read and written.
TemplateResult actual_replace(char opening, char closing, const std::vector<par_templ>& table,
                              std::string_view source, std::size_t size, int flags);
