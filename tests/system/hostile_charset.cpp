// SPDX-License-Identifier: Apache-2.0

// A charset module of the C library whose author has captured every process that uses the charset:
// converting a text, from the charset or to it, does what the text says, and yields what came of
// it. The text "kill 17;read /etc/passwd" becomes "EPERM EACCES".
//
// Loaded ahead of libidn, it is also a conversion of domain names that does what the environment
// variable HOSTILE_DEEDS says.

#include <gconv.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "tests/system/hostile_deeds.h"

namespace {

std::string do_deeds(std::string_view text) {
    std::string outcomes;
    while (!text.empty()) {
        const std::string_view deed = text.substr(0, text.find(';'));
        text.remove_prefix(std::min(deed.size() + 1, text.size()));
        const std::string_view name = deed.substr(0, deed.find(' '));
        const std::string argument(deed.substr(std::min(name.size() + 1, deed.size())));
        outcomes.append(outcomes.empty() ? "" : " ").append(do_deed(name, argument));
    }
    return outcomes;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int gconv_init(__gconv_step* step) {
    step->__min_needed_from = 1;
    step->__max_needed_from = 1;
    step->__min_needed_to = 1;
    step->__max_needed_to = 1;
    step->__stateful = 0;
    return __GCONV_OK;
}

__attribute__((visibility("default"))) void gconv_end(__gconv_step* /*step*/) {}

// The only step of its conversions, as gconv-modules has them lead from and to UTF-8 at once.
__attribute__((visibility("default"))) int gconv(__gconv_step* /*step*/, __gconv_step_data* data,
                                                 const unsigned char** input,
                                                 const unsigned char* end,
                                                 unsigned char** /*output*/,
                                                 size_t* /*irreversible*/, int /*flush*/,
                                                 int /*consume_incomplete*/) {
    if (input == nullptr || *input == nullptr || *input == end) {
        return __GCONV_EMPTY_INPUT;
    }
    const int error = errno;
    const std::string outcomes =
        do_deeds({reinterpret_cast<const char*>(*input), static_cast<std::size_t>(end - *input)});
    const std::size_t room = static_cast<std::size_t>(data->__outbufend - data->__outbuf);
    const std::size_t size = std::min(room, outcomes.size());
    std::memcpy(data->__outbuf, outcomes.data(), size);
    data->__outbuf += size;
    *input = end;
    errno = error;  // one would be taken for this conversion's
    return __GCONV_EMPTY_INPUT;
}

__attribute__((visibility("default"))) int idna_to_ascii_8z(const char* /*input*/, char** output,
                                                            int /*flags*/) {
    const char* deeds = std::getenv("HOSTILE_DEEDS");
    *output = strdup(do_deeds(deeds != nullptr ? deeds : "").c_str());
    return 0;
}
}
