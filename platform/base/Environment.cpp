#include "platform/base/Environment.h"

#include <cstdlib>

namespace Platform {

std::optional<std::string> environmentVariable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

std::uint32_t randomNumber() {
    return static_cast<std::uint32_t>(std::rand());
}

void seedRandom(std::uint32_t seed) {
    std::srand(seed);
}

}  // namespace Platform
