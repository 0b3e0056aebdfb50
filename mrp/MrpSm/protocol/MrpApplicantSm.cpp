#include "mrp/MrpSm/protocol/MrpApplicantSm.h"

#include <array>
#include <utility>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/Assert.h"
#include "platform/base/Text.h"

namespace Mrp {

namespace {

// What a cell of the table sends, in order.
enum class Action : std::uint8_t {
    none,         // the event is ignored
    nothing,      // no message, but a change of state
    newTwice,     // New into both packets
    newOnce,      // New into the first packet
    joinTwice,    // JoinIn or JoinMt into both packets
    joinOnce,     // the same into the first packet
    leave,        // Lv
    reg,          // In or Mt: what the registrar says
    regThenJoin,  // In or Mt into the first, JoinIn or JoinMt into the second packet
};

struct Cell {
    Action action = Action::none;
    MrpApplicantState next = MrpApplicantState::VO;  // read only when there is an action
};

using enum MrpApplicantState;

constexpr Cell none{};
constexpr Cell news{Action::newTwice, QA};
constexpr Cell new1{Action::newOnce, QA};
constexpr Cell join{Action::joinTwice, QA};
constexpr Cell joi1{Action::joinOnce, QA};
constexpr Cell levo{Action::leave, VO};
constexpr Cell revo{Action::reg, VO};
constexpr Cell rejo{Action::regThenJoin, QA};
constexpr Cell toVO{Action::nothing, VO};
constexpr Cell toQA{Action::nothing, QA};
constexpr Cell toAO{Action::nothing, AO};
constexpr Cell toQO{Action::nothing, QO};
constexpr Cell toQP{Action::nothing, QP};

using Row = std::array<Cell, applicantEvents>;

// IEEE 802.1Q table 10-3 with its states as rows, as far as it holds without transmit
// opportunities: where the standard goes anxious and waits for tx!, the messages are sent and the
// state is the one behind them. Flush! and rNew! leave every applicant as it is.
// clang-format off
constexpr std::array<Row, applicantStates> table{{
    //        New!  Join! Lv!   Re-d! Flush rNew! rJnI! rIn!  rJnM! rMt!  rLv!  rLA!  txLA! none
    /* VO */ {news, join, none, revo, none, none, toAO, none, none, none, revo, revo, revo, none},
    /* VP */ {news, none, toVO, none, none, none, joi1, none, none, none, none, none, rejo, none},
    /* VN */ {none, none, levo, none, none, none, none, none, none, none, none, none, news, none},
    /* AN */ {none, none, levo, news, none, none, none, none, none, none, news, news, new1, none},
    /* AA */ {news, none, levo, join, none, none, toQA, toQA, none, none, join, join, none, none},
    /* QA */ {news, join, levo, join, none, none, none, none, joi1, joi1, join, join, joi1, none},
    /* LA */ {news, joi1, none, none, none, none, none, none, none, none, none, none, revo, none},
    /* AO */ {news, joi1, none, revo, none, none, toQO, none, none, none, revo, revo, revo, none},
    /* QO */ {news, toQP, none, revo, none, none, none, none, toAO, toAO, revo, revo, revo, none},
    /* AP */ {news, none, toAO, join, none, none, toQP, none, none, none, join, join, joi1, none},
    /* QP */ {news, none, toQO, join, none, none, none, none, joi1, joi1, join, join, joi1, none},
    /* LO */ {news, join, none, none, none, none, none, none, toVO, toVO, none, none, none, none},
}};
// clang-format on

}  // namespace

MrpApplicantSm::MrpApplicantSm(MrpSm& mrpSm, Ptr<MrpConfig> mrpConfig)
    : mrpSm_(mrpSm), mrpConfig_(std::move(mrpConfig)) {
    handleInitialized();
}

void MrpApplicantSm::handleInitialized() {
    MRP_TRACE_HANDLER();
    require(!initialized_, "!initialized()");
    initialized_ = true;
}

MrpApplicantEvent MrpApplicantSm::mrpMapRxApplicantEvent(std::uint8_t attributeEvent) {
    constexpr auto firstReceived = static_cast<std::uint8_t>(MrpApplicantEvent::rxNew);
    return attributeEvent <= AttributeEvent::lv
               ? static_cast<MrpApplicantEvent>(firstReceived + attributeEvent)
               : MrpApplicantEvent::none;
}

bool MrpApplicantSm::ignores(MrpApplicantState state, MrpApplicantEvent event) {
    return table[static_cast<std::size_t>(state)][static_cast<std::size_t>(event)].action ==
           Action::none;
}

void MrpApplicantSm::mrpSetApplicantState(MrpApplicantState state) {
    if (const Ptr<MrpAttrDatabase> record = mrpSm_.mrpGetAttribute(false)) {
        record->applicantStateIs(state);
    }
}

void MrpApplicantSm::handleApplicantEvent() {
    const MrpApplicantEvent event = applicantEvent_;
    const Ptr<MrpAttrDatabase> record = mrpSm_.mrpGetAttribute(true);
    if (!record) {
        MRP_TRACE(0, " Memory failed for attrDatabase ");
        return;
    }
    MRP_TRACE(8, __PRETTY_FUNCTION__ << " Key = 0x" << hexStr(mrpSm_.parseContext()->attributeKey())
                                     << " Type= " << +mrpSm_.parseContext()->attributeType()
                                     << " intf = " << mrpSm_.parseContext()->intfId().name()
                                     << " Enter: state = " << record->applicantState()
                                     << " event = " << event);
    using Handler = void (MrpApplicantSm::*)(MrpApplicantEvent);
    static constexpr std::array<Handler, applicantStates> handlers{
        &MrpApplicantSm::handleVeryAnxiousObserver, &MrpApplicantSm::handleVeryAnxiousPassive,
        &MrpApplicantSm::handleVeryAnxiousNew,      &MrpApplicantSm::handleAnxiousNew,
        &MrpApplicantSm::handleAnxiousActive,       &MrpApplicantSm::handleQuietActive,
        &MrpApplicantSm::handleLeavingActive,       &MrpApplicantSm::handleAnxiousObserver,
        &MrpApplicantSm::handleQuietObserver,       &MrpApplicantSm::handleAnxiousPassive,
        &MrpApplicantSm::handleQuietPassive,        &MrpApplicantSm::handleLeavingObserver,
    };
    const auto state = static_cast<std::size_t>(record->applicantState());
    if (state < handlers.size()) {
        (this->*handlers[state])(event);
    } else {
        MRP_TRACE(0, "Invalid applicant State = " << state);
    }
    MRP_TRACE(8, " Exit: handleApplicantEvent, state = " << record->applicantState());
}

void MrpApplicantSm::handleVeryAnxiousObserver(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(VO, event);
}

void MrpApplicantSm::handleVeryAnxiousPassive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(VP, event);
}

