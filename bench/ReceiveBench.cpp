#include <memory>

#include <benchmark/benchmark.h>

#include "BenchNode.h"
#include "PerValue.h"

namespace MrpBench {

using namespace Mrp;

namespace {

constexpr auto reviewed = 0.3;  // seconds, by which what is pending has been committed

// Whether the node has taken in so many JoinIn since it knew of `before`, and has all registered.
bool refreshed(BenchNode& node, const MrpPortCounters& before, std::uint64_t events,
               AttributeType type, std::size_t attributes) {
    const MrpPortCounters& now = node.counters();
    return now.eventsIn.values[AttributeEvent::joinIn] -
                   before.eventsIn.values[AttributeEvent::joinIn] ==
               events &&
           now.malformed == 0 && node.registered(type) == attributes;
}

// A neighbour refreshes every VLAN that we have registered.
void mvrpRefresh(benchmark::State& state) {
    BenchNode node;
    const Frame frame = fullMvrpFrame();
    node.receive(frame);
    node.run(reviewed);
    node.receive(frame);
    const MrpPortCounters before = node.counters();
    for (auto _ : state) {
        node.receive(frame);
    }
    const auto events = static_cast<std::uint64_t>(state.iterations()) * vlans;
    if (!refreshed(node, before, events, vlanType, vlans)) {
        state.SkipWithError("not all VLANs are registered");
        return;
    }
    perValue(state, vlans);
}

// The same PDU into an empty database, the add review included.
void mvrpJoin(benchmark::State& state) {
    const Frame frame = fullMvrpFrame();
    for (auto _ : state) {
        state.PauseTiming();
        auto node = std::make_unique<BenchNode>();
        state.ResumeTiming();
        node->receive(frame);
        node->run(reviewed);
        state.PauseTiming();
        const bool done = node->registered() == vlans && node->mrpSm().addPendingAttr().empty();
        node.reset();
        state.ResumeTiming();
        if (!done) {
            state.SkipWithError("not all VLANs are registered");
            return;
        }
    }
    perValue(state, vlans);
}

// A neighbour refreshes listeners, a vector for each run of Stream IDs, always in the same order.
void listenerRefresh(benchmark::State& state, std::uint16_t perRun) {
    const auto streams = static_cast<std::size_t>(state.range(0));
    const std::vector<Frame> frames =
        listenerFrames(streamRuns(streams, perRun), AttributeEvent::joinIn);
    BenchNode node({.application = MrpApplication::msrp});
    node.receive(frames);
    node.run(reviewed);
    node.receive(frames);
    const MrpPortCounters before = node.counters();
    for (auto _ : state) {
        node.receive(frames);
    }
    const auto events = static_cast<std::uint64_t>(state.iterations()) * streams;
    if (!refreshed(node, before, events, listenerType, streams)) {
        state.SkipWithError("not all listeners are registered");
        return;
    }
    state.counters["frames"] = static_cast<double>(frames.size());
    perValue(state, streams);
}

void listenerRandom(benchmark::State& state) {
    listenerRefresh(state, 1);
}
void listenerRun(benchmark::State& state) {
    constexpr std::uint16_t perRun = 256;
    listenerRefresh(state, perRun);
}

// A received LeaveAll, which is answered for every VLAN, then the neighbour's refresh, which ends
// every leave again.
void leaveAll(benchmark::State& state) {
    BenchNode node;
    const Frame refresh = fullMvrpFrame();
    const Frame leaveAllFrame = emptyLeaveAllFrame(1);
    node.receive(refresh);
    node.run(reviewed);
    node.receive(refresh);
    const std::uint64_t sentBefore = node.sentEvents();
    const MrpPortCounters before = node.counters();
    for (auto _ : state) {
        node.receive(leaveAllFrame);
        node.receive(refresh);
    }
    const auto events = static_cast<std::uint64_t>(state.iterations()) * vlans;
    if (!refreshed(node, before, events, vlanType, vlans) ||
        node.sentEvents() - sentBefore != events) {
        state.SkipWithError("not every VLAN is answered and registered again");
        return;
    }
    perValue(state, vlans);
}

// The most LeaveAlls that an MRPDU can hold, on registered VLANs.
void leaveAllStorm(benchmark::State& state) {
    constexpr std::size_t vectors = 373;
    BenchNode node;
    const Frame refresh = fullMvrpFrame();
    const Frame storm = emptyLeaveAllFrame(vectors);
    node.receive(refresh);
    node.run(reviewed);
    node.receive(refresh);
    bool done = true;
    for (auto _ : state) {
        node.receive(storm);
        state.PauseTiming();
        done = done && node.registered() == 0;
        node.receive(refresh);
        done = done && node.registered() == vlans;
        state.ResumeTiming();
    }
    const auto leaveAlls = static_cast<std::uint64_t>(state.iterations()) * vectors;
    if (!done || node.counters().eventsIn.leaveAlls != leaveAlls) {
        state.SkipWithError("the storm does not begin the leave of every VLAN");
        return;
    }
    perValue(state, vlans);
}

}  // namespace

BENCHMARK(mvrpRefresh)->Name("Receive/MvrpRefresh/4094")->Unit(benchmark::kMicrosecond);
BENCHMARK(mvrpJoin)->Name("Receive/MvrpJoin/4094")->Unit(benchmark::kMicrosecond);
BENCHMARK(listenerRandom)
    ->Name("Receive/MsrpListenerRandom")
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(listenerRun)
    ->Name("Receive/MsrpListenerRun")
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(leaveAll)->Name("Receive/LeaveAll/4094")->Unit(benchmark::kMicrosecond);
BENCHMARK(leaveAllStorm)->Name("Receive/LeaveAllStorm")->Unit(benchmark::kMicrosecond);

}  // namespace MrpBench
