// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "mimelib/src/view.h"

namespace mimelib {

// A boundary line together with the line end before it.
struct BoundaryLine {
    std::size_t begin;
    std::size_t end;
    bool is_final;
};

// Finds the boundary lines of one multipart body: "--", the boundary text, any number of
// dashes, then nothing but spaces, tabs and CRs. The boundary text is compared as a C string, up to
// and including its first zero byte. As many bytes as follow that one in the boundary text are
// passed over in the body, whatever they are.
class BoundarySearch {
  public:
    explicit BoundarySearch(std::string_view boundary_text);

    // The first boundary line at or after `from`, where the searched text starts.
    std::optional<BoundaryLine> find(std::string_view body, std::size_t from) const;

  private:
    std::optional<BoundaryLine> at_start(std::string_view body, std::size_t from) const;

    std::string delimiter_;  // LF "--" boundary text, up to its first zero byte
    std::size_t length_;     // of LF "--" and the whole boundary text
};

// A part between two boundary lines of a body.
struct MultipartPart {
    Slice slice;
    // Where the next part starts, if there is one.
    std::optional<std::size_t> next_position;
};

// Where the first part of `body` starts, if it has any.
std::optional<std::size_t> first_part(const BoundarySearch& boundary, std::string_view body);

// The part that starts at `position`.
MultipartPart part_at(const BoundarySearch& boundary, std::string_view body, std::size_t position);

}  // namespace mimelib
