/// Runs code that ends the process, or that needs a process of its own, in a child. What the code
/// saw there is compared in the parent, so that a test that fails tells what it was.
#pragma once

#include <cerrno>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>

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

/// Notes what the body saw, for the parent to compare: the values as a line, with blanks between
/// them. Keeps errno.
template <typename... Values>
void note(Values... values) {
    const int error = errno;
    std::ostringstream line;
    line << std::boolalpha;
    const char* separator = "";
    ((line << separator << values, separator = " "), ...);
    line << '\n';
    add_note(line.view());
    errno = error;
}
