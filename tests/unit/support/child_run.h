// SPDX-License-Identifier: Apache-2.0

/// Runs code that ends the process, or that needs a process of its own, in a child. What the code
/// saw there is compared in the parent, so that a test that fails tells what it was.
#pragma once

#include <cerrno>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>

struct ChildRun {
    int status;  // the exit status; minus the signal's number if one ended the child
    std::string out;
    std::string err;
    std::string noted;  // what the body wrote with note()
};

/// Runs body in a forked child, which then exits with status 0, and returns what the child wrote.
ChildRun run_in_child(const std::function<void()>& body);

/// Adds a text to what the parent finds in ChildRun::noted; for the body of such a child.
void add_note(std::string_view text);

template <typename Value>
std::string note_of(const Value& value) {
    if constexpr (std::is_same_v<Value, bool>) {
        return value ? "true" : "false";
    } else if constexpr (std::is_arithmetic_v<Value>) {
        return std::to_string(value);
    } else {
        return std::string(value);
    }
}

/// Notes what the body saw, for the parent to compare: the values as a line, with blanks between
/// them. Keeps errno.
template <typename... Values>
void note(Values... values) {
    const int error = errno;
    std::string line;
    ((line += note_of(values) + ' '), ...);
    line.back() = '\n';
    add_note(line);
    errno = error;
}
