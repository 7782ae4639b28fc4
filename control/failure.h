// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <stdexcept>

namespace autoresponder::control {

/// Something that the person at the terminal has to be told, on one line; the program then ends
/// with status 2.
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The program was called in a way that makes no sense.
class UsageError : public Failure {
  public:
    using Failure::Failure;
};

}  // namespace autoresponder::control
