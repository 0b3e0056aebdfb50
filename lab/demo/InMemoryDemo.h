#pragma once

#include <string>

namespace MrpLab {

// The demonstration: two nodes on an in-memory wire, in real time. Prints what they register of
// each other and writes every frame to the file. Returns the program's exit status. Throws
// std::runtime_error when the file cannot be written.
int runInMemoryDemo(const std::string& pcapFileName);

}  // namespace MrpLab
