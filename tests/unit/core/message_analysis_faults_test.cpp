// SPDX-License-Identifier: Apache-2.0

// How the analysis of a message copes with exhausted memory in a conversion.

#include <iconv.h>

#include <cstddef>
#include <new>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <mimelib/mimepp.h>

#include "core/message/message_analysis.h"
#include "core/run/settings.h"

namespace {

using namespace autoresponder;

class NoText : public TextSink {
  public:
    void begin(std::size_t /*expected*/) override {}
    void add(std::string_view /*piece*/) override {}
};

int conversions_until_exhaustion = -1;  // none

}  // namespace

extern "C" {

size_t __real_iconv(iconv_t descriptor, char** in, size_t* in_left, char** out, size_t* out_left);

size_t __wrap_iconv(iconv_t descriptor, char** in, size_t* in_left, char** out, size_t* out_left) {
    if (conversions_until_exhaustion >= 0 && conversions_until_exhaustion-- == 0) {
        throw std::bad_alloc();
    }
    return __real_iconv(descriptor, in, in_left, out, out_left);
}
}

namespace {

TEST(MessageAnalysisFaults, ExhaustedMemoryIsNoFailedConversion) {
    const std::string message = "From: a@b.org\nSubject: =?utf-8?Q?subject?=\n\nbody\n";
    for (const int conversion : {0, 1}) {  // of the body, of the subject
        testing::internal::CaptureStderr();
        conversions_until_exhaustion = conversion;
        std::string header;
        NoText text;
        EXPECT_THROW(analyse_message(DwString(message.data(), message.size()), "",
                                     Audience::kEverybody, header, text),
                     std::bad_alloc)
            << conversion;
        EXPECT_EQ(conversions_until_exhaustion, -1) << conversion;
        conversions_until_exhaustion = -1;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << conversion;
    }
}

}  // namespace
