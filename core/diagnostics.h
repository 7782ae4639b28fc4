#pragma once

#include <string>
#include <string_view>

/// "reason (number)" of an errno value, the end of most messages about a failed system call.
std::string error_text(int error);

/// `text` as a line of a log can hold it: control characters become "?".
std::string on_one_line(std::string_view text);
