#pragma once

#include <map>
#include <memory>
#include <vector>

#include "agent/instance/MrpInstance.h"
#include "lab/replay/ReplayLib.h"
#include "lab/replay/ReplayLogOutput.h"
#include "lab/replay/ReplayOutput.h"
#include "lab/replay/Step.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"

namespace MrpLab {

// The one engine of a replay, among inputs that the steps write and with all that it does told to
// the output. Each apply() is one callback of the event loop.
class ReplayNode {
  public:
    // The activity manager, whose time the caller runs, and the output outlive the node.
    ReplayNode(Platform::Virtual::VirtualActivityManager& activityManager, const StartStep& start,
               ReplayOutput& output);
    ReplayNode(const ReplayNode&) = delete;
    ReplayNode& operator=(const ReplayNode&) = delete;
    ~ReplayNode();

    void apply(const StartStep&) {}  // the constructor is its effect
    void apply(const EnableStep& enable) { lib_->mrpInterfaceEnable(enable.intfId); }
    void apply(const DisableStep& disable) { lib_->mrpInterfaceDisable(disable.intfId); }
    void apply(const ReceiveStep& receive);
    void apply(const RequestStep& request);
    void apply(const TransmitAllLeaveAllStep& step);
    void apply(const RoleStep& role);
    void apply(const ConfigStep& config);
    void apply(const ActiveStep&);
    void apply(const DiscardStep& discard) { lib_->discardIs(discard); }
    void apply(const CleanUpStep& cleanUp);
    void apply(const ClogStep& clog);
    void apply(const RecycledStep& recycled);
    void apply(const StateStep& state);
    void apply(const DumpStep&);
    void apply(const EndStep&) {}  // only time passes

  private:
    void interfaceIs(const StartStep::Interface& interface);
    void nativeVlanIs(const StartStep::Interface& interface);

    Platform::Virtual::VirtualActivityManager& activityManager_;
    ReplayOutput& output_;
    Platform::Ptr<ReplayLib> lib_;
    Platform::Ptr<Mrp::MrpConfig> config_;
    Platform::Ptr<Platform::Stp::Status> stpStatus_;  // null where there is none
    Platform::Ptr<ReplayLogOutput> logOutput_;        // null where there is none
    MrpAgent::NodeInterfaces interfaces_ = MrpAgent::NodeInterfaces::make();
    std::map<Platform::IntfId, Platform::Ptr<Platform::Virtual::VirtualEthDev>> devices_;
    std::vector<Platform::Reactor> reactors_;
    std::unique_ptr<MrpAgent::MrpInstance> instance_;
};

}  // namespace MrpLab
