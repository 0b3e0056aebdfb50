#include "platform/base/Environment.h"

#include <cstdlib>
#include <random>

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

std::uint64_t hashSeed() {
    static const std::uint64_t seed = [] {
        std::random_device device;
        return static_cast<std::uint64_t>(device()) << 32U | device();
    }();
    return seed;
}

}  // namespace Platform
