#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Frames.h"
#include "agent/instance/MrpInstance.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"

namespace MrpBench {

// An engine with one interface in virtual time; nothing is logged. It begins no LeaveAll of its own
// unless it is told when.
class BenchNode {
  public:
    struct Options {
        Mrp::MrpApplication application = Mrp::MrpApplication::mvrp;
        bool standby = false;
        Platform::Seconds leaveAllTime = 1e6;
    };

    BenchNode() : BenchNode(Options{}) {}
    explicit BenchNode(const Options& options);
    ~BenchNode();

    // Puts the frame into the socket and has it processed.
    void receive(const Frame& frame);
    void receive(const std::vector<Frame>& frames);
    // Lets that much time pass.
    void run(Platform::Seconds span);
    // Declares every VLAN.
    void declareVlans();

    // How many attributes of the type are IN, of those that are to be seen.
    std::size_t registered(Mrp::AttributeType type = Mrp::vlanType) const;
    Mrp::MrpSm& mrpSm() const { return instance_->mrpSm(); }
    MrpAgent::MrpInstance& instance() { return *instance_; }
    Mrp::MrpPortCounters& counters() { return mrpSm().portCountersIs(intfId); }
    Platform::Virtual::VirtualEthDev& dev() { return *dev_; }
    // Events that have been sent, whatever they say.
    std::uint64_t sentEvents();

    Platform::Virtual::VirtualActivityManager activityManager;
    Platform::IntfId intfId{"bench1"};

  private:
    Platform::Ptr<Platform::Virtual::VirtualEthDev> dev_;
    std::unique_ptr<MrpAgent::MrpInstance> instance_;
};

}  // namespace MrpBench
