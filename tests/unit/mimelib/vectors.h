// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <vector>

#include "tests/unit/mimelib/reading.h"

// A recorded result: a message and what must be read from it.
struct Vector {
    std::string message;
    Reading expected;
};

// Reads a file of vectors: one JSON object a line, each character of a string being one byte.
// Throws std::runtime_error when that is not what the file holds.
std::vector<Vector> load_vectors(const std::string& file_name);
