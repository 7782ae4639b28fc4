// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <stdexcept>
#include <string>

namespace autoresponder {

/// An address has no ASCII form. what() says why.
class AddressError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The address that a message was sent to, as its reply's sender: with its domain, and all before
/// it, in the ASCII form of internationalised domain names (tolva::idn::toAscii). Whoever sent the
/// message chose part of it, so an address that is not ASCII is converted in a confined process.
///
/// Throws AddressError and std::bad_alloc.
std::string reply_address(const std::string& recipient);

}  // namespace autoresponder
