// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/encoding/iconv_calls.h"

#include <dlfcn.h>
#include <iconv.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>

IconvCalls iconv_calls;

namespace {

template <typename Function>
Function* next(const char* name) {
    void* const function = dlsym(RTLD_NEXT, name);
    if (function == nullptr) {
        std::abort();
    }
    return reinterpret_cast<Function*>(function);
}

}  // namespace

// The linker finds these before those of the C library.

extern "C" iconv_t iconv_open(const char* to, const char* from) {
    iconv_calls.tried.emplace_back(from);
    const iconv_t descriptor = next<iconv_t(const char*, const char*)>("iconv_open")(to, from);
    if (reinterpret_cast<std::intptr_t>(descriptor) != -1) {
        ++iconv_calls.opened;
    }
    return descriptor;
}

extern "C" std::size_t iconv(iconv_t descriptor, char** input, std::size_t* left, char** output,
                             std::size_t* room) {
    iconv_calls.rooms.push_back(*room);
    if (iconv_calls.stalls) {
        *output += iconv_calls.stall_output;
        *room -= iconv_calls.stall_output;
        errno = iconv_calls.stall_errno;
        return errno == 0 ? 0 : static_cast<std::size_t>(-1);
    }
    return next<std::size_t(iconv_t, char**, std::size_t*, char**, std::size_t*)>("iconv")(
        descriptor, input, left, output, room);
}

extern "C" int iconv_close(iconv_t descriptor) {
    ++iconv_calls.closed;
    const int result = next<int(iconv_t)>("iconv_close")(descriptor);
    return iconv_calls.close_fails ? -1 : result;
}
