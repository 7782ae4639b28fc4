#pragma once

/// The version of both programs, as CMakeLists.txt has it.
extern const char* const kVersion;
