// What libidn does not do on demand: its functions are shadowed by ones that do.
#include <idna.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include <gtest/gtest.h>

#include "encoding/idn.h"

namespace {

struct Outcome {
    int code = IDNA_SUCCESS;
    bool with_text = false;
};

Outcome outcome;

int answer(char** output) {
    *output = outcome.with_text ? strdup("text") : nullptr;
    return outcome.code;
}

}  // namespace

extern "C" int idna_to_ascii_8z(const char* /*input*/, char** output, int /*flags*/) {
    return answer(output);
}

extern "C" int idna_to_unicode_8z8z(const char* /*input*/, char** output, int /*flags*/) {
    return answer(output);
}

TEST(IdnFaults, SuccessWithoutATextIsExhaustedMemory) {
    outcome = {IDNA_SUCCESS, false};
    EXPECT_THROW(tolva::idn::toAscii("a"), std::bad_alloc);
    EXPECT_THROW(tolva::idn::toUtf8("a"), std::bad_alloc);
    EXPECT_THROW(tolva::idn::emailToAscii("a@b"), std::bad_alloc);
}

TEST(IdnFaults, MallocErrorOfLibidnIsAnIdnaError) {
    outcome = {IDNA_MALLOC_ERROR, false};
    try {
        tolva::idn::toAscii("a");
        FAIL() << "no exception";
    } catch (const tolva::idn::IdnaError& error) {
        EXPECT_STREQ(error.what(), "Cannot allocate buffer");
    }
}

TEST(IdnFaults, TextLeftByAFailureIsReleased) {
    outcome = {IDNA_ICONV_ERROR, true};
    EXPECT_THROW(tolva::idn::toAscii("a"), tolva::idn::IdnaError);
}
