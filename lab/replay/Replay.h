#pragma once

#include <string>

#include "lab/replay/ReplayStatus.h"

namespace MrpLab {

// The name that stands for standard input.
inline constexpr const char* standardInput = "-";

// Runs the scenario of a file through one engine in virtual time and writes to standard output what
// the engine did; docs/mrp-lab.md describes both. What the engine sent also goes into the capture
// file, unless its name is empty. Once a process. Throws std::runtime_error for a file that cannot
// be read or written. Does not return when an assertion fails or standard output takes no more:
// the process ends then.
ReplayStatus replay(const std::string& fileName, const std::string& captureName);

}  // namespace MrpLab
