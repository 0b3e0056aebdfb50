#include "agent/propagation/VlanPropagation.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "agent/propagation/Reach.h"
#include "platform/base/VlanId.h"
#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

// What is requested in a turn of the loop, a few milliseconds of an engine's work, and the pause in
// which others have theirs. The next turn is not posted: the loop runs all that is posted, and
// every alarm that is due by then, before it looks at its descriptors. So the pause is longer than
// a turn.
constexpr std::size_t requestsATurn = 4096;
constexpr Seconds turnPause = 0.02;

bool isVlan(AttributeKey key) {
    return key >= VlanId::min && key <= VlanId::max;
}

bool isVlan(const MrpAttribute& attribute) {
    return attribute.attributeType == vlanType && isVlan(attribute.key);
}

}  // namespace

VlanPropagation::VlanPropagation(ActivityManager& activityManager, VlanRequests& requests,
                                 bool propagates)
    : activityManager_(activityManager),
      requests_(requests),
      propagates_(propagates),
      vlans_(VlanId::max + 1),
      turnAlarm_(activityManager.clock(), [this] { handleTurn(); }),
      patienceAlarm_(activityManager.clock(), [this] {
          patient_ = false;
          touchAll();
      }) {}

VlanPropagation::~VlanPropagation() = default;

// --- Ports ---

void VlanPropagation::portIs(IntfId port) {
    if (slots_.slot(port)) {
        return;
    }
    const Slot slot = slots_.portIs(port);
    newUntil_.resize(std::max(newUntil_.size(), slot + 1));
    newUntil_[slot] = 0;
    ownIs(slot);
}

void VlanPropagation::portDel(IntfId port) {
    const auto slot = slots_.slot(port);
    if (!slot) {
        return;
    }
    forwarding_.erase(*slot);
    for (std::uint16_t vlan = VlanId::min; vlan <= VlanId::max; ++vlan) {
        VlanState& state = vlans_[vlan];
        change(*slot, vlan, [&] {
            for (PortSet* set :
                 {&state.registered, &state.fixed, &state.forbidden, &state.configured,
                  &state.configuredNew, &state.declared, &state.newFrom, &state.newOn}) {
                set->erase(*slot);
            }
        });
    }
    slots_.portDel(port);
    touchAll();
}

void VlanPropagation::forwardingIs(IntfId port, bool forwarding, bool topologyChange) {
    const auto slot = slots_.slot(port);
    if (!slot) {
        return;
    }
    const bool changed = forwarding_.has(*slot) != forwarding;
    forwarding_.memberIs(*slot, forwarding);
    const bool detected = forwarding && topologyChange;
    if (detected) {
        newUntil_[*slot] = activityManager_.clock().now() + topologyChangeTime;
    }
    if (!changed) {
        return;
    }
    if (detected) {
        for (VlanState& state : vlans_) {
            state.newFrom.insert(*slot);
            state.newOn.insert(*slot);
        }
    }
    touchAll();
}

std::vector<IntfId> VlanPropagation::ports() const {
    std::vector<IntfId> ports;
    for (const auto& [port, slot] : slots_.byPort()) {
        ports.push_back(port);
    }
    return ports;
}

bool VlanPropagation::forwarding(IntfId port) const {
    const auto slot = slots_.slot(port);
    return slot && forwarding_.has(*slot);
}

VlanPropagation::Membership VlanPropagation::membership(IntfId port, std::uint16_t vlan) const {
    const auto slot = slots_.slot(port);
    if (!slot || !isVlan(vlan)) {
        return {};
    }
    const VlanState& state = vlans_[vlan];
    Registration registration = Registration::normal;
    if (state.forbidden.has(*slot)) {
        registration = Registration::forbidden;
    } else if (state.fixed.has(*slot)) {
        registration = Registration::fixed;
    }
    return {state.registered.has(*slot), registration, state.configured.has(*slot),
            state.declared.has(*slot)};
}

// --- What the node says by itself ---

