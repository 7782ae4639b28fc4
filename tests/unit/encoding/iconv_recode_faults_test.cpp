// The failures of iconv(3) that no text brings about: its functions are shadowed by ones that fail
// when told to, and count.
#include <dlfcn.h>
#include <iconv.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "encoding/iconv_recode.h"

namespace {

struct Faults {
    bool close_fails = false;
    bool stalls = false;
    int stall_errno = 0;
    std::size_t stall_output = 0;
    int opened = 0;
    int closed = 0;
};

Faults faults;

template <typename Function>
Function* next(const char* name) {
    void* const function = dlsym(RTLD_NEXT, name);
    if (function == nullptr) {
        std::abort();
    }
    return reinterpret_cast<Function*>(function);
}

std::string failure(const std::string& from, const std::string& to) {
    try {
        tolva::iconvRecode("abc", from, to, true);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

class IconvFaults : public testing::Test {
  protected:
    void SetUp() override { faults = Faults(); }
};

}  // namespace

extern "C" iconv_t iconv_open(const char* to, const char* from) {
    const iconv_t descriptor = next<iconv_t(const char*, const char*)>("iconv_open")(to, from);
    if (reinterpret_cast<std::intptr_t>(descriptor) != -1) {
        ++faults.opened;
    }
    return descriptor;
}

extern "C" std::size_t iconv(iconv_t descriptor, char** input, std::size_t* left, char** output,
                             std::size_t* room) {
    if (faults.stalls) {
        *output += faults.stall_output;
        *room -= faults.stall_output;
        errno = faults.stall_errno;
        return errno == 0 ? 0 : static_cast<std::size_t>(-1);
    }
    return next<std::size_t(iconv_t, char**, std::size_t*, char**, std::size_t*)>("iconv")(
        descriptor, input, left, output, room);
}

extern "C" int iconv_close(iconv_t descriptor) {
    ++faults.closed;
    const int result = next<int(iconv_t)>("iconv_close")(descriptor);
    return faults.close_fails ? -1 : result;
}

TEST_F(IconvFaults, SuccessGivesTheDescriptorBackOnce) {
    EXPECT_EQ(failure("US-ASCII", "UTF-8"), "");
    EXPECT_EQ(faults.opened, 1);
    EXPECT_EQ(faults.closed, 1);
}

TEST_F(IconvFaults, FailedConversionGivesTheDescriptorBackOnce) {
    EXPECT_EQ(failure("UTF-16LE", "UTF-8"), "Conversion from UTF-16LE to UTF-8");
    EXPECT_EQ(faults.opened, 1);
    EXPECT_EQ(faults.closed, 1);
}

TEST_F(IconvFaults, UnknownCharsetClosesNothing) {
    EXPECT_EQ(failure("no-such-charset", "UTF-8"), "Cannot convert from no-such-charset to UTF-8");
    EXPECT_EQ(faults.opened, 0);
    EXPECT_EQ(faults.closed, 0);
}

TEST_F(IconvFaults, FailedCloseNamesUtf8WhateverTheTarget) {
    faults.close_fails = true;
    EXPECT_EQ(failure("US-ASCII", "ISO-8859-1"),
              "Closing conversion from US-ASCII to utf-8 failed");
    EXPECT_EQ(faults.closed, 1);
}

TEST_F(IconvFaults, OtherErrorsFail) {
    faults.stalls = true;
    faults.stall_errno = EBADF;
    EXPECT_EQ(failure("US-ASCII", "UTF-8"), "Conversion from US-ASCII to UTF-8");
}

TEST_F(IconvFaults, CallThatReadsNothingEndsTheConversion) {
    faults.stalls = true;
    for (const int error : {0, E2BIG}) {
        faults.stall_errno = error;
        faults.stall_output = 0;
        EXPECT_EQ(failure("US-ASCII", "UTF-8"), "Conversion from US-ASCII to UTF-8");
        faults.stall_output = 4096;
        EXPECT_EQ(failure("US-ASCII", "UTF-8"), "Conversion from US-ASCII to UTF-8");
    }
    EXPECT_EQ(faults.closed, faults.opened);
}
