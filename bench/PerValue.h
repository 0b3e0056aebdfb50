#pragma once

#include <cstddef>

#include <benchmark/benchmark.h>

namespace MrpBench {

// Reports the time that one of the values takes, of so many in an iteration.
inline void perValue(benchmark::State& state, std::size_t values) {
    const double all = static_cast<double>(state.iterations()) * static_cast<double>(values);
    state.SetItemsProcessed(static_cast<std::int64_t>(all));
    state.counters["per_value"] =
        benchmark::Counter(all, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

}  // namespace MrpBench
