// SPDX-License-Identifier: Apache-2.0

#include "support/log.h"

#include <strings.h>
#include <syslog.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/c_pointer.h"

const char* PROGNAME = nullptr;
void (*tolva_log)(int level, const char* format, ...) = _tolva_utility_log;
void (*tolva_logv)(int level, const char* format, va_list args) = _tolva_utility_logv;

namespace {

constexpr std::size_t kMessageBuffer = 4096;

messlog_end_function end_function = std::exit;
bool enabled = false;
int configured_level = 0;

// The base name of PROGNAME with what separates it from a message, both empty if there is none.
struct Prefix {
    const char* name = "";
    const char* separator = "";
};

Prefix prefix() {
    if (PROGNAME == nullptr) {
        return {};
    }
    const char* slash = std::strrchr(PROGNAME, '/');
    return {slash != nullptr ? slash + 1 : PROGNAME, ": "};
}

void write_message(std::FILE* stream, const char* text) {
    const auto [name, separator] = prefix();
    const std::size_t length = std::strlen(text);
    const bool ended = length > 0 && text[length - 1] == '\n';
    std::fprintf(stream, "%s%s%s%s", name, separator, text, ended ? "" : "\n");
    std::fflush(stream);
}

__attribute__((format(printf, 2, 0))) void write_log(std::FILE* stream, const char* format,
                                                     va_list args) {
    std::vfprintf(stream, format, args);
    std::fputc('\n', stream);
    std::fflush(stream);
}

// A message in a buffer with whatever room is left after it.
struct Message {
    tolva::CPointer<char> text;
    std::size_t capacity;
};

// Formats with errno as it was at the call, for %m.
__attribute__((format(printf, 2, 0))) Message format_message(int error, const char* format,
                                                             va_list args) {
    Message message{tolva::CPointer<char>(static_cast<char*>(std::malloc(kMessageBuffer))),
                    kMessageBuffer};
    if (!message.text) {
        return message;
    }
    *message.text = '\0';
    va_list again;
    va_copy(again, args);
    errno = error;
    const int length = std::vsnprintf(message.text.get(), message.capacity, format, args);
    if (length >= 0 && static_cast<std::size_t>(length) >= message.capacity) {
        const std::size_t needed = static_cast<std::size_t>(length) + 1;
        if (tolva::resize(message.text, needed)) {
            message.capacity = needed;
            errno = error;
            std::vsnprintf(message.text.get(), message.capacity, format, again);
        }
    }
    va_end(again);
    return message;
}

void append_system_error(Message& message, int error) {
    const std::size_t length = std::strlen(message.text.get());
    const std::size_t room = message.capacity - length;
    char* end = message.text.get() + length;
    const int suffix =
        std::snprintf(end, room, "\nSystem error %d: %s", error, std::strerror(error));
    if (suffix < 0 || static_cast<std::size_t>(suffix) >= room) {
        *end = '\0';
    }
}

}  // namespace

void messlog2(int status, int flag, const char* format, ...) {
    va_list args;
    va_start(args, format);
    vmesslog2(status, flag, format, args);
    va_end(args);
}

void vmesslog2(int status, int flag, const char* format, va_list args) {
    const int error = errno;
    Message message = format_message(error, format, args);
    if (!message.text) {
        char text[] = "Can't allocate memory for error message";
        ex_messlog(text, status, flag);
        errno = error;
        return;
    }
    if (error != 0) {
        append_system_error(message, error);
    }
    errno = error;
    ex_messlog(message.text.get(), status, flag);
    errno = error;
}

int ex_messlog(char* text, int status, int /*flag*/) {
    write_message(stderr, text);
    write_message(stdout, text);
    if (status != 0) {
        end_function(status);
    }
    return status;
}

messlog_end_function messlog_set_end(messlog_end_function end) {
    const messlog_end_function before = end_function;
    end_function = end != nullptr ? end : std::exit;
    return before;
}

void tolva_log_init(const char* target, int level, int facility, int options, const char* ident) {
    enabled = level >= 1;
    configured_level = enabled ? level : 0;
    if (target == nullptr) {
        closelog();
        openlog(ident, options | LOG_PID, facility);
        tolva_log = syslog;
        tolva_logv = vsyslog;
        return;
    }
    tolva_log = _tolva_utility_log;
    tolva_logv = _tolva_utility_logv;
    if (strncasecmp(target, "console", 7) != 0) {
        enabled = false;
    }
}

void _tolva_utility_log(int level, const char* format, ...) {
    va_list args;
    va_start(args, format);
    _tolva_utility_logv(level, format, args);
    va_end(args);
}

void _tolva_utility_logv(int level, const char* format, va_list args) {
    if (!enabled || configured_level < level) {
        return;
    }
    va_list again;
    va_copy(again, args);
    write_log(stderr, format, args);
    write_log(stdout, format, again);
    va_end(again);
}
