/* SPDX-License-Identifier: Apache-2.0 */

/*
 * Internationalised domain names (IDNA 2003, RFC 3490) through GNU libidn, and its result codes as
 * texts and as an exception. idn_strerror is also available in C.
 */
#ifndef ENCODING_IDN_H
#define ENCODING_IDN_H

#ifdef __cplusplus
#include <exception>
#include <string>
#include <string_view>

extern "C" {
#endif

/* Returns the text for a libidn result code (Idna_rc), "Unknown error" for any other. The text is
 * constant and must not be freed. Never throws. */
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

// A name ends at its first zero byte. All three functions throw IdnaError with libidn's code when
// it refuses the name, and std::bad_alloc when memory is exhausted.

/// Returns the ASCII form ("xn--" labels) of the UTF-8 domain name `name`. Unassigned code points
/// are refused; ASCII characters other than letters, digits and hyphens are not.
std::string toAscii(const std::string& name);

/// Throws IdnaError unless the parts between the dots of the ASCII name `name` have lengths that
/// domain names can have (RFC 3490, 4.1); the last may be empty, as the root of all domains is. Its
/// ASCII form is then the name itself.
void check_lengths(std::string_view name);

/// Returns the UTF-8 form of the ASCII domain name `name`; labels that do not decode stay as they
/// are.
std::string toUtf8(const std::string& name);

/// Returns `address` with everything after its first "@" converted by toAscii. The local part is
/// kept byte for byte; an address without "@" is returned unchanged.
std::string emailToAscii(const std::string& address);

}  // namespace tolva::idn
#endif

#endif
