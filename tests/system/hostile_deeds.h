// SPDX-License-Identifier: Apache-2.0

#pragma once

// What code that has captured a process may try there, on behalf of hostile_charset.cpp.

#include <string>
#include <string_view>

// Does the deed of that name and returns what it came to: "done", the name of the error, or what it
// found. Some do not return. "unknown" if there is none of that name.
std::string do_deed(std::string_view name, const std::string& argument);

// What a system call that yields -1 for failure came to.
std::string outcome(long result);

// Those of hostile_resources.cpp, which take memory and time, and those that speak in the captured
// process's place.
std::string do_deed_with_resources(std::string_view name, const std::string& argument);

struct Deed {
    std::string_view name;
    std::string (*action)(const std::string& argument);
};