void VlanPropagation::declarationsAre(const std::vector<Declaration>& declarations) {
    declarations_.clear();
    std::copy_if(declarations.begin(), declarations.end(), std::back_inserter(declarations_),
                 [](const Declaration& declaration) {
                     return declaration.application == MrpApplication::mvrp &&
                            isVlan({{}, declaration.attributeType, declaration.key});
                 });
    // By name once, not once a declaration and port.
    std::map<std::string, std::vector<OwnVlan>> owns;
    for (const auto& [port, slot] : slots_.byPort()) {
        owns[port.name()].resize(vlans_.size());
    }
    for (const Declaration& declaration : declarations_) {
        if (declaration.interfaces.empty()) {
            for (auto& [name, own] : owns) {
                own[declaration.key].add(declaration);
            }
        }
        for (const std::string& name : declaration.interfaces) {
            const auto own = owns.find(name);
            if (own != owns.end()) {
                own->second[declaration.key].add(declaration);
            }
        }
    }
    for (const auto& [port, slot] : slots_.byPort()) {
        ownIs(slot, owns[port.name()]);
    }
}

void VlanPropagation::ownIs(Slot slot) {
    const std::string& name = slots_.port(slot).name();
    std::vector<OwnVlan> owns(vlans_.size());
    for (const Declaration& declaration : declarations_) {
        if (declaration.concerns(name)) {
            owns[declaration.key].add(declaration);
        }
    }
    ownIs(slot, owns);
}

void VlanPropagation::ownIs(Slot slot, const std::vector<OwnVlan>& owns) {
    for (std::uint16_t vlan = VlanId::min; vlan <= VlanId::max; ++vlan) {
        VlanState& state = vlans_[vlan];
        const OwnVlan& own = owns[vlan];
        const OwnVlan before{state.configured.has(slot), state.configuredNew.has(slot),
                             state.fixed.has(slot), state.forbidden.has(slot)};
        if (before == own) {
            continue;
        }
        touch(vlan);
        change(slot, vlan, [&] {
            state.configured.memberIs(slot, own.configured);
            state.configuredNew.memberIs(slot, own.configuredNew);
            state.fixed.memberIs(slot, own.fixed);
            state.forbidden.memberIs(slot, own.forbidden);
        });
    }
}

// Makes a change on a port, and tells of it when it is one of membership.
template <class Change>
void VlanPropagation::change(Slot slot, std::uint16_t vlan, Change&& make) {
    const bool before = vlans_[vlan].member(slot);
    make();
    const bool after = vlans_[vlan].member(slot);
    if (before != after) {
        memberChanged_.notify(slots_.port(slot), vlan, after);
    }
}

// --- Indications ---

bool VlanPropagation::joinIndicated(const MrpAttribute& attribute, bool isNew) {
    ++counters_.indications;
    const auto slot = slots_.slot(attribute.intfId);
    if (!slot || !isVlan(attribute)) {
        return false;
    }
    const auto vlan = static_cast<std::uint16_t>(attribute.key);
    VlanState& state = vlans_[vlan];
    if (state.forbidden.has(*slot)) {
        ++counters_.forbidden;
        return true;
    }
    const bool known = state.registered.has(*slot);
    if (isNew || activityManager_.clock().now() < newUntil_[*slot]) {
        state.newFrom.insert(*slot);
        touch(vlan);
    }
    if (!known) {
        touch(vlan);
        change(*slot, vlan, [&] { state.registered.insert(*slot); });
    }
    return false;
}

void VlanPropagation::leaveIndicated(const MrpAttribute& attribute) {
    ++counters_.indications;
    const auto slot = slots_.slot(attribute.intfId);
    if (!slot || !isVlan(attribute)) {
        return;
    }
    const auto vlan = static_cast<std::uint16_t>(attribute.key);
    registrationDel(*slot, vlan);
}

void VlanPropagation::registrationDel(Slot slot, std::uint16_t vlan) {
    VlanState& state = vlans_[vlan];
    if (state.registered.has(slot)) {
        touch(vlan);
        change(slot, vlan, [&] { state.registered.erase(slot); });
    }
}

void VlanPropagation::flushed(IntfId port, const MrpInstance& instance) {
    const auto slot = slots_.slot(port);
    for (std::uint16_t vlan = VlanId::min; slot && vlan <= VlanId::max; ++vlan) {
        if (!vlans_[vlan].registered.has(*slot)) {
            continue;
        }
        const MrpAttrDatabase* record =
            instance.mrpSm().mrpGetAttrFromDatabase(port, vlanType, vlan, true);
        if (record == nullptr || record->registrarState() == MrpRegistrarState::MT) {
            registrationDel(*slot, vlan);
        }
    }
}

