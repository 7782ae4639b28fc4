#pragma once

#include <string>
#include <string_view>

namespace tolva {

/// The lines that decoding one text has for standard error, written together: hostile text has a
/// complaint for every byte, and a write for each would cost more than all the rest.
///
/// Lines reach standard error whole and in order, up to 64 KiB of them with one write(2): when the
/// next one would be too much, and when the object goes. So they stand before whatever is written
/// where the exception that ended the decoding is caught.
class Complaints {
  public:
    Complaints() = default;
    ~Complaints() { write(); }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;

    /// Adds the line `what` + `subject`, any bytes. Throws std::bad_alloc only.
    void add(std::string_view what, std::string_view subject);

  private:
    void write();

    std::string lines_;
};

}  // namespace tolva
