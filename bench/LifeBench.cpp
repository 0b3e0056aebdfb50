#include <deque>
#include <memory>

#include <benchmark/benchmark.h>

#include "BenchNode.h"
#include "PerValue.h"
#include "platform/base/BigEndian.h"

// What comes upon a whole database at once: leave timers that expire together, and the switch from
// standby to active.

namespace MrpBench {

using namespace Mrp;
using namespace Platform;

namespace {

constexpr Seconds reviewed = 0.3;
constexpr Seconds leaveTime = 0.6;
constexpr Seconds tick = 0.1;
constexpr std::size_t leaves = 10000;

// Each of the listeners was withdrawn by its neighbour and has a leave timer of its own; all expire
// at one tick. The review that then takes the records out of the database is not part of it.
void leaveExpiry(benchmark::State& state) {
    const std::vector<StreamRun> runs = streamRuns(leaves, 1);
    const std::vector<Frame> joins = listenerFrames(runs, AttributeEvent::joinIn);
    const std::vector<Frame> withdrawals = listenerFrames(runs, AttributeEvent::lv);
    for (auto _ : state) {
        state.PauseTiming();
        auto node =
            std::make_unique<BenchNode>(BenchNode::Options{.application = MrpApplication::msrp});
        node->receive(joins);
        node->run(reviewed);
        bool done = node->registered(listenerType) == leaves;
        node->receive(withdrawals);
        node->run(leaveTime - tick);
        done = done && node->mrpSm().mrpCounters()->numOfLeaveIndications() == 0;
        state.ResumeTiming();
        node->run(2 * tick);
        state.PauseTiming();
        done = done && node->mrpSm().mrpCounters()->numOfLeaveIndications() == leaves &&
               node->mrpSm().registrarSm()->explicitLeaveSm().empty();
        node.reset();
        state.ResumeTiming();
        if (!done) {
            state.SkipWithError("not every leave has expired");
            return;
        }
    }
    perValue(state, leaves);
}

// As many timers on a wheel of the engine's size, whose callbacks only count.
void wheelExpire(benchmark::State& state) {
    constexpr unsigned tickMsecs = 100;
    constexpr std::size_t maxTicks = 60000;
    constexpr std::size_t bucket = 1024;
    Clock clock;
    const auto wheel = makePtr<TimerWheel>(clock, tickMsecs, maxTicks, true, bucket);
    std::size_t fired = 0;
    std::deque<TimerWheel::Timer> timers;
    for (std::size_t i = 0; i < leaves; ++i) {
        timers.emplace_back(wheel, [&fired] { ++fired; });
    }
    for (auto _ : state) {
        state.PauseTiming();
        for (TimerWheel::Timer& timer : timers) {
            timer.expiryIs(clock.now() + leaveTime);
        }
        const Seconds end = clock.now() + leaveTime + tick;
        state.ResumeTiming();
        while (clock.fireNext(end)) {
        }
        clock.nowIs(end);
    }
    if (fired != static_cast<std::size_t>(state.iterations()) * leaves) {
        state.SkipWithError("not every timer has fired");
        return;
    }
    perValue(state, leaves);
}

// What a standby node knows: listeners that are declared and registered.
void fill(BenchNode& node, const std::vector<StreamRun>& streams) {
    const auto records = node.instance()
                             .mrpStatus()
                             .applicationDatabaseIs(MrpApplication::msrp)
                             ->attrDatabaseIs(node.intfId)
                             ->intfTypeApplicantIs(listenerType);
    MsrpListenerAttribute value;
    value.listenerEventIs(MsrpListenerEvent::ready);
    for (const StreamRun& stream : streams) {
        value.streamId = stream.first;
        const auto record = records->mrpAttributeIs(stream.first);
        record->attributeValueIs(ValueIndex(0),
                                 {reinterpret_cast<const std::uint8_t*>(&value), sizeof(value)});
        record->applicantStateIs(MrpApplicantState::QA);
        record->registrarStateIs(MrpRegistrarState::IN);
    }
}

// A standby node becomes active: the protocol starts over the records that it has, the neighbour is
// asked by a LeaveAll, and told what is declared here.
void startActive(benchmark::State& state) {
    const auto records = static_cast<std::size_t>(state.range(0));
    const std::vector<StreamRun> streams = streamRuns(records, 1);
    for (auto _ : state) {
        state.PauseTiming();
        auto node = std::make_unique<BenchNode>(
            BenchNode::Options{.application = MrpApplication::msrp, .standby = true});
        fill(*node, streams);
        bool done = !node->mrpSm().active();
        state.ResumeTiming();
        node->instance().becomeActive();
        state.PauseTiming();
        done = done && node->mrpSm().active() && node->registered(listenerType) == records &&
               node->sentEvents() == records;
        state.counters["frames"] = static_cast<double>(node->counters().pdusOut);
        node.reset();
        state.ResumeTiming();
        if (!done) {
            state.SkipWithError("not every record is there and has been told of");
            return;
        }
    }
    perValue(state, records);
}

}  // namespace

BENCHMARK(leaveExpiry)->Name("Timer/LeaveExpiry/10000")->Unit(benchmark::kMicrosecond);
BENCHMARK(wheelExpire)->Name("Floor/WheelExpire")->Unit(benchmark::kMicrosecond);
BENCHMARK(startActive)
    ->Name("Start/Active")
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

}  // namespace MrpBench
