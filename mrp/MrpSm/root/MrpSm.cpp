#include "mrp/MrpSm/root/MrpSm.h"

#include <utility>

#include "mrp/MrpSm/root/MrpSocketFilter.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/Assert.h"
#include "platform/base/Text.h"
#include "platform/packet/PktManager.h"
#include "platform/time/ActivityManager.h"

// The root room: construction, the start-up in its fixed order, standby, and tear-down.

namespace Mrp {

namespace {

constexpr std::size_t maxPktBytes = 10000;
constexpr std::uint16_t everyEthProtocol = 3;

constexpr unsigned wheelTickMsecs = 100;
constexpr std::size_t wheelInitialMaxTicks = 60000;
constexpr std::size_t wheelBucketSize = 1024;

// The filter that every engine of the process installs: the first one's.
const SocketFilter& processSocketFilter(const MrpLib& mrpLib) {
    static const SocketFilter filter = mrpSocketFilter(mrpLib.destinationAddr(), mrpLib.ethType());
    return filter;
}

}  // namespace

bool MrpSm::futureProtocolVersion_ = false;

Ptr<MrpSm> mrpSmFactory(Ptr<const Bridging::Config> brConfig, MrpLib* mrpLib,
                        Ptr<MrpConfig> mrpConfig, Ptr<MrpStatus> mrpStatus,
                        Ptr<const Stp::Status> stpStatus,
                        Ptr<const Bridging::Topology::Config> brTopoConfig,
                        Ptr<Interface::AllEthPhyIntfStatusDir> ethPhyIntfStatusDir,
                        Ptr<EntityManager> entityManager, bool standbyMode) {
    return MrpSm::MrpSmIs(std::move(brConfig), mrpLib, std::move(mrpConfig), std::move(mrpStatus),
                          std::move(stpStatus), std::move(brTopoConfig),
                          std::move(ethPhyIntfStatusDir), std::move(entityManager), standbyMode);
}

Ptr<MrpSm> MrpSm::MrpSmIs(Ptr<const Bridging::Config> brConfig, MrpLib* mrpLib,
                          Ptr<MrpConfig> mrpConfig, Ptr<MrpStatus> mrpStatus,
                          Ptr<const Stp::Status> stpStatus,
                          Ptr<const Bridging::Topology::Config> brTopoConfig,
                          Ptr<Interface::AllEthPhyIntfStatusDir> ethPhyIntfStatusDir,
                          Ptr<EntityManager> entityManager, bool standbyMode) {
    return makePtr<MrpSm>(std::move(brConfig), mrpLib, std::move(mrpConfig), std::move(mrpStatus),
                          std::move(stpStatus), std::move(brTopoConfig),
                          std::move(ethPhyIntfStatusDir), std::move(entityManager), standbyMode);
}

MrpSm::MrpSm(Ptr<const Bridging::Config> brConfig, MrpLib* mrpLib, Ptr<MrpConfig> mrpConfig,
             Ptr<MrpStatus> mrpStatus, Ptr<const Stp::Status> stpStatus,
             Ptr<const Bridging::Topology::Config> brTopoConfig,
             Ptr<Interface::AllEthPhyIntfStatusDir> ethPhyIntfStatusDir,
             Ptr<EntityManager> entityManager, bool standbyMode)
    : brConfig_(std::move(brConfig)),
      mrpLib_(mrpLib),
      mrpConfig_(std::move(mrpConfig)),
      mrpStatus_(std::move(mrpStatus)),
      brTopoConfig_(std::move(brTopoConfig)),
      ethPhyIntfStatusDir_(std::move(ethPhyIntfStatusDir)),
      entityManager_(std::move(entityManager)),
      standbyMode_(standbyMode) {
    stpStatusIs(std::move(stpStatus));
    try {
        handleInitialized();
    } catch (...) {
        mrpLib_->mrpSmIs(nullptr);
        throw;
    }
}

// Nothing is called while the engine goes: its reactors are silenced first.
MrpSm::~MrpSm() {
    if (mrpLib_->mrpSm() == this) {
        mrpLib_->mrpSmIs(nullptr);
    }
    stpiStatus_ = nullptr;
    mrpPamSm_->silence();
    deviceIntfStatusDir_ = nullptr;
    intfStatusManagerRoot_ = nullptr;
    desiredIntfDir_ = nullptr;
    pamCollection_ = nullptr;
    pamMan_ = nullptr;
    mrpPamSm_ = nullptr;
    timerWheel_ = nullptr;
    applicantSm_ = nullptr;
    registrarSm_ = nullptr;
    leaveAllSm_ = nullptr;
    parseContext_ = nullptr;
    mrpCounters_ = nullptr;
    mrpParsedAttribute_.delAll();
    mrpAttrLogSm_ = nullptr;
    mrpAttrIterDelAll();
    mrpDatabaseDeleteSm_ = nullptr;
    mrpDatabaseAddSm_ = nullptr;
    deletePendingAttrDelAll();
}

void MrpSm::handleInitialized() {
    MRP_TRACE_HANDLER();
    require(!initialized_, "!initialized()");
    initialized_ = true;
    mrpStatus_->applicationIs(mrpLib_->application());
    mrpLib_->mrpSmIs(this);
    doInitializePamMan();
    handleStandbyMode();
}

void MrpSm::doInitializePamMan() {
    PktManager::instance().maxPktBytesIs(maxPktBytes);
    const EthAddr& addr = mrpLib_->destinationAddr();
    MRP_TRACE(8, "MrpSm::PamManEnable dmacUpper " << hexStr(addr.number() >> 32U) << " dmacLower "
                                                  << hexStr(addr.number() & UINT32_MAX)
                                                  << " ethType " << hexStr(mrpLib_->ethType()));
    const SocketFilter& filter = processSocketFilter(*mrpLib_);

    allIntfStatusDir_ = entityManager_->entity<Interface::AllIntfStatusDir>("interface/status/all");
    allIntfStatusLocalDir_ =
        entityManager_->entity<Interface::AllIntfStatusLocalDir>("interface/status/local");
    const auto kernelStatus =
        entityManager_->entity<KernelNetInfo::Status>(kernelStatusPath(defaultNamespaceName));

    // The names are the same for every application.
    deviceIntfStatusDir_ = makePtr<DeviceIntfStatusDir>("deviceIntfStatusDirMsrp");
    intfStatusManagerRoot_ =
        makePtr<IntfStatusManagerRoot>(allIntfStatusDir_, allIntfStatusLocalDir_, false);
    intfStatusManagerRoot_->intfStatusManagerIs(kernelStatus, deviceIntfStatusDir_);
    desiredIntfDir_ = makePtr<PamDesiredIntfDir>("desiredIntfDirMsrp");
    pamCollection_ = makePtr<EthDevPamCollection>("pamCollectionMsrp");

    pamMan_ = makePtr<EthDevPamMan>(desiredIntfDir_, pamCollection_, deviceIntfStatusDir_);
    pamMan_->ethProtocolIs(everyEthProtocol);
    pamMan_->listenAddrIs(addr);
    pamMan_->filterIs(filter);
    pamMan_->maxRxPktDataIs(maxPktBytes);
    pamMan_->socketPerIntfIs(true);
    pamMan_->enabledIs(true);
    mrpPamSm_ = makePtr<MrpPamSm>(pamCollection_, standbyMode_, *this);
}

void MrpSm::handleStandbyMode() {
    MRP_TRACE_HANDLER();
    // Once only: an active engine stays as it is.
    if (!standbyMode_ && !active_) {
        becomeActive();
    }
}

void MrpSm::becomeActive() {
    rebuildAttrIter();
    doInitializeCounters();
    parseContextIs("MrpParseContext");
    timerWheelIs(clock(), wheelTickMsecs, wheelInitialMaxTicks, true, wheelBucketSize);
    mrpAttrLogSmIs(findAttrLogOutput());
    mrpDatabaseDeleteSmIs(mrpAttrLogSm_, clock());
    mrpDatabaseAddSmIs(mrpAttrLogSm_, clock());
    applicantSmIs(mrpConfig_);
    registrarSmIs(mrpConfig_, timerWheel_);
    leaveAllSm_ = makePtr<MrpLeaveAllSm>(*this, mrpConfig_, timerWheel_);
    maxAttrTypes_ = mrpMaxAttrTypes(mrpLib_->application());
    active_ = true;
    // Last: the interfaces begin their LeaveAll here.
    if (mrpPamSm_->standbyMode() != standbyMode_) {
        mrpPamSm_->standbyModeIs(standbyMode_);
        mrpPamSm_->handleStandbyMode();
    }
    for (const auto& [intfId, intfPamSm] : mrpPamSm_->mrpIntfPamSm()) {
        if (!leaveAllSm_->intfLeaveAllSm(intfId)) {
            leaveAllSm_->mrpEnableLeaveAllPending(intfId);
        }
    }
}

// The database may hold what the active supervisor left.
void MrpSm::rebuildAttrIter() {
    if (mrpMaxAttrTypes(mrpLib_->application()) == 0) {
        return;
    }
    const auto database = mrpStatus_->applicationDatabaseIs(mrpLib_->application());
    for (const auto& [intfId, intf] : database->attrDatabase()) {
        for (const auto& [type, records] : intf->intfTypeApplicant()) {
            const Ptr<MrpAttrIter> iter = mrpAttrIterIs({intfId, type});
            const KeySet& keys = records->mrpAttribute().keys();
            if (iter->attributeKey().empty()) {
                iter->attributeKeysAre(keys);
                continue;
            }
            for (const AttributeKey key : keys) {
                iter->attributeKeyIs(key);
            }
        }
    }
}

void MrpSm::doInitializeCounters() {
    mrpCounters_ = makePtr<MrpCounters>("MrpCounters");
    countersDel();
}

void MrpSm::countersDel() {
    for (auto& [intfId, counters] : portCounters_) {
        counters = {};
    }
    if (!mrpCounters_) {
        return;
    }
    mrpCounters_->numOfIncorrectPduVersionIs(0);
    mrpCounters_->numOfUnknownAttributeTypeIs(0);
    mrpCounters_->numOfMalformedPktsIs(0);
    mrpCounters_->numOfUnknownApplicationIs(0);
    mrpCounters_->numOfIncorrectDmacIs(0);
    mrpCounters_->numOfIncorrectEtypeIs(0);
    mrpCounters_->numOfPktsProcessedIs(0);
    mrpCounters_->numOfPktsTransmittedIs(0);
    mrpCounters_->numOfJoinIndicationsIs(0);
    mrpCounters_->numOfLeaveIndicationsIs(0);
}

void MrpSm::parseContextIs(const char* name) {
    if (!parseContext_ || parseContext_->name() != name) {
        parseContext_ = makePtr<MrpParseContext>(name);
    }
    parseContext_->eventsCounterIs(0);
}

void MrpSm::timerWheelIs(Clock& clock, unsigned tickMsecs, std::size_t initialMaxTicks,
                         bool preserveOrder, std::size_t defaultBucketSize) {
    timerWheel_ =
        makePtr<TimerWheel>(clock, tickMsecs, initialMaxTicks, preserveOrder, defaultBucketSize);
}

void MrpSm::mrpAttrLogSmIs(Ptr<AttrLogSocketOutput> output) {
    mrpAttrLogSm_ = makePtr<MrpAttrLogSm>(std::move(output));
}

void MrpSm::mrpDatabaseDeleteSmIs(const Ptr<MrpAttrLogSm>& mrpAttrLogSm, Clock& clock) {
    mrpDatabaseDeleteSm_ = makePtr<MrpDatabaseDeleteSm>(*this, mrpAttrLogSm, clock);
}

void MrpSm::mrpDatabaseAddSmIs(const Ptr<MrpAttrLogSm>& mrpAttrLogSm, Clock& clock) {
    mrpDatabaseAddSm_ = makePtr<MrpDatabaseAddSm>(*this, mrpAttrLogSm, clock);
}

Ptr<AttrLogSocketOutput> MrpSm::findAttrLogOutput() const {
    for (const Ptr<AttrLogOutput>& output : attrLogOutputs()) {
        if (output->name() == entityManager_->name()) {
            if (auto socketOutput = ptrCast<AttrLogSocketOutput>(output)) {
                return socketOutput;
            }
        }
    }
    return nullptr;
}

Ptr<MrpApplicantSm> MrpSm::applicantSmIs(Ptr<MrpConfig> mrpConfig) {
    if (!applicantSm_ || applicantSm_->mrpConfig() != mrpConfig) {
        applicantSm_ = makePtr<MrpApplicantSm>(*this, std::move(mrpConfig));
    }
    return applicantSm_;
}

Ptr<MrpRegistrarSm> MrpSm::registrarSmIs(Ptr<MrpConfig> mrpConfig, Ptr<TimerWheel> timerWheel) {
    if (!registrarSm_ || registrarSm_->mrpConfig() != mrpConfig ||
        registrarSm_->timerWheel() != timerWheel) {
        registrarSm_ = makePtr<MrpRegistrarSm>(*this, std::move(mrpConfig), std::move(timerWheel));
    }
    return registrarSm_;
}

Clock& MrpSm::clock() const {
    return entityManager_->activityManager().clock();
}

}  // namespace Mrp
