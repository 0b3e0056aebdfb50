#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "BenchNode.h"
#include "agent/propagation/IndicationLib.h"
#include "agent/propagation/InstanceVlanRequests.h"
#include "agent/propagation/VlanPropagation.h"
#include "platform/log/Log.h"

namespace MrpBench {

using namespace Platform;
using namespace MrpAgent;

namespace {

// Keeps nothing: what remains is the propagation's own work.
class NoRequests final : public VlanRequests {
  public:
    void declare(IntfId, std::uint16_t, bool) override {}
    void withdraw(IntfId, std::uint16_t) override {}
    void forget(IntfId, std::uint16_t) override {}
};

std::vector<IntfId> portsOf(const benchmark::State& state) {
    std::vector<IntfId> ports;
    for (int i = 0; i < state.range(0); ++i) {
        ports.emplace_back("bench" + std::to_string(i));
    }
    return ports;
}

void forwardAll(VlanPropagation& propagation, const std::vector<IntfId>& ports) {
    for (const IntfId port : ports) {
        propagation.portIs(port);
        propagation.forwardingIs(port, true, false);
    }
}

// Every VLAN on every port: an indication and a request of each.
void report(benchmark::State& state, const VlanPropagation::Counters& counters) {
    const auto values = static_cast<std::uint64_t>(state.range(0)) * vlans;
    if (counters.indications != values || counters.declared != values || counters.withdrawn != 0) {
        state.SkipWithError("not every VLAN is declared once on every port");
        return;
    }
    const double all = static_cast<double>(state.iterations()) * static_cast<double>(values);
    state.SetItemsProcessed(static_cast<std::int64_t>(all));
    state.counters["requests"] = static_cast<double>(counters.declared);
    state.counters["per_request"] =
        benchmark::Counter(all, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// All VLANs join on all ports at once: noted, and worked off in turns.
void joinAll(benchmark::State& state) {
    const std::vector<IntfId> ports = portsOf(state);
    VlanPropagation::Counters counters;
    for (auto _ : state) {
        state.PauseTiming();
        Virtual::VirtualActivityManager activityManager;
        NoRequests requests;
        auto propagation = std::make_unique<VlanPropagation>(activityManager, requests, true);
        forwardAll(*propagation, ports);
        activityManager.settle();
        state.ResumeTiming();
        for (const IntfId port : ports) {
            for (std::uint16_t vlan = firstVlan; vlan < firstVlan + vlans; ++vlan) {
                propagation->joinIndicated({port, Mrp::vlanType, vlan}, false);
            }
        }
        while (!propagation->settled()) {
            activityManager.runUntil(activityManager.clock().now() + 1);
        }
        state.PauseTiming();
        counters = propagation->counters();
        propagation.reset();
        state.ResumeTiming();
    }
    report(state, counters);
}

// A bridge in memory with its MVRP engine.
struct BenchBridge {
    explicit BenchBridge(const std::vector<IntfId>& ports) {
        logSinkIs(nullptr);
        for (const IntfId port : ports) {
            devs.push_back(makePtr<Virtual::VirtualEthDev>(port.name(), activityManager));
            interfaces.kernelStatus->valueIs(port, devs.back());
        }
        MrpInstance::Parameters parameters;
        parameters.mrpLib = lib;
        instance = std::make_unique<MrpInstance>(activityManager, interfaces, parameters);
        requests = std::make_unique<InstanceVlanRequests>(*instance);
        propagation = std::make_unique<VlanPropagation>(activityManager, *requests, true);
        lib->propagationIs(propagation.get());
        for (const IntfId port : ports) {
            instance->enable(port);
        }
        forwardAll(*propagation, ports);
        activityManager.settle();
    }
    ~BenchBridge() { lib->propagationIs(nullptr); }

    Virtual::VirtualActivityManager activityManager;
    NodeInterfaces interfaces = NodeInterfaces::make();
    std::vector<Ptr<Virtual::VirtualEthDev>> devs;
    Ptr<IndicationLib> lib = makePtr<IndicationLib>();
    std::unique_ptr<MrpInstance> instance;
    std::unique_ptr<InstanceVlanRequests> requests;
    std::unique_ptr<VlanPropagation> propagation;
};

// From a frame with all VLANs on every port to the last request, in the engine. What the engine
// sends in between, every 0.1 s, is part of it.
void joinAllEngine(benchmark::State& state) {
    const std::vector<IntfId> ports = portsOf(state);
    const std::vector<std::uint8_t> frame = fullMvrpFrame();
    VlanPropagation::Counters counters;
    for (auto _ : state) {
        state.PauseTiming();
        auto bridge = std::make_unique<BenchBridge>(ports);
        state.ResumeTiming();
        for (std::size_t i = 0; i < ports.size(); ++i) {
            bridge->devs[i]->inject(frame, false);
            bridge->instance->mrpSm().mrpPamSm()->mrpIntfPamSm(ports[i])->handleMrpdu();
        }
        while (!bridge->propagation->settled()) {
            bridge->activityManager.runUntil(bridge->activityManager.clock().now() + 0.01);
        }
        state.PauseTiming();
        counters = bridge->propagation->counters();
        bridge.reset();
        state.ResumeTiming();
    }
    report(state, counters);
}

}  // namespace

BENCHMARK(joinAll)
    ->Name("Propagation/JoinAll")
    ->RangeMultiplier(4)
    ->Range(4, 64)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(joinAllEngine)
    ->Name("Propagation/JoinAllEngine")
    ->Arg(8)
    ->Arg(64)
    ->Unit(benchmark::kMillisecond);

}  // namespace MrpBench
