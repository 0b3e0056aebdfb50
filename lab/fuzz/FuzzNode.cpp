#include "FuzzNode.h"

#include <algorithm>

#include "Values.h"

namespace MrpFuzz {

using namespace Platform;
using namespace Mrp;

namespace {

constexpr const char* nodeName = "mrp-fuzz";

// One of each application, for all inputs.
FrameJudge& judgeOf(MrpApplication application) {
    static FrameJudge mvrp(MrpApplication::mvrp);
    static FrameJudge msrp(MrpApplication::msrp);
    return application == MrpApplication::mvrp ? mvrp : msrp;
}

}  // namespace

FuzzNode::FuzzNode(const Start& start) : judge_(judgeOf(start.application)) {
    for (const IntfId intfId : intfs_) {
        devIs(intfId);
        interfaces_.ethPhyIntfStatus->valueIs(intfId, {EthAddr(0x020000000000 + intfId.value())});
    }
    if (start.sizeLimit) {
        interfaces_.allIntfStatus->valueIs(intfs_[1], {200});
    }
    if (start.stp) {
        stpStatus_ = makePtr<Stp::Status>();
        stpStatus_->modeIs(0);
    }
    if (start.log) {
        constexpr int someSocket = 0;  // asked for its numbers only, and the answers are made up
        log_ = makePtr<FuzzLogOutput>(nodeName);
        log_->fdIs(someSocket);
        attrLogOutputAdd(log_);
    }
    config_->mrpFloodingIs(start.flooding);
    MrpAgent::MrpInstance::Parameters parameters;
    parameters.nodeName = nodeName;
    parameters.application = start.application;
    parameters.bridgeMac = EthAddr(0x0200000000aa);
    parameters.standby = start.standby;
    parameters.stpStatus = stpStatus_;
    parameters.mrpLib = lib_;
    parameters.mrpConfig = config_;
    instance_ = std::make_unique<MrpAgent::MrpInstance>(manager_, interfaces_, parameters);
    mirror_.emplace(*instance_->mrpStatus().applicationDatabaseIs(start.application));
    if (start.standby) {
        fillDatabase();
    }
    for (const IntfId intfId : intfs_) {
        instance_->enable(intfId);
    }
}

// Nothing that is still under way calls an engine that has gone.
FuzzNode::~FuzzNode() {
    lib_->onIndication = nullptr;
    mirror_.reset();
    instance_.reset();
    manager_.runUntil(now() + 1);
    if (log_) {
        attrLogOutputDel(log_);
    }
}

// What an active engine left to this one.
void FuzzNode::fillDatabase() {
    const auto database = instance_->mrpStatus().applicationDatabaseIs(application());
    for (const auto& [key, applicant, registrar] :
         {std::tuple(std::uint8_t{1}, MrpApplicantState::QO, MrpRegistrarState::IN),
          std::tuple(std::uint8_t{2}, MrpApplicantState::QA, MrpRegistrarState::MT),
          std::tuple(std::uint8_t{4}, MrpApplicantState::AA, MrpRegistrarState::IN)}) {
        constexpr AttributeType type = 1;  // of either application
        const auto records = database->attrDatabaseIs(intfs_[0])->intfTypeApplicantIs(type);
        const auto record = records->mrpAttributeIs(keyOf(application(), type, {key}));
        record->applicantStateIs(applicant);
        record->registrarStateIs(registrar);
        record->attributeValueIs(ValueIndex(0), storedValue(application(), type, {key}));
    }
}

Virtual::VirtualEthDev* FuzzNode::dev(IntfId intfId) const {
    const auto found = devices_.find(intfId);
    return found != devices_.end() ? found->second.dev.get() : nullptr;
}

void FuzzNode::devIs(IntfId intfId) {
    const auto dev = makePtr<Virtual::VirtualEthDev>(intfId.name(), manager_);
    Reactor sent = dev->sent().react([this](const Ptr<Pkt>& pkt) { handleSent(pkt->span()); });
    devices_.insert_or_assign(intfId, Device{dev, std::move(sent)});
    interfaces_.kernelStatus->valueIs(intfId, dev);
}

void FuzzNode::devDel(IntfId intfId) {
    devices_.erase(intfId);
    interfaces_.kernelStatus->valueDel(intfId);
}

// A flooded frame is a neighbour's, and may be anything.
void FuzzNode::handleSent(std::span<const std::uint8_t> frame) {
    if (!config_->mrpFlooding()) {
        judge_.check(frame);
    }
}

void FuzzNode::pass(Seconds time) {
    manager_.runUntil(std::min(now() + time, lifetime));
}

void FuzzNode::rest(Seconds time) {
    constexpr Seconds leaveAllTime = 0.9;
    if (log_) {
        log_->clogged = false;
    }
    for (const auto& [intfId, pam] : std::map(mrpSm().pamCollection()->values())) {
        while (mrpSm().active() && pam->hasDataOnSocket()) {
            pam->readable().notify();
        }
    }
    for (const IntfId intfId : intfs_) {
        config_->intfLeaveTimeDel(intfId);
        config_->intfLeaveAllTimeDel(intfId);
    }
    config_->leaveTimeIs(0.6);
    config_->txLeaveAllExpiryTimeIs(0.6);
    config_->leaveAllTimeIs(leaveAllTime);
    manager_.runUntil(now() + time);
}

void FuzzNode::roleIs(IntfId intfId, const char* msti, int role) {
    if (stpStatus_) {
        const auto topology = stpStatus_->stpiStatus().partIs("Stp")->mstiStatus().partIs(msti);
        topology->portStatus().partIs(intfId.name())->roleIs(role);
    }
}

std::size_t FuzzNode::attributes() {
    const MrpApplicationDatabase* database = mrpSm().applicationDatabase();
    return mrpSm().addPendingAttr().size() + (database != nullptr ? database->recordCount() : 0);
}

}  // namespace MrpFuzz
