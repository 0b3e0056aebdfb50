#include "mrp/MrpSm/protocol/MrpRegistrarSm.h"

#include <array>
#include <string>
#include <utility>

#include "mrp/MrpSm/root/MrpLogHandles.h"
#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/Assert.h"
#include "platform/base/Text.h"

namespace Mrp {

namespace {

constexpr Seconds txTick = 0.1;
// The value of txLeaveAllExpiryTime that stands for "not set".
constexpr Seconds txLeaveAllExpiryUnset = 0.6;

}  // namespace

MrpRegistrarSm::MrpRegistrarSm(MrpSm& mrpSm, Ptr<MrpConfig> mrpConfig, Ptr<TimerWheel> timerWheel)
    : mrpSm_(mrpSm),
      mrpConfig_(std::move(mrpConfig)),
      timerWheel_(std::move(timerWheel)),
      txTimer_(timerWheel_, [this] { handleTxTimer(); }) {
    configReactor_ = mrpConfig_->timersEnabledChanged().react([this] { handleCfgTimersEnabled(); });
    handleInitialized();
}

void MrpRegistrarSm::handleInitialized() {
    MRP_TRACE_HANDLER();
    require(!initialized_, "!initialized()");
    initialized_ = true;
    handleTxTimer();
}

void MrpRegistrarSm::handleTxTimer() {
    MRP_TRACE_HANDLER();
    txTimer_.expiryIs(mrpSm_.clock().now() + txTick);
    mrpSm_.mrpTransmitTxAttributes();
}

void MrpRegistrarSm::handleCfgTimersEnabled() {
    MRP_TRACE(8, "void Mrp::MrpRegistrarSm::handleCfgTimersEnabled()");
}

MrpRegistrarEvent MrpRegistrarSm::mrpMapRxRegistrarEvent(std::uint8_t attributeEvent) {
    using enum MrpRegistrarEvent;
    static constexpr std::array<MrpRegistrarEvent, 6> map{rxNew,    rxJoinIn, none,
                                                          rxJoinMt, none,     rxLv};
    return attributeEvent < map.size() ? map[attributeEvent] : none;
}

void MrpRegistrarSm::mrpSetRegistrarState(MrpRegistrarState state) {
    if (const Ptr<MrpAttrDatabase> record = mrpSm_.mrpGetAttribute(false)) {
        record->registrarStateIs(state);
    }
}

void MrpRegistrarSm::handleRegistrarEvent() {
    const Ptr<MrpAttrDatabase> record = mrpSm_.mrpGetAttribute(false);
    if (!record) {
        MRP_TRACE(8, " attribute not found, returning@!!! ");
        return;
    }
    const MrpParseContext& context = *mrpSm_.parseContext();
    const Event event{registrarEvent_, context.attribute(), context.attributeEvent(), *record};
    MRP_TRACE(8, __PRETTY_FUNCTION__ << " Key = 0x" << hexStr(event.attribute.key)
                                     << " Type= " << +event.attribute.attributeType
                                     << " intf = " << event.attribute.intfId.name()
                                     << " Enter: state = " << record->registrarState()
                                     << " event = " << event.event);
    if (event.event == MrpRegistrarEvent::rxLv) {
        logLv(event, "received");
    }
    bool discarded = false;
    switch (record->registrarState()) {
    case MrpRegistrarState::IN:
        discarded = handleInStateRegistrar(event);
        break;
    case MrpRegistrarState::LV:
        discarded = handleLvStateRegistrar(event);
        break;
    case MrpRegistrarState::MT:
        discarded = handleMtStateRegistrar(event);
        break;
    default:
        MRP_TRACE(0,
                  "Invalid registrar State = " << static_cast<unsigned>(record->registrarState()));
        break;
    }
    MRP_TRACE(8, " Exit: state = " << record->registrarState());
    if (discarded) {
        discardJoin(event);
    }
    const bool neitherDeclaredNorRegistered = record->applicantState() == MrpApplicantState::VO &&
                                              record->registrarState() == MrpRegistrarState::MT;
    // An indication may have put another record in its place, which is not ours to delete.
    if (neitherDeclaredNorRegistered && mrpSm_.mrpGetAttribute(false) == record) {
        mrpDeleteAttrFromLeavePending();
        mrpSm_.mrpDeleteAttrFromDatabase();
    }
}

void MrpRegistrarSm::discardJoin(const Event& event) {
    const std::string type = std::to_string(event.attribute.attributeType);
    const std::string attributeEvent = std::to_string(event.attributeEvent);
    const std::string& intf = event.attribute.intfId.name();
    MRP_TRACE(8, "Join was discarded by MSRP, interface: " << intf << ", attrType: " << type
                                                           << ", attrEvent: " << attributeEvent);
    if (mrpErrorLog.enabled()) {
        mrpErrorLog.write(
            mrpSm_.clock().now(),
            {formatText("Join was discarded by MSRP, interface: %s, attrType: %d, attrEvent: %d",
                        {intf, type, attributeEvent})});
    }
    setState(event, MrpRegistrarState::MT);
}

// --- The states. Each returns whether the application discarded a join. ---

bool MrpRegistrarSm::handleInStateRegistrar(const Event& event) {
    MRP_TRACE_HANDLER();
    switch (event.event) {
    case MrpRegistrarEvent::rxNew: {
        logJoin(event);
        const bool discarded = joinIndication(event);
        mrpSm_.mrpCounters()->numOfJoinIndicationsInc(1);
        return discarded;
    }
    case MrpRegistrarEvent::rxJoinIn:
    case MrpRegistrarEvent::rxJoinMt: {
        // Counted also when an unchanged value gives no indication.
        const bool discarded = indicateChangedValue(event);
        mrpSm_.mrpCounters()->numOfJoinIndicationsInc(1);
        return discarded;
    }
    case MrpRegistrarEvent::rxLv:
    case MrpRegistrarEvent::rxLvAll:
    case MrpRegistrarEvent::txLvAll:
    case MrpRegistrarEvent::redeclare:
        startLeave(event);
        return false;
    case MrpRegistrarEvent::flush:
        // The application is not told of registrations that a flush drops from here.
        setState(event, MrpRegistrarState::MT);
        return false;
    default:
        return false;
    }
}

bool MrpRegistrarSm::handleLvStateRegistrar(const Event& event) {
    MRP_TRACE_HANDLER();
    switch (event.event) {
    case MrpRegistrarEvent::rxNew: {
        mrpDeleteAttrFromLeavePending();
        setState(event, MrpRegistrarState::IN);
        MRP_TRACE(8, "JoinIndication called");
        const bool discarded = joinIndication(event);
        mrpSm_.mrpCounters()->numOfJoinIndicationsInc(1);
        return discarded;
    }
    case MrpRegistrarEvent::rxJoinIn:
    case MrpRegistrarEvent::rxJoinMt:
        setState(event, MrpRegistrarState::IN);
        mrpDeleteAttrFromLeavePending();
        MRP_TRACE(8, "JoinIndication called");
        return indicateChangedValue(event);
    case MrpRegistrarEvent::rxLv:
    case MrpRegistrarEvent::rxLvAll:
    case MrpRegistrarEvent::txLvAll:
    case MrpRegistrarEvent::redeclare:
        startLeave(event);
        return false;
    case MrpRegistrarEvent::flush:
        // Stays in its leave timer's set, where the expiry finds it in MT.
        endLeave(event);
        return false;
    case MrpRegistrarEvent::leaveTimer:
        endLeave(event);
        mrpDeleteAttrFromLeavePending();
        return false;
    default:
        return false;
    }
}

bool MrpRegistrarSm::handleMtStateRegistrar(const Event& event) {
    MRP_TRACE_HANDLER();
    switch (event.event) {
    case MrpRegistrarEvent::rxNew:
    case MrpRegistrarEvent::rxJoinIn:
    case MrpRegistrarEvent::rxJoinMt: {
        // The value is the one with which the record was made.
        logJoin(event);
        setState(event, MrpRegistrarState::IN);
        MRP_TRACE(8,
                  "Join Indication called" << (event.event == MrpRegistrarEvent::rxNew ? " " : ""));
        const bool discarded = joinIndication(event);
        mrpSm_.mrpCounters()->numOfJoinIndicationsInc(1);
        return discarded;
    }
    default:
        return false;
    }
}

// --- What the states have in common ---

void MrpRegistrarSm::startLeave(const Event& event) {
    mrpAddAttrToLeavePending();
    setState(event, MrpRegistrarState::LV);
}

void MrpRegistrarSm::endLeave(const Event& event) {
    logLv(event, "notified");
    setState(event, MrpRegistrarState::MT);
    MRP_TRACE(8, "LeaveIndication called");
    leaveIndication(event);
    mrpSm_.mrpCounters()->numOfLeaveIndicationsInc(1);
}

bool MrpRegistrarSm::domainException(const Event& event) const {
    return mrpSm_.mrpLib()->application() == MrpApplication::msrp &&
           event.attribute.attributeType == domainType;
}

// A repeated Join tells the application only of a changed value; a Domain's is always told, and its
// stored value is our own.
bool MrpRegistrarSm::indicateChangedValue(const Event& event) {
    if (domainException(event)) {
        return joinIndication(event);
    }
    if (mrpSm_.mrpRxVectorSameAsDatabaseAttr()) {
        return false;
    }
    mrpSm_.mrpPopulateValueInDatabase(event.record, false);
    return joinIndication(event);
}

bool MrpRegistrarSm::joinIndication(const Event& event) {
    const bool discarded = mrpSm_.mrpLib()->mrpJoinIndication(parameters(event));
    restoreContext(event);
    return discarded;
}

void MrpRegistrarSm::leaveIndication(const Event& event) {
    mrpSm_.mrpLib()->mrpLeaveIndication(parameters(event));
    restoreContext(event);
}

void MrpRegistrarSm::restoreContext(const Event& event) {
    mrpSm_.parseContext()->attributeIs(event.attribute);
    mrpSm_.parseContext()->attributeEventIs(event.attributeEvent);
}

MrpParameters MrpRegistrarSm::parameters(const Event& event) {
    return {event.attribute.intfId, event.attribute.attributeType, event.attributeEvent, false};
}

void MrpRegistrarSm::setState(const Event& event, MrpRegistrarState state) {
    event.record.registrarStateIs(state);
}

void MrpRegistrarSm::logJoin(const Event& event) const {
    if (mrpJoinLog.enabled()) {
        const MrpApplication application = mrpSm_.mrpLib()->application();
        mrpJoinLog.write(mrpSm_.clock().now(),
                         {event.attribute.intfId.name(),
                          attributeTypeName(event.attribute.attributeType, application),
                          hexStr(event.attribute.key), stringValue(event.record.registrarState()),
                          stringValue(event.event)});
    }
}

void MrpRegistrarSm::logLv(const Event& event, const char* what) const {
    if (mrpLvLog.enabled()) {
        const MrpApplication application = mrpSm_.mrpLib()->application();
        mrpLvLog.write(mrpSm_.clock().now(),
                       {what, event.attribute.intfId.name(),
                        attributeTypeName(event.attribute.attributeType, application),
                        hexStr(event.attribute.key), stringValue(event.record.registrarState()),
                        stringValue(event.event)});
    }
}

// --- Leave timers ---

namespace {

MrpAttribute sharedKey(const MrpAttribute& attribute) {
    return {attribute.intfId, attribute.attributeType, 0};
}

void cancelAll(MrpRegistrarSm::LeaveSms& leaveSms, IntfId intfId) {
    leaveSms.eraseIf([intfId](MrpLeaveSm& timer) {
        if (timer.attribute().intfId != intfId) {
            return false;
        }
        const MrpLeaveKeys& keys = timer.leavePending();
        for (auto key = keys.next(std::nullopt); key; key = keys.next(key)) {
            MRP_TRACE(8, "Intf: " << intfId.name() << " Leave pending deleted: " << *key);
        }
        timer.leavePendingDelAll();
        timer.registeredIs(false);
        return true;
    });
}

}  // namespace

Ptr<MrpLeaveSm> MrpRegistrarSm::timerIs(LeaveSms& leaveSms, const MrpAttribute& attribute) {
    Ptr<MrpLeaveSm> timer(leaveSms.timer(attribute));
    if (!timer) {
        timer = makePtr<MrpLeaveSm>(attribute, mrpSm_, timerWheel_);
        leaveSms.insert(timer);
        timer->registeredIs(true);
    }
    return timer;
}

Ptr<MrpLeaveSm> MrpRegistrarSm::leaveSmIs(const MrpAttribute& attribute) {
    return timerIs(leaveSm_, attribute);
}

Ptr<MrpLeaveSm> MrpRegistrarSm::explicitLeaveSmIs(const MrpAttribute& attribute) {
    return timerIs(explicitLeaveSm_, attribute);
}

void MrpRegistrarSm::del(LeaveSms& leaveSms, const MrpAttribute& attribute) {
    if (const Ptr<MrpLeaveSm> timer = leaveSms.erase(attribute)) {
        timer->registeredIs(false);
    }
}

Seconds MrpRegistrarSm::leaveTimeFor(MrpRegistrarEvent event, IntfId intfId) const {
    const Seconds txLeaveAllExpiry = mrpConfig_->txLeaveAllExpiryTime();
    return event == MrpRegistrarEvent::txLvAll && txLeaveAllExpiry != txLeaveAllExpiryUnset
               ? txLeaveAllExpiry
               : mrpSm_.mrpGetLeaveTime(intfId);
}

void MrpRegistrarSm::mrpAddAttrToLeavePending() {
    const MrpAttribute attribute = mrpSm_.parseContext()->attribute();
    const bool isExplicit = registrarEvent_ == MrpRegistrarEvent::rxLv;
    const MrpAttribute timerKey = isExplicit ? attribute : sharedKey(attribute);
    const Ptr<MrpLeaveSm> timer = isExplicit ? explicitLeaveSmIs(timerKey) : leaveSmIs(timerKey);
    if (timer->leavePendingIs(attribute.key)) {
        timer->doScheduleLeaveTimer(leaveTimeFor(registrarEvent_, attribute.intfId));
    }
}

void MrpRegistrarSm::mrpDeleteAttrFromLeavePending() {
    const MrpAttribute attribute = mrpSm_.parseContext()->attribute();
    for (MrpLeaveSm* timer :
         {leaveSm_.timer(sharedKey(attribute)), explicitLeaveSm_.timer(attribute)}) {
        if (timer != nullptr) {
            timer->leavePendingDel(attribute.key);
        }
    }
}

void MrpRegistrarSm::mrpDeleteRunFromLeavePending(const MrpAttribute& first, AttributeKey last) {
    if (MrpLeaveSm* timer = leaveSm_.timer(sharedKey(first))) {
        timer->leavePendingDel(first.key, last);
    }
    MrpAttribute attribute = first;
    for (AttributeKey left = last - first.key + 1; left > 0 && !explicitLeaveSm_.empty(); --left) {
        if (MrpLeaveSm* timer = explicitLeaveSm_.timer(attribute)) {
            timer->leavePendingDel(attribute.key);
        }
        ++attribute.key;
    }
}

void MrpRegistrarSm::mrpCancelLeavePending(IntfId intfId) {
    cancelAll(leaveSm_, intfId);
    cancelAll(explicitLeaveSm_, intfId);
}

}  // namespace Mrp
