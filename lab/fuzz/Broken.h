#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace MrpFuzz {

// Ends the process in the way that libFuzzer takes for a finding.
[[noreturn]] inline void broken(const std::string& what) {
    std::fprintf(stderr, "broken: %s\n", what.c_str());
    std::abort();
}

}  // namespace MrpFuzz
