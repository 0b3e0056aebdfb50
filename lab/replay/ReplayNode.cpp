#include "lab/replay/ReplayNode.h"

#include <algorithm>
#include <cstdlib>

#include "lab/replay/ReplayDump.h"

namespace MrpLab {

using namespace Platform;
using namespace Mrp;

namespace {

// The attribute log of an engine has the name of its node.
constexpr const char* nodeName = "mrp-lab";

void randomizationIs(bool randomize) {
    constexpr const char* off = "DISABLE_LEAVE_ALL_RANDOMIZATION";
    randomize ? ::unsetenv(off) : ::setenv(off, "1", 1);
}

// In the order of the members in the description, so that reactors run in a known order.
void applyConfig(MrpConfig& config, const ConfigStep& step) {
    config.leaveTimeIs(step.leaveTime.value_or(config.leaveTime()));
    config.leaveAllTimeIs(step.leaveAllTime.value_or(config.leaveAllTime()));
    config.txLeaveAllExpiryTimeIs(
        step.txLeaveAllExpiryTime.value_or(config.txLeaveAllExpiryTime()));
    config.mrpFloodingIs(step.mrpFlooding.value_or(config.mrpFlooding()));
    config.timersEnabledIs(step.timersEnabled.value_or(config.timersEnabled()));
    for (const auto& [intfId, time] : step.intfLeaveTime) {
        time ? config.intfLeaveTimeIs(intfId, *time) : config.intfLeaveTimeDel(intfId);
    }
    for (const auto& [intfId, time] : step.intfLeaveAllTime) {
        time ? config.intfLeaveAllTimeIs(intfId, *time) : config.intfLeaveAllTimeDel(intfId);
    }
}

}  // namespace

ReplayNode::ReplayNode(Virtual::VirtualActivityManager& activityManager, const StartStep& start,
                       ReplayOutput& output)
    : activityManager_(activityManager),
      output_(output),
      lib_(makePtr<ReplayLib>(output)),
      config_(makePtr<MrpConfig>()) {
    randomizationIs(start.randomize);
    applyConfig(*config_, start.config);
    for (const StartStep::Interface& interface : start.interfaces) {
        interfaceIs(interface);
    }
    if (start.stpMode) {
        stpStatus_ = makePtr<Stp::Status>();
        stpStatus_->modeIs(*start.stpMode);
    }
    if (start.log) {
        logOutput_ = makePtr<ReplayLogOutput>(nodeName);
        attrLogOutputAdd(logOutput_);
    }
    MrpAgent::MrpInstance::Parameters parameters;
    parameters.nodeName = nodeName;
    parameters.application = start.application;
    parameters.bridgeMac = start.bridgeMac;
    parameters.standby = start.standby;
    parameters.stpStatus = stpStatus_;
    parameters.mrpLib = lib_;
    parameters.mrpConfig = config_;
    instance_ = std::make_unique<MrpAgent::MrpInstance>(activityManager_, interfaces_, parameters);
    // Looked at when a role is written, not before.
    for (const StartStep::Interface& interface : start.interfaces) {
        nativeVlanIs(interface);
    }
}

ReplayNode::~ReplayNode() {
    instance_.reset();
    if (logOutput_) {
        attrLogOutputDel(logOutput_);
    }
}

void ReplayNode::interfaceIs(const StartStep::Interface& interface) {
    const IntfId intfId = interface.intfId;
    const auto device = makePtr<Virtual::VirtualEthDev>(intfId.name(), activityManager_);
    device->queueLimitIs(SIZE_MAX);  // a scenario says itself what waits
    reactors_.push_back(device->sent().react(
        [this, intfId](const Ptr<Pkt>& pkt) { output_.sent(intfId, pkt->span()); }));
    devices_[intfId] = device;
    interfaces_.kernelStatus->valueIs(intfId, device);
    interfaces_.allIntfStatus->valueIs(intfId, {interface.frameSizeLimit});
    if (interface.mac) {
        interfaces_.ethPhyIntfStatus->valueIs(intfId, {*interface.mac});
    }
}

void ReplayNode::nativeVlanIs(const StartStep::Interface& interface) {
    if (!interface.nativeVlan) {
        return;
    }
    Bridging::Config& brConfig = instance_->brConfig();
    brConfig.nativeVlan().valueIs(interface.intfId, *interface.nativeVlan);
    if (*interface.nativeVlan >= VlanId::min && *interface.nativeVlan <= VlanId::max) {
        const VlanId vlanId(*interface.nativeVlan);
        brConfig.vlanConfig().valueIs(vlanId, makePtr<Bridging::VlanConfig>(vlanId));
    }
}

// Past the filter of the socket, so that the engine's own checks see every frame.
void ReplayNode::apply(const ReceiveStep& receive) {
    devices_.at(receive.intfId)->inject(receive.frame, receive.notify);
}

void ReplayNode::apply(const RequestStep& request) {
    if (instance_->mrpSm().standbyMode()) {
        return;
    }
    if (request.value) {
        const auto slot =
            lib_->txImage().octets(request.parameters.attributeType, lib_->application());
        std::copy_n(request.value->begin(), slot.size(), slot.begin());
    }
    for (const IntfId intfId : request.queue) {
        lib_->mrpOutIntfQueueEnq(intfId);
    }
    lib_->mrpSendAttribute(request.parameters);
}

void ReplayNode::apply(const TransmitAllLeaveAllStep& step) {
    instance_->mrpSm().mrpPamSm()->transmitAllLeaveAll(step.intfId);
}

void ReplayNode::apply(const RoleStep& role) {
    if (stpStatus_) {
        const auto topology =
            stpStatus_->stpiStatus().partIs(role.instance)->mstiStatus().partIs(role.msti);
        topology->portStatus().partIs(role.port)->roleIs(role.role);
    }
}

void ReplayNode::apply(const ConfigStep& config) {
    applyConfig(*config_, config);
}

void ReplayNode::apply(const ActiveStep&) {
    instance_->mrpSm().standbyModeIs(false);
    instance_->mrpSm().handleStandbyMode();
}

void ReplayNode::apply(const CleanUpStep& cleanUp) {
    const MrpAttribute& attribute = cleanUp.attribute;
    lib_->mrpCleanUpIntfDatabaseAttribute(attribute.intfId, attribute.attributeType, attribute.key);
}

void ReplayNode::apply(const ClogStep& clog) {
    if (logOutput_) {
        logOutput_->cloggedIs(clog.clogged);
    }
}

void ReplayNode::apply(const RecycledStep& recycled) {
    instance_->mrpSm().recycledPktIs(recycled.recycled);
}

void ReplayNode::apply(const StateStep& state) {
    const MrpAttribute& attribute = state.attribute;
    MrpAttrDatabase* record = instance_->mrpSm().mrpGetAttrFromDatabase(
        attribute.intfId, attribute.attributeType, attribute.key, true);
    if (record == nullptr) {
        return;
    }
    record->applicantStateIs(state.applicant.value_or(record->applicantState()));
    record->registrarStateIs(state.registrar.value_or(record->registrarState()));
}

void ReplayNode::apply(const DumpStep&) {
    output_.dump(replayDump(*instance_));
}

}  // namespace MrpLab
