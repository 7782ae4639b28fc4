#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "mimelib/src/view.h"

namespace mimelib {

// A boundary line together with the line end in front of it.
struct BoundaryLine {
    std::size_t begin;
    std::size_t end;
    bool is_final;
};

// Looks for the boundary lines of one multipart body: "--", the boundary text, any number of
// dashes, then nothing but spaces, tabs and CRs.
class BoundarySearch {
  public:
    explicit BoundarySearch(std::string_view boundary_text);

    // The first boundary line at or behind `from`, where the searched text starts.
    std::optional<BoundaryLine> find(std::string_view body, std::size_t from) const;

  private:
    std::optional<BoundaryLine> at_start(std::string_view body, std::size_t from) const;

    std::string delimiter_;  // LF "--" boundary text
};

// The parts between the boundary lines of a body, first to last.
class MultipartReader {
  public:
    explicit MultipartReader(std::string_view boundary_text) : search_(boundary_text) {}

    // The next part of `body`, which must be the same in each call.
    std::optional<Slice> next(std::string_view body);

  private:
    BoundarySearch search_;
    std::size_t position_ = 0;
    bool started_ = false;
    bool ended_ = false;
};

}  // namespace mimelib
