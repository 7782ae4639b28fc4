#pragma once

#include <string>

/// A MIME boundary of 39 characters: eight hyphens, "=_" and 29 letters from rand(3), whose
/// generator is never seeded: every run goes through the same sequence, and each call within a run
/// takes the next 29 numbers of it.
std::string makeBoundaryStr();
