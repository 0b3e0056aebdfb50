#include "Steps.h"

#include <array>
#include <stdexcept>

#include "Broken.h"
#include "Invariants.h"
#include "Values.h"
#include "platform/base/VlanId.h"

namespace MrpFuzz {

using namespace Platform;
using namespace Mrp;

namespace {

// Times of a configuration; 0.6 has a meaning of its own.
constexpr std::array<Seconds, 8> times{0.6, 0, 0.05, 0.3, 1, 3, 10, 1e9};
// The topologies that a port may follow by the modes below.
constexpr std::array<const char*, 4> topologies{"Cist", "NoStp", "Vl10", "Bkup10"};
constexpr std::array<int, 5> modes{0, Stp::Mode::noStp, Stp::Mode::perVlan, Stp::Mode::backup, 7};

}  // namespace

Steps::Steps(Input& input) : input_(input), node_(readStart(input.octet())) {
    node_.lib().onIndication = [this] { return handleIndication(); };
}

FuzzNode::Start Steps::readStart(std::uint8_t octet) {
    const auto bit = [octet](unsigned number) { return (octet >> number & 1U) != 0; };
    FuzzNode::Start start;
    start.application = bit(0) ? MrpApplication::msrp : MrpApplication::mvrp;
    start.stp = bit(1);
    start.log = bit(2);
    start.standby = bit(3);
    start.flooding = bit(4);
    start.sizeLimit = bit(5);
    return start;
}

bool Steps::more() {
    // What takes long finds no more than what is quick.
    constexpr std::size_t manyAttributes = 500;
    return !input_.empty() && left_-- > 0 && !node_.spent() && node_.attributes() < manyAttributes;
}

void Steps::step() {
    static constexpr std::array<Step, 24> steps{
        &Steps::passTime,
        &Steps::receiveAssembled,
        &Steps::request,
        &Steps::sendAttribute,
        &Steps::changeRole,
        &Steps::changeConfig,
        &Steps::changeIntfConfig,
        &Steps::readReaction,
        &Steps::disable,
        &Steps::enable,
        &Steps::changeDevice,
        &Steps::becomeActive,
        &Steps::clog,
        &Steps::recycle,
        &Steps::cleanUp,
        &Steps::transmitAllLeaveAll,
        &Steps::receiveRaw,
        &Steps::receiveAny,
        &Steps::changeStp,
        &Steps::passTime,
        &Steps::receiveAssembled,
        &Steps::request,
        &Steps::readReaction,
        &Steps::passTime,
    };
    disabled_.reset();
    (this->*input_.pick(steps))();
    if (disabled_) {
        checkForgotten(node_.mrpSm(), *disabled_);
    }
}

// With short times, and nothing left in the sockets.
void Steps::rest(Seconds time) {
    reactions_ = 0;
    node_.rest(time);
}

// --- Time ---

void Steps::passTime() {
    static constexpr std::array<Seconds, 12> spans{0.1, 0.01, 0.05, 0.15, 0.3, 0.6,
                                                   0.7, 1,    3,    10,   16,  0};
    node_.pass(input_.pick(spans));
}

// --- Frames ---

// By the wire, or past filter and link and perhaps without a word. Ends with nothing under way.
void Steps::takeIn(IntfId intfId, const Bytes& frame, std::uint8_t how) {
    Virtual::VirtualEthDev* dev = node_.dev(intfId);
    if (dev == nullptr) {
        return;
    }
    if ((how & 2U) != 0) {
        dev->receive(frame);
    } else {
        dev->inject(frame, (how & 4U) == 0);
    }
    node_.pass(0);
}

void Steps::receiveAssembled() {
    constexpr std::uint8_t newerVersion = 8;
    const std::uint8_t how = input_.octet();
    Bytes pdu = assembledPdu(node_.application(), input_);
    pdu[0] = (how & newerVersion) != 0 ? 1 : 0;
    takeIn(node_.intf(how), frameOf(node_.application(), pdu), how);
}

void Steps::receiveRaw() {
    const std::uint8_t how = input_.octet();
    const auto pdu = input_.octets(input_.octet());
    takeIn(node_.intf(how), frameOf(node_.application(), pdu), how);
}

// Any header. An engine relies on its sockets for whole ones.
void Steps::receiveAny() {
    const std::uint8_t how = input_.octet();
    const auto octets = input_.octets(input_.octet());
    Bytes frame(octets.begin(), octets.end());
    frame.resize(std::max(frame.size(), ethHeaderSize));
    takeIn(node_.intf(how), frame, how);
}

// --- Requests ---

void Steps::makeRequest(std::uint8_t how, std::uint8_t key) {
    const bool msrp = node_.application() == MrpApplication::msrp;
    const auto type = static_cast<AttributeType>(msrp ? 1 + (how >> 1U) % 4 : vlanType);
    const auto event = static_cast<std::uint8_t>((how >> 3U) % 9);
    const Bytes value = storedValue(node_.application(), type, {key, how});
    MrpAgent::MrpInstance& instance = node_.instance();
    instance.request(node_.intf(how), type, event, value);
    const AttributeKey attributeKey = keyOf(node_.application(), type, {key});
    const bool declared = instance.declares({node_.intf(how), type, attributeKey});
    const bool join = event == AttributeEvent::newEvent || event == AttributeEvent::joinIn ||
                      event == AttributeEvent::joinMt;
    const bool leave = event == AttributeEvent::lv || event == AttributeEvent::internalLeave;
    if (instance.mrpSm().active() && (join || leave) && declared != join) {
        broken(join ? "what is asked for is not declared" : "what is withdrawn is declared");
    }
}

void Steps::request() {
    const std::uint8_t how = input_.octet();
    makeRequest(how, input_.octet());
}

// As an application may ask that knows no bounds: any type and event, any queue.
void Steps::sendAttribute() {
    const std::uint8_t how = input_.octet();
    const AttributeType type = input_.octet();
    const std::uint8_t event = input_.octet();
    const std::uint8_t queue = input_.octet();
    for (unsigned entry = 0; entry < (queue & 3U); ++entry) {
        const bool strange = (queue >> 2U & 3U) == 3;
        const auto number = static_cast<std::uint8_t>(queue >> (4U + entry));
        node_.lib().mrpOutIntfQueueEnq(strange ? node_.stranger() : node_.intf(number));
    }
    const IntfId intfId = (how & 0x80U) != 0 ? node_.stranger() : node_.intf(how);
    node_.lib().mrpSendAttribute({intfId, type, event, (how & 2U) != 0});
}

void Steps::cleanUp() {
    const std::uint8_t how = input_.octet();
    const auto type = static_cast<AttributeType>(how >> 1U & 7U);
    const AttributeKey key = keyOf(node_.application(), type, {input_.octet()});
    node_.lib().mrpCleanUpIntfDatabaseAttribute(node_.intf(how), type, key);
}

void Steps::transmitAllLeaveAll() {
    const IntfId intfId = node_.intf(input_.octet());
    if (!node_.mrpSm().mrpPamSm()->standbyMode()) {  // a standby engine must not be asked
        node_.mrpSm().mrpPamSm()->transmitAllLeaveAll(intfId);
    }
}

void Steps::recycle() {
    node_.mrpSm().recycledPktIs(true);
}

// --- The spanning tree ---

void Steps::changeRole() {
    const std::uint8_t how = input_.octet();
    node_.roleIs(node_.intf(how), topologies[how >> 1U & 3U], (how >> 3U) % 5);
}

void Steps::changeStp() {
    const std::uint8_t how = input_.octet();
    const std::uint8_t which = input_.octet();
    static constexpr std::array<std::uint16_t, 4> nativeVlans{0, 10, 20, 4095};
    Bridging::Config& bridge = node_.instance().brConfig();
    Stp::Status* status = node_.stpStatus();
    if (how % 5 == 0) {
        bridge.nativeVlan().valueIs(node_.intf(which), nativeVlans[which >> 1U & 3U]);
        bridge.vlanConfig().valueIs(VlanId(10), makePtr<Bridging::VlanConfig>(VlanId(10)));
    } else if (status != nullptr && how % 5 == 1) {
        status->modeIs(modes[which % modes.size()]);
    } else if (status != nullptr) {
        const auto instance = status->stpiStatus().partIs("Stp");
        const auto topology = instance->mstiStatus().partIs(topologies[which >> 1U & 3U]);
        if (how % 5 == 2) {
            topology->portStatus().valueDel(node_.intf(which).name());
        } else if (how % 5 == 3) {
            instance->mstiStatus().valueDel(topology->name());
        } else {
            status->stpiStatus().valueDel(instance->name());
        }
    }
}

// --- Configuration ---

void Steps::changeConfig() {
    const std::uint8_t how = input_.octet();
    MrpConfig& config = node_.config();
    const Seconds time = times[how >> 3U & 7U];
    switch (how & 7U) {
    case 0:
        config.leaveTimeIs(time);
        break;
    case 1:
        config.leaveAllTimeIs(time);
        break;
    case 2:
        config.txLeaveAllExpiryTimeIs(time);
        break;
    case 3:
        config.mrpFloodingIs(!config.mrpFlooding());
        break;
    default:
        config.timersEnabledIs(!config.timersEnabled());
        break;
    }
}

void Steps::changeIntfConfig() {
    const std::uint8_t how = input_.octet();
    const IntfId intfId = node_.intf(how);
    MrpConfig& config = node_.config();
    const Seconds time = times[how >> 3U & 7U];
    switch (how >> 1U & 3U) {
    case 0:
        config.intfLeaveTimeIs(intfId, time);
        break;
    case 1:
        config.intfLeaveTimeDel(intfId);
        break;
    case 2:
        config.intfLeaveAllTimeIs(intfId, time);
        break;
    default:
        config.intfLeaveAllTimeDel(intfId);
        break;
    }
}

void Steps::clog() {
    if (FuzzLogOutput* log = node_.log()) {
        log->clogged = !log->clogged;
    }
}

// --- Interfaces ---

void Steps::enable() {
    node_.instance().enable(node_.intf(input_.octet()));
}

void Steps::disable() {
    disable(node_.intf(input_.octet()));
}

void Steps::disable(IntfId intfId) {
    node_.instance().disable(intfId);
    disabled_ = intfId;
}

void Steps::changeDevice() {
    const std::uint8_t how = input_.octet();
    const IntfId intfId = node_.intf(how);
    Virtual::VirtualEthDev* dev = node_.dev(intfId);
    switch (how >> 1U & 3U) {
    case 0:
        node_.devDel(intfId);
        break;
    case 1:
        node_.devIs(intfId);
        break;
    default:
        if (dev != nullptr) {
            dev->linkUpIs(!dev->linkUp());
        }
        break;
    }
}

// As an agent does it that takes over, or plainly.
void Steps::becomeActive() {
    if (input_.octet() % 2 == 0) {
        node_.instance().becomeActive();
    } else {
        node_.mrpSm().standbyModeIs(false);
        node_.mrpSm().handleStandbyMode();
    }
}

// --- Indications ---

void Steps::readReaction() {
    constexpr unsigned most = 64;
    const std::uint8_t kind = input_.octet();
    reaction_ = static_cast<Reaction>(kind % 9);
    reactions_ = kind / 9U < 20 ? 1 + kind / 9U : most;
    reactionHow_ = input_.octet();
    reactionKey_ = input_.octet();
}

bool Steps::handleIndication() {
    if (reactions_ == 0) {
        return false;
    }
    --reactions_;
    const IntfId intfId = node_.intf(reactionHow_);
    switch (reaction_) {
    case Reaction::discard:
        return true;
    case Reaction::fail:
        throw std::range_error("an indication that fails");
    case Reaction::request:
        makeRequest(reactionHow_, reactionKey_++);
        break;
    case Reaction::requestAndFail:
        makeRequest(reactionHow_, reactionKey_++);
        throw std::range_error("an indication that fails late");
    case Reaction::disable:
        disable(intfId);
        break;
    case Reaction::disableAndEnable:
        node_.instance().disable(intfId);
        node_.instance().enable(intfId);
        break;
    case Reaction::role:
        leavesAreTimed_ = false;
        node_.roleIs(intfId, topologies[0], reactions_ % 2 == 0 ? 3 : 2);
        break;
    case Reaction::leaveAll:
        node_.mrpSm().mrpPamSm()->transmitAllLeaveAll(intfId);
        break;
    case Reaction::nothing:
        break;
    }
    return (reactionHow_ & 0x80U) != 0;
}

// The leave timer of key 0 and the one that all keys of its type share end each other.
bool Steps::leavesAreTimed() {
    for (const auto& [key, set] : node_.mrpSm().mrpAttrIter()) {
        leavesAreTimed_ = leavesAreTimed_ && !set->attributeKey().contains(0);
    }
    return leavesAreTimed_;
}

}  // namespace MrpFuzz
