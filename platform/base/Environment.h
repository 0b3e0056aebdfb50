#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Platform {

// The value of an environment variable, read afresh at each call; nothing when it is not set.
std::optional<std::string> environmentVariable(const char* name);

// The next number of the C library's generator, 0 to 2^31 - 1. Whoever wants another sequence than
// the library's first seeds it with seedRandom; nothing here does.
std::uint32_t randomNumber();
void seedRandom(std::uint32_t seed);

// A number that nobody outside the process can know, the same at every call: the seed of hash
// tables whose keys a neighbour chooses.
std::uint64_t hashSeed();

}  // namespace Platform
