// SPDX-License-Identifier: Apache-2.0

#include "support/string_helpers.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "support/ascii.h"
#include "support/log.h"

namespace {

using tolva::is_space;

char to_lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// A C string growing in a buffer that may be too small for it.
class BoundedText {
  public:
    BoundedText(char* buffer, std::size_t size) : end_(buffer), room_(size) {}

    // False if the text was cut.
    bool append(std::string_view text) {
        if (room_ == 0) {
            return false;
        }
        const std::size_t added = std::min(text.size(), room_ - 1);
        std::memcpy(end_, text.data(), added);
        end_ += added;
        room_ -= added;
        *end_ = '\0';
        return added == text.size();
    }

  private:
    char* end_;
    std::size_t room_;
};

bool replace_all(std::string_view text, std::string_view what, std::string_view with,
                 BoundedText result) {
    while (!what.empty()) {
        const std::size_t found = text.find(what);
        if (found == std::string_view::npos) {
            break;
        }
        if (!result.append(text.substr(0, found)) || !result.append(with)) {
            return false;
        }
        text.remove_prefix(found + what.size());
    }
    return result.append(text);
}

[[noreturn]] void end_without_memory(std::size_t size) {
    messlog2(1, 0, "alloc(%d)", static_cast<int>(size));
    std::exit(1);
}

}  // namespace

char* tolva_chch(char* str, char* out, int from, int to) {
    const std::size_t length = std::strlen(str);
    char* written = out != nullptr ? out : str;
    std::transform(str, str + length, written, [from, to](char c) {
        return c == static_cast<char>(from) ? static_cast<char>(to) : c;
    });
    written[length] = '\0';
    return written;
}

char* strtolower(char* str) {
    std::transform(str, str + std::strlen(str), str, to_lower);
    return str;
}

char* strtolower_dynamic(const char* s) {
    if (s == nullptr) {
        return nullptr;
    }
    char* copy = strdup(s);
    if (copy == nullptr) {
        messlog2(0, 0, "System error: %s\n", std::strerror(errno));
        return nullptr;
    }
    return strtolower(copy);
}

char* tolva_trim(char* str) {
    if (str == nullptr) {
        return nullptr;
    }
    const char* begin = str;
    while (is_space(*begin)) {
        ++begin;
    }
    const char* end = begin + std::strlen(begin);
    while (end > begin && is_space(end[-1])) {
        --end;
    }
    const std::size_t length = static_cast<std::size_t>(end - begin);
    std::memmove(str, begin, length);
    str[length] = '\0';
    return str;
}

char* strn_replace(char* src, char* dst, const char* what, const char* with, unsigned n) {
    if (!replace_all(src, what, with, BoundedText(dst, n))) {
        errno = ERANGE;
        messlog2(0, 0, "strn_replace(): %s\n", std::strerror(errno));
        return nullptr;
    }
    return dst;
}

#ifndef SUPPORT_HAVE_STRLCPY
std::size_t strlcpy(char* dst, const char* src, std::size_t size) {
    const std::string_view text(src);
    BoundedText(dst, size).append(text);
    return text.size();
}
#endif

int vasprintf_safe(char** out, const char* format, va_list args) {
    const int length = vasprintf(out, format, args);
    if (length < 0) {
        *out = nullptr;
        messlog2(0, 0, "Cannot allocate memory: %s", std::strerror(errno));
        return -1;
    }
    return length;
}

int asprintf_safe(char** out, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = vasprintf_safe(out, format, args);
    va_end(args);
    return length;
}

void* malloc_safe(std::size_t size) {
    void* block = std::malloc(std::max<std::size_t>(size, 1));
    if (block == nullptr) {
        end_without_memory(size);
    }
    return block;
}

void* realloc_safe(void* block, std::size_t size) {
    void* resized = std::realloc(block, std::max<std::size_t>(size, 1));
    if (resized == nullptr) {
        end_without_memory(size);
    }
    return resized;
}

void check_unprocessed_parameters(int used, int given) {
    if (used != given) {
        messlog2(1, 0,
                 "Some parameters in command string leave unprocessed. Check parameters please.");
    }
}

int check_parameter(int present, char* value, ...) {
    if (present != 0 && value != nullptr && *value != '\0') {
        return 0;
    }
    va_list args;
    va_start(args, value);
    messlog2(0, 0, "Miss parameter '%s' or previos parameter empty.\n", va_arg(args, const char*));
    va_end(args);
    return -1;
}
