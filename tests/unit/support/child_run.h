/// Runs code that ends the process, or that needs a process of its own, in a child.
#pragma once

#include <functional>
#include <string>

struct ChildRun {
    int status;  // the exit status; minus the signal's number if one ended the child
    std::string out;
    std::string err;
};

/// Runs body in a forked child, which then exits with status 0, and gives what the child wrote.
ChildRun run_in_child(const std::function<void()>& body);

/// The same with the exit status that body returns.
ChildRun status_in_child(const std::function<int()>& body);
