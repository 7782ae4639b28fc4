// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <iconv.h>

#include <string>

namespace tolva {

/// Owner of a conversion descriptor of iconv(3), which it closes.
class IconvDescriptor {
  public:
    /// Opens a conversion. Names of more than 1024 bytes are taken as unknown.
    IconvDescriptor(const std::string& from, const std::string& to);
    ~IconvDescriptor() { close(); }
    IconvDescriptor(const IconvDescriptor&) = delete;
    IconvDescriptor& operator=(const IconvDescriptor&) = delete;

    /// False when a charset is unknown and after close().
    [[nodiscard]] bool is_open() const;
    [[nodiscard]] iconv_t get() const { return descriptor_; }

    /// Closes the conversion if it is open. Returns false when iconv_close(3) fails; the conversion
    /// is not open afterwards either way.
    bool close();

  private:
    iconv_t descriptor_;
};

}  // namespace tolva
