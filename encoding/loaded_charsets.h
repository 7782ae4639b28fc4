#pragma once

#include <map>
#include <string>

#include "encoding/iconv_descriptor.h"

namespace tolva {

/// Keeps charsets loaded. For most charsets the C library reads a file to open a conversion and
/// forgets it soon after the conversion is closed: text that changes its charset with every word
/// would take a hundred times as long as other text.
///
/// What is kept is a conversion that nobody uses. One conversion used for many texts would not do:
/// iconv(3) does not return to the initial state of some charsets (UTF-16 goes on with the byte
/// order of the last text).
class LoadedCharsets {
  public:
    /// Keeps `charset` loaded, if there is such a charset, while the object lives. Strangers choose
    /// the charsets, so all are let go when another one would make more than 256; the C library has
    /// fewer files, and all of them take less than 4 MB. Throws std::bad_alloc only.
    void keep(const std::string& charset);

  private:
    std::map<std::string, IconvDescriptor> charsets_;
};

}  // namespace tolva
