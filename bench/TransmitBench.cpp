#include <algorithm>
#include <optional>

#include <benchmark/benchmark.h>

#include "BenchNode.h"
#include "PerValue.h"

namespace MrpBench {

using namespace Mrp;
using namespace Platform;

namespace {

constexpr Seconds reviewed = 0.3;

// Runs to just before the tick at which the LeaveAll is due, and tells when that will have passed.
Seconds leaveAllDue(BenchNode& node) {
    constexpr Seconds tick = 0.1;
    const auto machine = node.mrpSm().leaveAllSm()->intfLeaveAllSm(node.intfId);
    const Seconds due = machine->expiry();
    node.activityManager.runUntil(due - tick);
    return due + tick;
}

// Every VLAN registered anew, after a LeaveAll and before the leave time is over.
bool registeredAgain(BenchNode& node, const Frame& refresh) {
    node.receive(refresh);
    return node.registered() == vlans;
}

// Whether the LeaveAll is one frame, as it should be to the octet.
bool frameAsExpected(BenchNode& node, const Frame& refresh) {
    std::optional<Frame> sent;
    const Reactor reactor = node.dev().sent().react([&sent](const Ptr<Pkt>& pkt) {
        sent = sent ? Frame() : Frame(pkt->span().begin(), pkt->span().end());
    });
    node.activityManager.runUntil(leaveAllDue(node));
    Frame expected = fullMvrpLeaveAllFrame(0);
    const EthAddr::Octets source = node.mrpSm().txSourceAddr(node.intfId).octets();
    std::copy(source.begin(), source.end(),
              expected.begin() + static_cast<std::ptrdiff_t>(source.size()));
    return sent == expected && registeredAgain(node, refresh);
}

// The LeaveAll timer expires over VLANs that are declared and registered: every applicant and every
// registrar takes the event, the leave timer is set, and the MRPDU is encoded and sent, with what
// the tick of the timer wheel costs.
void transmitLeaveAll(benchmark::State& state) {
    BenchNode node({.leaveAllTime = 10});
    const Frame refresh = fullMvrpFrame();
    node.declareVlans();
    node.receive(refresh);
    node.run(reviewed);
    if (!registeredAgain(node, refresh) || !frameAsExpected(node, refresh)) {
        state.SkipWithError("the LeaveAll is not the frame that it should be");
        return;
    }
    const MrpPortCounters before = node.counters();
    bool done = true;
    for (auto _ : state) {
        state.PauseTiming();
        const Seconds end = leaveAllDue(node);
        state.ResumeTiming();
        node.activityManager.runUntil(end);
        state.PauseTiming();
        done = done && node.registered() == 0 && registeredAgain(node, refresh);
        state.ResumeTiming();
    }
    const auto iterations = static_cast<std::uint64_t>(state.iterations());
    const MrpPortCounters& now = node.counters();
    if (!done || now.pdusOut - before.pdusOut != iterations ||
        now.eventsOut.leaveAlls - before.eventsOut.leaveAlls != iterations ||
        now.eventsOut.values[AttributeEvent::joinIn] -
                before.eventsOut.values[AttributeEvent::joinIn] !=
            iterations * vlans) {
        state.SkipWithError("not every LeaveAll was one frame with every VLAN");
        return;
    }
    perValue(state, vlans);
}

}  // namespace

BENCHMARK(transmitLeaveAll)->Name("Transmit/LeaveAll/4094")->Unit(benchmark::kMicrosecond);

}  // namespace MrpBench