void VlanPropagation::resume(const MrpInstance& instance, Seconds patience) {
    patient_ = true;
    patienceAlarm_.expiryIs(activityManager_.clock().now() + patience);
    for (const auto& [port, slot] : slots_.byPort()) {
        resumePort(slot, instance);
    }
    touchAll();
}

void VlanPropagation::resumePort(Slot slot, const MrpInstance& instance) {
    const IntfId port = slots_.port(slot);
    for (const AttributeKey key : instance.mrpSm().visibleKeys(port, vlanType)) {
        const MrpAttribute attribute{port, vlanType, key};
        const MrpAttrDatabase* record =
            instance.mrpSm().mrpGetAttrFromDatabase(port, vlanType, key, true);
        if (!isVlan(attribute) || record == nullptr) {
            continue;
        }
        const auto vlan = static_cast<std::uint16_t>(key);
        VlanState& state = vlans_[vlan];
        if (record->registrarState() != MrpRegistrarState::MT) {
            change(slot, vlan, [&] { state.registered.insert(slot); });
        }
        if (instance.declares(attribute)) {
            state.declared.insert(slot);
        }
    }
}

// --- Working it off ---

void VlanPropagation::touch(std::uint16_t vlan) {
    VlanState& state = vlans_[vlan];
    if (!state.touched) {
        touched_.push_back(vlan);
        state.touched = true;
    }
    if (!turnComes_) {
        activityManager_.post([weak = std::weak_ptr(self_)] {
            if (const auto self = weak.lock()) {
                (*self)->handleTurn();
            }
        });
        turnComes_ = true;
    }
}

void VlanPropagation::touchAll() {
    for (std::uint16_t vlan = VlanId::min; vlan <= VlanId::max; ++vlan) {
        touch(vlan);
    }
}

void VlanPropagation::handleTurn() {
    for (std::size_t requests = 0; requests < requestsATurn && !touched_.empty();) {
        const std::uint16_t vlan = touched_.front();
        touched_.pop_front();
        requests += workOff(vlan);
    }
    turnComes_ = !touched_.empty();
    if (turnComes_) {
        turnAlarm_.expiryIs(activityManager_.clock().now() + turnPause);
    }
}

// Brings the declarations of a VLAN to where they should be. How many requests it took.
std::size_t VlanPropagation::workOff(std::uint16_t vlan) {
    VlanState& state = vlans_[vlan];
    state.touched = false;
    Reach reach;
    Reach newReach;
    for (std::size_t i = 0; propagates_ && i < slots_.words(); ++i) {
        const Word sources = state.members(i) & forwarding_.word(i);
        reach.add(i, sources);
        newReach.add(i, sources & state.newFrom.word(i));
    }
    const PortSet newOn = std::exchange(state.newOn, {});
    state.newFrom.clear();
    const std::uint64_t before = counters_.declared + counters_.withdrawn;
    for (std::size_t i = 0; i < slots_.words(); ++i) {
        const Word desired = forwarding_.word(i) & ~state.forbidden.word(i) &
                             (state.configured.word(i) | reach.word(i));
        const Word declared = state.declared.word(i);
        const Word announced = newOn.word(i) | newReach.word(i);
        const Word asNew = announced | state.configuredNew.word(i);
        const Word withdrawn = patient_ ? 0 : declared & ~desired;
        // What is requested holds from now on, also when a request fails or is answered by an
        // indication.
        state.declared.wordIs(i, (declared & ~withdrawn) | desired);
        PortSet::forEach(i, withdrawn, [&](Slot slot) {
            ++counters_.withdrawn;
            dispatch([&] { requests_.withdraw(slots_.port(slot), vlan); });
        });
        PortSet::forEach(i, desired & (~declared | announced), [&](Slot slot) {
            ++counters_.declared;
            const bool isNew = (asNew & PortSet::bitOf(slot)) != 0;
            dispatch([&] { requests_.declare(slots_.port(slot), vlan, isNew); });
        });
    }
    // Registered before it was forbidden (Registration Forbidden, clause 10.7.2).
    for (std::size_t i = 0; i < slots_.words(); ++i) {
        const Word outlawed = state.registered.word(i) & state.forbidden.word(i);
        state.registered.wordIs(i, state.registered.word(i) & ~outlawed);
        PortSet::forEach(i, outlawed, [&](Slot slot) {
            dispatch([&] { requests_.forget(slots_.port(slot), vlan); });
        });
    }
    return static_cast<std::size_t>(counters_.declared + counters_.withdrawn - before);
}

}  // namespace MrpAgent
