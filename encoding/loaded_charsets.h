// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <map>
#include <string>

#include "encoding/iconv_descriptor.h"

namespace tolva {

/// Keeps charsets loaded. To open a conversion from most charsets the C library loads a file, which
/// it unloads soon after the conversion is closed: text that changes its charset with every word
/// would take a hundred times as long as other text.
///
/// The conversions kept open for that are never used. Using one conversion for several texts would
/// not do: for some charsets iconv(3) does not return to the initial state (UTF-16 keeps the byte
/// order of the last text).
class LoadedCharsets {
  public:
    /// Keeps `charset` loaded, if there is such a charset, as long as the object lives. Throws
    /// std::bad_alloc only.
    ///
    /// Strangers choose the names, and every charset has as many as they like ("utf-8//a"), so
    /// there is a bound: rather than a 4097th name is added, all are dropped. Before that some 250
    /// files have been loaded at most; with the conversions they take up to 6 MB.
    void keep(const std::string& charset);

  private:
    std::map<std::string, IconvDescriptor> charsets_;
};

}  // namespace tolva
