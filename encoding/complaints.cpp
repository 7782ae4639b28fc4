// SPDX-License-Identifier: Apache-2.0

#include "encoding/complaints.h"

#include <cstddef>
#include <cstdio>

namespace tolva {

namespace {

constexpr std::size_t kMostCollected = 65536;

}  // namespace

void Complaints::add(std::string_view what, std::string_view subject) {
    const std::size_t length = what.size() + subject.size() + 1;
    if (lines_.size() + length > kMostCollected) {
        write();
    }
    lines_.append(what).append(subject) += '\n';
}

void Complaints::write() {
    if (!lines_.empty()) {
        // Not to std::cerr: with <iostream> every run would begin by constructing eight streams.
        std::fwrite(lines_.data(), 1, lines_.size(), stderr);
        lines_.clear();
    }
}

}  // namespace tolva
