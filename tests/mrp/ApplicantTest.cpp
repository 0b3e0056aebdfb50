#include <gtest/gtest.h>

#include <array>

#include "Messages.h"

namespace MrpTest {

namespace {

using State = MrpApplicantState;
using Event = MrpApplicantEvent;

// What an event does in each state: the message into the first and the one into the second packet
// (N New, J Join, L Leave, R the registered state; - none), and the state after. Nothing at all
// where the text is empty.
struct Row {
    Event event;
    std::array<std::string, applicantStates> cells;
};

const std::array<Row, applicantEvents> table{{
    // VO, VP, VN, AN, AA, QA, LA, AO, QO, AP, QP, LO
    {Event::newEvent,
     {"NN QA", "NN QA", "", "", "NN QA", "NN QA", "NN QA", "NN QA", "NN QA", "NN QA", "NN QA",
      "NN QA"}},
    {Event::join, {"JJ QA", "", "", "", "", "JJ QA", "J- QA", "J- QA", "-- QP", "", "", "JJ QA"}},
    {Event::lv,
     {"", "-- VO", "L- VO", "L- VO", "L- VO", "L- VO", "", "", "", "-- AO", "-- QO", ""}},
    {Event::redeclare,
     {"R- VO", "", "", "NN QA", "JJ QA", "JJ QA", "", "R- VO", "R- VO", "JJ QA", "JJ QA", ""}},
    {Event::flush, {}},
    {Event::rxNew, {}},
    {Event::rxJoinIn, {"-- AO", "J- QA", "", "", "-- QA", "", "", "-- QO", "", "-- QP", "", ""}},
    {Event::rxIn, {"", "", "", "", "-- QA", "", "", "", "", "", "", ""}},
    {Event::rxJoinMt, {"", "", "", "", "", "J- QA", "", "", "-- AO", "", "J- QA", "-- VO"}},
    {Event::rxMt, {"", "", "", "", "", "J- QA", "", "", "-- AO", "", "J- QA", "-- VO"}},
    {Event::rxLv,
     {"R- VO", "", "", "NN QA", "JJ QA", "JJ QA", "", "R- VO", "R- VO", "JJ QA", "JJ QA", ""}},
    {Event::rxLvAll,
     {"R- VO", "", "", "NN QA", "JJ QA", "JJ QA", "", "R- VO", "R- VO", "JJ QA", "JJ QA", ""}},
    {Event::txLvAll,
     {"R- VO", "RJ QA", "NN QA", "N- QA", "", "J- QA", "R- VO", "R- VO", "R- VO", "J- QA", "J- QA",
      ""}},
    {Event::none, {}},
}};

// The MRPDU that carries a message of the table.
std::string pduOf(char letter, Registrar registrar) {
    const bool in = registrar == Registrar::IN;
    switch (letter) {
    case 'N':
        return vlanPdu(100, Ev::newEvent);
    case 'J':
        return vlanPdu(100, in ? Ev::joinIn : Ev::joinMt);
    case 'L':
        return vlanPdu(100, Ev::lv);
    case 'R':
        return vlanPdu(100, in ? Ev::in : Ev::mt);
    default:
        return "";
    }
}

std::string sentPacket(TestNode& node, bool second) {
    node.sent.clear();
    node.sm().mrpTransmitTxPacket(node.intf(1), second);
    return node.sent.empty() ? "" : node.sent[0].messages();
}

}  // namespace

TEST(Applicant, EveryCellForEveryRegistrarState) {
    TestNode node(MrpApplication::mvrp);
    const Ptr<MrpAttrDatabase> record = placeVlan(node, 100, State::VO, Registrar::MT);
    node.sm().mrpFillContextFromDatabase({node.intf(1), vlanType, 100});
    for (std::size_t e = 0; e < table.size(); ++e) {
        ASSERT_EQ(static_cast<std::size_t>(table[e].event), e);
        for (std::size_t s = 0; s < applicantStates; ++s) {
            for (const Registrar registrar : {Registrar::IN, Registrar::LV, Registrar::MT}) {
                const State state = static_cast<State>(s);
                SCOPED_TRACE(testing::Message()
                             << table[e].event << " in " << state << "/" << registrar);
                std::string cell = table[e].cells[s];
                if (cell.empty()) {
                    cell = "-- " + std::string(stringValue(state));
                }
                record->applicantStateIs(state);
                record->registrarStateIs(registrar);
                node.sm().applicantSm()->applicantEventIs(table[e].event);
                node.sm().applicantSm()->handleApplicantEvent();
                EXPECT_EQ(stringValue(record->applicantState()), cell.substr(3));
                EXPECT_EQ(record->registrarState(), registrar);
                EXPECT_EQ(sentPacket(node, false), pduOf(cell[0], registrar));
                EXPECT_EQ(sentPacket(node, true), pduOf(cell[1], registrar));
            }
        }
    }
}

}  // namespace MrpTest
