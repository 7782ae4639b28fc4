// SPDX-License-Identifier: Apache-2.0

// Replaces placeholders in any text, from any table, and compares with the reference.
//
// Input: a byte of flags, a quarter of the destination's size, the two delimiters, lines
// "name=value" ("name" alone: no value) up to an empty one, and the text.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/template.h"
#include "tests/fuzz/require.h"
#include "tests/unit/support/template_reference.h"

namespace {

// In the opposite order of the one that a table has to be in.
using Values = std::map<std::string, std::optional<std::string>, std::greater<>>;

Values take_values(std::string_view& text) {
    Values values;
    while (!text.empty()) {
        const std::size_t line_end = text.find('\n');
        const std::string_view line = text.substr(0, line_end);
        text.remove_prefix(line_end == std::string_view::npos ? text.size() : line_end + 1);
        if (line.empty()) {
            break;
        }
        const std::size_t name_end = line.find('=');
        const std::string name(line.substr(0, name_end));
        if (name_end == std::string_view::npos) {
            values[name.c_str()] = std::nullopt;
        } else {
            values[name.c_str()] = std::string(line.substr(name_end + 1)).c_str();
        }
    }
    return values;
}

std::vector<par_templ> make_table(const Values& values) {
    std::vector<par_templ> table;
    for (const auto& [name, value] : values) {
        table.push_back({name.c_str(), value ? value->c_str() : nullptr});
    }
    const int count = static_cast<int>(table.size());
    templ_quick_sort(table.data(), count);
    for (int i = 0; i < count; ++i) {
        require(templ_found(table[static_cast<std::size_t>(i)].name, table.data(), count) == i,
                "what is in the table is found");
    }
    return table;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 4) {
        return 0;
    }
    std::string_view text(reinterpret_cast<const char*>(data) + 4, size - 4);
    const int flags = data[0];
    const std::size_t room = std::size_t{4} * data[1];
    const char opening = static_cast<char>(data[2]);
    const char closing = static_cast<char>(data[3]);
    const Values values = take_values(text);
    const std::vector<par_templ> table = make_table(values);
    const std::string_view source = text.substr(0, text.find('\0'));

    const TemplateResult result = actual_replace(opening, closing, table, source, room, flags);
    require(result.control.output_length >= 0 &&
                static_cast<std::size_t>(result.control.output_length) <= room,
            "no more is written than there is room for");
    require(result.control.source_consumed >= 0 &&
                static_cast<std::size_t>(result.control.source_consumed) <= source.size(),
            "no more is consumed than there is");
    require(result == reference_replace(opening, closing, table, source, room, flags),
            "the reference agrees");
    return 0;
}
