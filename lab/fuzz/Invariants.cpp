#include "Invariants.h"

#include <sstream>

#include "Broken.h"
#include "FrameJudge.h"

namespace MrpFuzz {

using namespace Platform;
using namespace Mrp;

namespace {

constexpr Seconds tolerance = 1e-6;

[[noreturn]] void broken(const char* what, const MrpAttribute& attribute) {
    std::ostringstream text;
    text << what << ": " << attribute;
    MrpFuzz::broken(text.str());
}

bool visible(const MrpSm& mrpSm, const MrpAttribute& attribute) {
    return mrpSm.mrpGetAttrFromDatabase(attribute.intfId, attribute.attributeType, attribute.key,
                                        true) != nullptr;
}

bool inIterationSet(const MrpSm& mrpSm, const MrpAttribute& attribute) {
    const auto set = mrpSm.mrpAttrIter({attribute.intfId, attribute.attributeType});
    return set && set->attributeKey().contains(attribute.key);
}

void checkPendingSets(const MrpSm& mrpSm) {
    mrpSm.addPendingAttr().forEach([&](const MrpAttribute& attribute, const MrpAttrDatabase&) {
        if (mrpSm.deletePendingAttr().contains(attribute)) {
            broken("both addition and deletion are pending", attribute);
        }
    });
}

// A key without a record, which a received LeaveAll prunes, only comes of a call of addToAttrIter.
void checkIterationSets(const MrpSm& mrpSm) {
    for (const auto& [key, set] : mrpSm.mrpAttrIter()) {
        for (const AttributeKey attributeKey : set->attributeKey()) {
            const MrpAttribute attribute{key.intfId, key.attributeType, attributeKey};
            if (!visible(mrpSm, attribute) && !mrpSm.deletePending(attribute)) {
                broken("an iteration set holds what is not there", attribute);
            }
        }
    }
}

bool waits(const MrpRegistrarSm::LeaveSms& timers, const MrpAttribute& timer, AttributeKey key) {
    const auto found = timers.find(timer);
    return found != timers.end() && found->second->leavePending(key);
}

// A registration that is leaving has a timer that ends it.
void checkLeave(const MrpSm& mrpSm, const MrpAttribute& attribute, const MrpAttrDatabase& record) {
    const MrpRegistrarSm& registrar = *mrpSm.registrarSm();
    const MrpAttribute shared{attribute.intfId, attribute.attributeType, 0};
    if (record.registrarState() == MrpRegistrarState::LV &&
        !waits(registrar.leaveSm(), shared, attribute.key) &&
        !waits(registrar.explicitLeaveSm(), attribute, attribute.key)) {
        broken("a registration leaves without a timer", attribute);
    }
}

void checkRecord(const MrpSm& mrpSm, const MrpAttribute& attribute, const MrpAttrDatabase& record,
                 bool leavesAreTimed) {
    if (!inIterationSet(mrpSm, attribute)) {
        broken("a record is in no iteration set", attribute);
    }
    if (leavesAreTimed) {
        checkLeave(mrpSm, attribute, record);
    }
}

// Calls `check` with each record that look-ups show, and its attribute.
template <class Check>
void forEachRecord(const MrpSm& mrpSm, Check check) {
    mrpSm.addPendingAttr().forEach(check);
    const MrpApplicationDatabase* database = mrpSm.applicationDatabase();
    for (const auto& [intfId, types] : database->attrDatabase()) {
        for (const auto& [type, records] : types->intfTypeApplicant()) {
            for (const auto& [key, record] : records->mrpAttribute()) {
                if (mrpSm.mrpGetAttrFromDatabase(intfId, type, key, true) == record) {
                    check(MrpAttribute{intfId, type, key}, *record);
                }
            }
        }
    }
}

void checkPacketContexts(const MrpSm& mrpSm) {
    const MrpLib& lib = *mrpSm.mrpLib();
    for (const auto* contexts : {&lib.mrpTxPacketContext(), &lib.mrpTxSecondPacketContext()}) {
        for (const auto& [intfId, context] : *contexts) {
            if (mrpSm.desiredIntfDir()->intfDesired(intfId) != true) {
                MrpFuzz::broken("an interface that is not enabled has a packet: " + intfId.name());
            }
        }
    }
}

// With packet access, and only then, an interface has its machines.
void checkInterfaces(const MrpSm& mrpSm) {
    const auto& machines = mrpSm.mrpPamSm()->mrpIntfPamSm();
    const auto& leaveAlls = mrpSm.leaveAllSm()->intfLeaveAllSm();
    const auto& pams = mrpSm.pamCollection()->values();
    for (const auto& [intfId, pam] : pams) {
        if (!machines.contains(intfId) || !leaveAlls.contains(intfId)) {
            MrpFuzz::broken("an interface has packet access and nothing else: " + intfId.name());
        }
    }
    if (machines.size() != pams.size() || leaveAlls.size() != pams.size()) {
        MrpFuzz::broken("an interface without packet access has machines");
    }
}

// No timer is left behind when its tick has passed.
void checkTimers(const MrpSm& mrpSm) {
    const Seconds earliest = mrpSm.clock().now() - mrpSm.timerWheel()->tickLength() - tolerance;
    for (const auto& [intfId, machine] : mrpSm.leaveAllSm()->intfLeaveAllSm()) {
        if (machine->expiry() < earliest) {
            MrpFuzz::broken("a LeaveAll timer stands still: " + intfId.name());
        }
        for (const auto& [type, timer] : machine->leaveAllPending()) {
            if (timer.expiryTime < earliest) {
                broken("a LeaveAll is overdue", {intfId, type, 0});
            }
        }
    }
    for (const auto* timers :
         {&mrpSm.registrarSm()->leaveSm(), &mrpSm.registrarSm()->explicitLeaveSm()}) {
        for (const auto& [attribute, timer] : *timers) {
            if (timer->expiry() < earliest) {
                broken("a leave timer stands still", attribute);
            }
        }
    }
}

}  // namespace

void checkInvariants(MrpSm& mrpSm, bool leavesAreTimed) {
    checkPacketContexts(mrpSm);
    if (!mrpSm.active()) {
        return;
    }
    checkPendingSets(mrpSm);
    checkIterationSets(mrpSm);
    forEachRecord(mrpSm, [&](const MrpAttribute& attribute, const MrpAttrDatabase& record) {
        checkRecord(mrpSm, attribute, record, leavesAreTimed);
    });
    checkInterfaces(mrpSm);
    checkTimers(mrpSm);
    if (const std::string left = leftOfFrame(mrpSm); !left.empty()) {
        MrpFuzz::broken(left);
    }
    if (mrpSm.parseContext()->sendTxLvAll()) {
        MrpFuzz::broken("a LeaveAll that nobody asks for any more waits to be sent");
    }
    if (!mrpSm.mrpLib()->mrpOutIntfQueue().empty()) {
        MrpFuzz::broken("an interface is left in the output queue");
    }
}

void checkForgotten(MrpSm& mrpSm, IntfId intfId) {
    if (!mrpSm.active()) {
        return;
    }
    for (AttributeType type = 1; type <= mrpSm.maxAttrTypes(); ++type) {
        if (!mrpSm.visibleKeys(intfId, type).empty()) {
            broken("a disabled interface has attributes", {intfId, type, 0});
        }
    }
    const MrpRegistrarSm& registrar = *mrpSm.registrarSm();
    for (const auto* timers : {&registrar.leaveSm(), &registrar.explicitLeaveSm()}) {
        for (const auto& [attribute, timer] : *timers) {
            if (attribute.intfId == intfId && !timer->leavePending().empty()) {
                broken("a disabled interface has leaves", attribute);
            }
        }
    }
}

std::set<MrpAttribute> leaving(const MrpSm& mrpSm) {
    std::set<MrpAttribute> attributes;
    forEachRecord(mrpSm, [&](const MrpAttribute& attribute, const MrpAttrDatabase& record) {
        if (record.registrarState() == MrpRegistrarState::LV) {
            attributes.insert(attribute);
        }
    });
    return attributes;
}

void checkAtRest(MrpSm& mrpSm, const std::set<MrpAttribute>& left) {
    mrpSm.addPendingAttr().forEach([](const MrpAttribute& attribute, const MrpAttrDatabase&) {
        broken("an addition stays pending", attribute);
    });
    mrpSm.deletePendingAttr().forEach([&](const MrpAttribute& attribute, const MrpAttrDatabase&) {
        if (!left.contains(attribute)) {
            broken("a deletion stays pending", attribute);
        }
    });
    forEachRecord(mrpSm, [&](const MrpAttribute& attribute, const MrpAttrDatabase& record) {
        const bool hasLeaveAll = mrpSm.pamCollection()->has(attribute.intfId) &&
                                 attribute.attributeType <= mrpSm.maxAttrTypes() &&
                                 attribute.attributeType != 0;
        // One that is leaving may have been given more time before.
        if (hasLeaveAll && record.registrarState() == MrpRegistrarState::IN) {
            broken("a registration outlives its neighbour", attribute);
        }
        if (hasLeaveAll && record.applicantState() == MrpApplicantState::VO &&
            record.registrarState() == MrpRegistrarState::MT) {
            broken("a record stays that is neither declared nor registered", attribute);
        }
    });
}

}  // namespace MrpFuzz
