#include "agent/instance/MrpInstance.h"

#include <algorithm>
#include <map>

#include "mrp/MrpSm/root/MrpSocketFilter.h"
#include "platform/state/EntityManager.h"
#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

NodeInterfaces NodeInterfaces::make() {
    return {makePtr<KernelNetInfo::Status>(), makePtr<Interface::AllIntfStatusDir>(),
            makePtr<Interface::AllEthPhyIntfStatusDir>()};
}

EthAddr groupAddr(MrpApplication application) {
    constexpr std::uint64_t msrpAddr = 0x0180c200000eULL;
    constexpr std::uint64_t mvrpAddr = 0x0180c2000021ULL;
    return EthAddr(application == MrpApplication::mvrp ? mvrpAddr : msrpAddr);
}

std::uint16_t etherType(MrpApplication application) {
    constexpr std::uint16_t msrpEtherType = 0x22ea;
    constexpr std::uint16_t mvrpEtherType = 0x88f5;
    return application == MrpApplication::mvrp ? mvrpEtherType : msrpEtherType;
}

MrpInstance::MrpInstance(ActivityManager& activityManager, const NodeInterfaces& interfaces,
                         const Parameters& parameters)
    : entityManager_(makePtr<EntityManager>(parameters.nodeName, activityManager)),
      brConfig_(makePtr<Bridging::Config>()),
      mrpConfig_(parameters.mrpConfig ? parameters.mrpConfig : makePtr<MrpConfig>()),
      mrpStatus_(makePtr<MrpStatus>()),
      mrpLib_(parameters.mrpLib ? parameters.mrpLib : mrpLibFactory()) {
    entityManager_->entityIs("interface/status/all", interfaces.allIntfStatus);
    entityManager_->entityIs(kernelStatusPath(defaultNamespaceName), interfaces.kernelStatus);
    brConfig_->bridgeMacAddrIs(parameters.bridgeMac);
    mrpLib_->applicationIs(parameters.application);
    mrpLib_->destinationAddrIs(groupAddr(parameters.application));
    mrpLib_->ethTypeIs(etherType(parameters.application));
    mrpSm_ = mrpSmFactory(brConfig_, mrpLib_.get(), mrpConfig_, mrpStatus_, parameters.stpStatus,
                          makePtr<Bridging::Topology::Config>(), interfaces.ethPhyIntfStatus,
                          entityManager_, parameters.standby);
    // Engines share the filter of the process's first one; a process that runs two applications
    // gives each its own before any socket is opened.
    mrpSm_->pamMan()->filterIs(mrpSocketFilter(mrpLib_->destinationAddr(), mrpLib_->ethType()));
}

MrpInstance::~MrpInstance() {
    mrpSm_ = nullptr;
}

bool MrpInstance::enable(IntfId intfId) {
    mrpLib_->mrpInterfaceEnable(intfId);
    return mrpSm_->pamCollection()->has(intfId);
}

void MrpInstance::disable(IntfId intfId) {
    mrpLib_->mrpInterfaceDisable(intfId);
}

void MrpInstance::becomeActive() {
    mrpSm_->standbyModeIs(false);
    mrpSm_->handleStandbyMode();
    for (const auto& [intfId, pam] : std::map(mrpSm_->pamCollection()->values())) {
        readWaiting(*pam);
        askNeighbours(intfId);
    }
}

void MrpInstance::askNeighbours(IntfId intfId) {
    if (mrpSm_->active()) {
        mrpSm_->mrpPamSm()->transmitAllLeaveAll(intfId);
    }
}

// First, so that there is room for the answers to the LeaveAll, and these have the last word.
void MrpInstance::readWaiting(EthDevPam& pam) {
    constexpr int most = 10000;
    for (int i = 0; i < most && pam.hasDataOnSocket(); ++i) {
        dispatch([&] { pam.readable().notify(); });
    }
}

bool MrpInstance::declares(const MrpAttribute& attribute) const {
    const MrpAttrDatabase* record = mrpSm_->mrpGetAttrFromDatabase(
        attribute.intfId, attribute.attributeType, attribute.key, true);
    return record != nullptr && mrpDeclares(record->applicantState());
}

bool MrpInstance::request(IntfId intfId, AttributeType attributeType, std::uint8_t event,
                          std::span<const std::uint8_t> value) {
    const std::span<std::uint8_t> slot =
        mrpLib_->txImage().octets(attributeType, mrpLib_->application());
    if (slot.empty() || slot.size() != value.size()) {
        return false;
    }
    std::copy(value.begin(), value.end(), slot.begin());
    mrpLib_->mrpOutIntfQueueEnq(intfId);
    mrpLib_->mrpSendAttribute({intfId, attributeType, event, false});
    return true;
}

}  // namespace MrpAgent
