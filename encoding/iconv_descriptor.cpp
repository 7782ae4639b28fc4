// SPDX-License-Identifier: Apache-2.0

#include "encoding/iconv_descriptor.h"

#include <cstddef>
#include <utility>

namespace tolva {

namespace {

// A stranger's charset may be named by a megabyte of "/a", and the time of iconv_open(3) grows with
// the square of that. The names that the C library knows have some twenty bytes at most.
constexpr std::size_t kLongestName = 1024;

// What iconv_open(3) returns for failure.
iconv_t not_open() {
    return reinterpret_cast<iconv_t>(-1);  // NOLINT(performance-no-int-to-ptr)
}

iconv_t open_descriptor(const std::string& from, const std::string& to) {
    if (from.size() > kLongestName || to.size() > kLongestName) {
        return not_open();
    }
    return iconv_open(to.c_str(), from.c_str());
}

}  // namespace

IconvDescriptor::IconvDescriptor(const std::string& from, const std::string& to)
    : descriptor_(open_descriptor(from, to)) {}

bool IconvDescriptor::is_open() const {
    return descriptor_ != not_open();
}

bool IconvDescriptor::close() {
    const iconv_t descriptor = std::exchange(descriptor_, not_open());
    return descriptor == not_open() || iconv_close(descriptor) == 0;
}

}  // namespace tolva
