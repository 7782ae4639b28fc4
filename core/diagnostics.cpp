#include "core/diagnostics.h"

#include <cstring>

std::string error_text(int error) {
    return std::string(std::strerror(error)) + " (" + std::to_string(error) + ")";
}
