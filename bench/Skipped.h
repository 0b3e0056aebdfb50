#pragma once

#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

namespace MrpBench {

inline constexpr std::string_view skippedMark = "skipped: ";

// Ends a benchmark that cannot be run here, and says why. That is no failure.
inline void skip(benchmark::State& state, std::string_view why) {
    state.SkipWithError((std::string(skippedMark) + std::string(why)).c_str());
}

inline bool isSkipped(std::string_view errorMessage) {
    return errorMessage.starts_with(skippedMark);
}

}  // namespace MrpBench
