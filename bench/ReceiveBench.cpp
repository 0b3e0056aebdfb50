#include <benchmark/benchmark.h>

#include "BenchNode.h"

namespace MrpBench {

namespace {

// Reports the time a value takes.
void perValue(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * vlans);
    state.counters["per_value"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * vlans,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// A neighbour refreshes every VLAN that we have registered.
void mvrpRefresh(benchmark::State& state) {
    BenchNode node;
    const std::vector<std::uint8_t> frame = fullMvrpFrame();
    node.receive(frame);
    node.activityManager.runUntil(0.5);
    node.receive(frame);
    if (node.registered() != vlans) {
        state.SkipWithError("not all VLANs are registered");
        return;
    }
    for (auto _ : state) {
        node.receive(frame);
    }
    perValue(state);
}

// The same PDU into an empty database, the add review included.
void mvrpJoin(benchmark::State& state) {
    const std::vector<std::uint8_t> frame = fullMvrpFrame();
    for (auto _ : state) {
        state.PauseTiming();
        auto node = std::make_unique<BenchNode>();
        state.ResumeTiming();
        node->receive(frame);
        node->activityManager.runUntil(0.2);
        state.PauseTiming();
        if (node->registered() != vlans) {
            state.SkipWithError("not all VLANs are registered");
        }
        node.reset();
        state.ResumeTiming();
    }
    perValue(state);
}

}  // namespace

BENCHMARK(mvrpRefresh)->Name("Receive/MvrpRefresh/4094")->Unit(benchmark::kMicrosecond);
BENCHMARK(mvrpJoin)->Name("Receive/MvrpJoin/4094")->Unit(benchmark::kMicrosecond);

}  // namespace MrpBench
