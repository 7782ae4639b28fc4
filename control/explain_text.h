#pragma once

#include <string>

#include "control/explanation.h"

/// The explanation for people, in lines; the verdict is the last one.
std::string to_text(const Explanation& explanation);
