#include <array>

#include <benchmark/benchmark.h>

#include "BenchNode.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"

namespace MrpBench {

namespace {

// What no engine can be faster than: the events decoded by table, and each stepping a state of a
// few in an array.
void decodeStepArray(benchmark::State& state) {
    constexpr std::size_t states = 4;
    constexpr std::size_t events = 8;
    std::array<std::array<std::uint8_t, events>, states> step{};
    for (std::size_t s = 0; s < states; ++s) {
        for (std::size_t e = 0; e < events; ++e) {
            step[s][e] = static_cast<std::uint8_t>((s + e) % states);
        }
    }
    std::array<std::uint8_t, 4096> array{};
    const std::vector<std::uint8_t> packed = packedJoinIn(vlans);
    for (auto _ : state) {
        std::size_t vlan = firstVlan;
        const std::size_t end = firstVlan + vlans;
        for (const std::uint8_t octet : packed) {
            for (const std::uint8_t event : Mrp::threePackedEvents[octet]) {
                if (vlan == end) {
                    break;
                }
                array[vlan] = step[array[vlan]][event];
                ++vlan;
            }
        }
        benchmark::DoNotOptimize(array.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * vlans);
    state.counters["per_value"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * vlans,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

}  // namespace

BENCHMARK(decodeStepArray)->Name("Floor/DecodeStepArray/4094")->Unit(benchmark::kMicrosecond);

}  // namespace MrpBench
