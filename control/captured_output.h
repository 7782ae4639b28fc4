// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

#include "support/descriptor.h"

namespace autoresponder::control {

/// While it lives, what is written to standard output and standard error goes to memory. The
/// autoresponder's code says there what it would say to the mail system.
class CapturedOutput {
  public:
    CapturedOutput();
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    /// What was written to standard error so far.
    [[nodiscard]] std::string errors() const;

  private:
    tolva::Descriptor output_;
    tolva::Descriptor errors_;
    tolva::Descriptor standard_output_;
    tolva::Descriptor standard_error_;
};

}  // namespace autoresponder::control
