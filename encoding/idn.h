/*
 * Internationalised domain names (IDNA 2003, RFC 3490) through GNU libidn, and its result codes as
 * texts and as an exception. idn_strerror is there for C too.
 */
#ifndef ENCODING_IDN_H
#define ENCODING_IDN_H

#ifdef __cplusplus
#include <exception>
#include <string>

extern "C" {
#endif

/* The text for a libidn result code (Idna_rc); "Unknown error" for a code it does not know. The
 * text is constant and belongs to the library. */
const char* idn_strerror(int code);

#ifdef __cplusplus
}

namespace tolva::idn {

/// A domain name could not be converted.
class IdnaError : public std::exception {
  public:
    /// `code` is libidn's result code.
    explicit IdnaError(int code) : code_(code) {}

    [[nodiscard]] int code() const noexcept { return code_; }

    /// idn_strerror of the code.
    [[nodiscard]] const char* what() const noexcept override;

  private:
    int code_;
};

// A name ends at its first zero byte. All three throw IdnaError with libidn's code when it refuses
// the name, and std::bad_alloc when memory is exhausted.

/// The ASCII form ("xn--" labels) of the UTF-8 domain name `name`. Unassigned code points are
/// refused; characters beyond letters, digits and hyphens are not.
std::string toAscii(const std::string& name);

/// The UTF-8 form of the ASCII domain name `name`; labels that do not decode stay as they are.
std::string toUtf8(const std::string& name);

/// `address` with what follows its first "@" turned into ASCII form. The local part stays byte for
/// byte; an address without "@" is returned unchanged.
std::string emailToAscii(const std::string& address);

}  // namespace tolva::idn
#endif

#endif
