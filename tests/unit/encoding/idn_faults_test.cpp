// SPDX-License-Identifier: Apache-2.0

// How libidn is called, and results that it does not return on demand. Its functions are shadowed.
#include <idna.h>

#include <cstring>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "encoding/idn.h"

namespace {

struct Outcome {
    int code = IDNA_SUCCESS;
    bool with_text = false;
};

Outcome outcome;

struct Call {
    std::string function;
    std::string input;
    int flags = -1;
};

Call last_call;

// The text that was handed out and not yet freed.
char* text = nullptr;

int answer(const char* function, const char* input, char** output, int flags) {
    last_call = {function, input, flags};
    text = outcome.with_text ? strdup("text") : nullptr;
    *output = text;
    return outcome.code;
}

}  // namespace

extern "C" int idna_to_ascii_8z(const char* input, char** output, int flags) {
    return answer("idna_to_ascii_8z", input, output, flags);
}

extern "C" int idna_to_unicode_8z8z(const char* input, char** output, int flags) {
    return answer("idna_to_unicode_8z8z", input, output, flags);
}

extern "C" void __real_free(void* memory);

extern "C" void __wrap_free(void* memory) {
    if (memory == text) {
        text = nullptr;
    }
    __real_free(memory);
}

TEST(IdnFaults, ToAsciiAsksWithoutFlags) {
    outcome = {IDNA_SUCCESS, true};
    EXPECT_EQ(tolva::idn::toAscii("a.example"), "text");
    EXPECT_EQ(last_call.function, "idna_to_ascii_8z");
    EXPECT_EQ(last_call.input, "a.example");
    EXPECT_EQ(last_call.flags, 0);
}

TEST(IdnFaults, ToUtf8AsksWithoutFlags) {
    outcome = {IDNA_SUCCESS, true};
    EXPECT_EQ(tolva::idn::toUtf8("xn--a.example"), "text");
    EXPECT_EQ(last_call.function, "idna_to_unicode_8z8z");
    EXPECT_EQ(last_call.input, "xn--a.example");
    EXPECT_EQ(last_call.flags, 0);
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
    EXPECT_EQ(text, nullptr);
}
