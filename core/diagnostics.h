#pragma once

#include <string>

/// "reason (number)" of an errno value, the end of most messages about a failed system call.
std::string error_text(int error);