void MrpApplicantSm::handleVeryAnxiousNew(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(VN, event);
}

void MrpApplicantSm::handleAnxiousNew(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(AN, event);
}

void MrpApplicantSm::handleAnxiousActive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(AA, event);
}

void MrpApplicantSm::handleQuietActive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(QA, event);
}

void MrpApplicantSm::handleLeavingActive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(LA, event);
}

void MrpApplicantSm::handleAnxiousObserver(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(AO, event);
}

void MrpApplicantSm::handleQuietObserver(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(QO, event);
}

void MrpApplicantSm::handleAnxiousPassive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(AP, event);
}

void MrpApplicantSm::handleQuietPassive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(QP, event);
}

void MrpApplicantSm::handleLeavingObserver(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(LO, event);
}

void MrpApplicantSm::applyRow(MrpApplicantState state, MrpApplicantEvent event) {
    const auto column = static_cast<std::size_t>(event);
    if (column >= applicantEvents) {
        return;
    }
    const Cell cell = table[static_cast<std::size_t>(state)][column];
    switch (cell.action) {
    case Action::none:
        return;
    case Action::nothing:
        break;
    case Action::newTwice:
        mrpApplicantSendNew(false);
        mrpApplicantSendNew(true);
        break;
    case Action::newOnce:
        mrpApplicantSendNew(false);
        break;
    case Action::joinTwice:
        mrpApplicantSendJoin(false);
        mrpApplicantSendJoin(true);
        break;
    case Action::joinOnce:
        mrpApplicantSendJoin(false);
        break;
    case Action::leave:
        mrpApplicantSendLeave();
        break;
    case Action::reg:
        mrpApplicantSendRegisteredState(false);
        break;
    case Action::regThenJoin:
        mrpApplicantSendRegisteredState(false);
        mrpApplicantSendJoin(true);
        break;
    }
    mrpSetApplicantState(cell.next);
}

void MrpApplicantSm::mrpApplicantSendNew(bool second) {
    send(AttributeEvent::newEvent, second);
}

void MrpApplicantSm::mrpApplicantSendJoin(bool second) {
    if (const Ptr<MrpAttrDatabase> record = mrpSm_.mrpGetAttribute(false)) {
        const bool registered = record->registrarState() == MrpRegistrarState::IN;
        send(registered ? AttributeEvent::joinIn : AttributeEvent::joinMt, second);
    }
}

void MrpApplicantSm::mrpApplicantSendLeave() {
    send(AttributeEvent::lv, false);
}

void MrpApplicantSm::mrpApplicantSendRegisteredState(bool second) {
    if (const Ptr<MrpAttrDatabase> record = mrpSm_.mrpGetAttribute(false)) {
        const bool registered = record->registrarState() == MrpRegistrarState::IN;
        send(registered ? AttributeEvent::in : AttributeEvent::mt, second);
    }
}

void MrpApplicantSm::send(std::uint8_t attributeEvent, bool second) {
    const MrpParseContext& context = *mrpSm_.parseContext();
    const MrpParameters parameters{context.intfId(), context.attributeType(), attributeEvent,
                                   false};
    mrpSm_.mrpLib()->mrpSendAttributeIntf(parameters, context.intfId(), second);
}

}  // namespace Mrp
