// SPDX-License-Identifier: Apache-2.0

#include "core/run/diagnostics.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "support/log.h"

namespace autoresponder {

void record(int error, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    errno = error;  // vmesslog2 names the pending error
    vmesslog2(1, 1, format, arguments);
    va_end(arguments);
}

std::string error_text(int error) {
    return std::string(std::strerror(error)) + " (" + std::to_string(error) + ")";
}

}  // namespace autoresponder
