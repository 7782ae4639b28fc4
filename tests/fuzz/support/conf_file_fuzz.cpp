// SPDX-License-Identifier: Apache-2.0

// Reads any bytes as a configuration file and compares what it defines with another reading.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "support/conf_table.h"
#include "support/conf_table_handle.h"
#include "tests/fuzz/require.h"

namespace {

constexpr std::string_view kSpace = " \t\n\v\f\r";
constexpr std::string_view kNameCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";

std::string_view trim(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kSpace);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(kSpace) + 1 - begin);
}

std::map<std::string, std::string> reference(std::string_view text) {
    std::map<std::string, std::string> variables;
    while (!text.empty()) {
        const std::size_t line_end = text.find('\n');
        std::string_view line = text.substr(0, line_end);
        text.remove_prefix(line_end == std::string_view::npos ? text.size() : line_end + 1);

        line = line.substr(0, line.find('\0'));
        line = trim(line.substr(0, line.find('#')));
        const std::string_view name = line.substr(0, line.find_first_not_of(kNameCharacters));
        const std::string_view value = trim(line.substr(name.size()));
        const bool separated =
            line.size() > name.size() && kSpace.find(line[name.size()]) != std::string_view::npos;
        if (!name.empty() && !value.empty() && separated) {
            variables[std::string(name)] = value;
        }
    }
    return variables;
}

tolva::ConfTableHandle read(const std::uint8_t* data, std::size_t size) {
    const int file = memfd_create("conf", MFD_CLOEXEC);
    require(file >= 0 && write(file, data, size) == static_cast<ssize_t>(size), "a file is made");
    tolva::ConfTableHandle table = tolva::new_conf_table();
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    require(conf_read_file_r(path.c_str(), table.get()) == 0, "any file can be read");
    close(file);
    return table;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto table = read(data, size);
    const auto expected = reference({reinterpret_cast<const char*>(data), size});
    require(table->count == expected.size() && table->count <= table->capacity,
            "as many variables as the reference finds");
    std::size_t i = 0;
    for (const auto& [name, value] : expected) {
        require(table->entries[i++].name == name, "sorted by name");
        const char* found = conf_get_r(name.c_str(), table.get());
        require(found != nullptr && found == value, "the value is found");
        require(value.find('#') == std::string::npos && trim(value) == value,
                "neither comment nor blanks");
        require(conf_get_r((name + "_").c_str(), table.get()) == nullptr ||
                    expected.contains(name + "_"),
                "nothing else is found");
    }
    return 0;
}
