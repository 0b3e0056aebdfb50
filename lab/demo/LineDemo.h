#pragma once

#include <string>

namespace MrpLab {

// The demonstration in memory: three bridges in a line, a station at either end, in virtual time.
// Prints the tables of each stage and writes every frame of the links between bridges to the file.
// Returns the program's exit status. Throws std::runtime_error when the file cannot be written.
int runLineDemo(const std::string& pcapFileName);

}  // namespace MrpLab
