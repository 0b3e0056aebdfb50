#include <gtest/gtest.h>

#include <array>
#include <utility>

#include "Messages.h"

namespace MrpTest {

namespace {

using State = MrpRegistrarState;
using Event = MrpRegistrarEvent;
using Applicant = MrpApplicantState;

// What an event does in each state: the state after; j and l an indication, +j and +l a count; a
// log line (JOIN, received, notified); and the leave timers in which the attribute waits after.
// Before the event an attribute in LV waits in both.
struct Row {
    Event event;
    std::array<std::string, registrarStates> cells;
};

const std::array<Row, registrarEvents> table{{
    // IN, LV, MT
    {Event::rxNew, {"IN j +j JOIN", "IN j +j", "IN j +j JOIN"}},
    {Event::rxJoinIn, {"IN +j", "IN", "IN j +j JOIN"}},
    {Event::rxJoinMt, {"IN +j", "IN", "IN j +j JOIN"}},
    {Event::rxLv, {"LV received explicit", "LV received explicit shared", "MT received"}},
    {Event::rxLvAll, {"LV shared", "LV explicit shared", "MT"}},
    {Event::txLvAll, {"LV shared", "LV explicit shared", "MT"}},
    {Event::redeclare, {"LV shared", "LV explicit shared", "MT"}},
    {Event::flush, {"MT", "MT l +l notified explicit shared", "MT"}},
    {Event::leaveTimer, {"IN", "MT l +l notified", "MT"}},
    {Event::none, {"IN", "LV explicit shared", "MT"}},
}};

void post(TestNode& node, const MrpAttribute& attribute, Event event) {
    node.sm().mrpFillContextFromDatabase(attribute);
    node.sm().registrarSm()->registrarEventIs(event);
    node.sm().registrarSm()->handleRegistrarEvent();
}

bool waits(const MrpRegistrarSm::LeaveSms& timers, const MrpAttribute& timer, AttributeKey key) {
    const auto found = timers.find(timer);
    return found != timers.end() && found->second->leavePending(key);
}

std::string outcome(TestNode& node, const MrpAttribute& attribute) {
    std::string result =
        node.states(attribute.attributeType, attribute.key).substr(std::string("QO/").size());
    for (const Indication& indication : node.lib->indications) {
        result += indication.join ? " j" : " l";
        EXPECT_EQ(indication.attribute, attribute);
    }
    for (auto n = node.counters().numOfJoinIndications(); n > 0; --n) {
        result += " +j";
    }
    for (auto n = node.counters().numOfLeaveIndications(); n > 0; --n) {
        result += " +l";
    }
    for (const std::string& line : node.log) {
        const bool lv = line.starts_with("MRP_LV: MRP Lv ");
        result += !lv ? " JOIN" : line.find("Lv received") != line.npos ? " received" : " notified";
    }
    MrpRegistrarSm& registrar = *node.sm().registrarSm();
    if (waits(registrar.explicitLeaveSm(), attribute, attribute.key)) {
        result += " explicit";
    }
    if (waits(registrar.leaveSm(), {attribute.intfId, attribute.attributeType, 0}, attribute.key)) {
        result += " shared";
    }
    return result;
}

std::string received(TestNode& node, const std::string& pdu) {
    node.lib->indications.clear();
    const auto counted = node.counters().numOfJoinIndications();
    node.receive(pdu);
    return std::string(node.lib->indications.size(), 'j') +
           std::string(node.counters().numOfJoinIndications() - counted, '+');
}

}  // namespace

TEST(Registrar, EveryCell) {
    for (std::size_t e = 0; e < table.size(); ++e) {
        ASSERT_EQ(static_cast<std::size_t>(table[e].event), e);
        for (std::size_t s = 0; s < registrarStates; ++s) {
            const State state = static_cast<State>(s);
            SCOPED_TRACE(testing::Message() << table[e].event << " in " << state);
            TestNode node(MrpApplication::mvrp);
            const MrpAttribute attribute{node.intf(1), vlanType, 100};
            placeVlan(node, 100, Applicant::QO, state);
            if (state == State::LV) {
                MrpRegistrarSm& registrar = *node.sm().registrarSm();
                registrar.explicitLeaveSmIs(attribute)->leavePendingIs(100, true);
                registrar.leaveSmIs({attribute.intfId, vlanType, 0})->leavePendingIs(100, true);
            }
            post(node, attribute, table[e].event);
            EXPECT_EQ(outcome(node, attribute), table[e].cells[s]);
            node.runUntil(0.2);
            EXPECT_TRUE(node.sent.empty());
        }
    }
}

TEST(Registrar, LogLines) {
    TestNode node(MrpApplication::mvrp);
    const MrpAttribute attribute{node.intf(1), vlanType, 0x64};
    const Ptr<MrpAttrDatabase> record = node.place(vlanType, 0x64, Applicant::QO, State::MT);
    post(node, attribute, Event::rxJoinMt);
    post(node, attribute, Event::rxLv);
    post(node, attribute, Event::leaveTimer);
    const std::string where = " on et1, attrType: vlanVector, key: 64, state: ";
    ASSERT_GE(node.log.size(), 3U);
    EXPECT_EQ(node.log[0], "MRP_JOIN: MRP Join received" + where + "MT, event: rJoinMt!");
    EXPECT_EQ(node.log[1], "MRP_LV: MRP Lv received" + where + "IN, event: rLv!");
    EXPECT_EQ(node.log[2], "MRP_LV: MRP Lv notified" + where + "LV, event: leavetimer!");
    record->registrarStateIs(static_cast<State>(3));
    post(node, attribute, Event::rxNew);
    EXPECT_EQ(static_cast<int>(record->registrarState()), 3);
}

// j an indication, + a count.
TEST(Registrar, ChangedValueIsStoredThenIndicated) {
    TestNode node(MrpApplication::msrp);
    const auto joinIn = [](unsigned latency) {
        return onePdu(talkerType, talker(1, latency), Ev::joinIn);
    };
    std::string values;
    node.lib->onIndication = [&](const Indication&) {
        values += stored(node, talkerType, 1).back();
        return false;
    };
    const std::string lv = onePdu(talkerType, talker(1, 9), Ev::lv);
    EXPECT_EQ(received(node, joinIn(1)), "j+");
    EXPECT_EQ(received(node, joinIn(1)), "+");   // IN, the same
    EXPECT_EQ(received(node, joinIn(2)), "j+");  // IN, changed
    node.receive(lv);
    EXPECT_EQ(received(node, joinIn(2)), "");  // LV, the same
    node.receive(lv);
    EXPECT_EQ(received(node, joinIn(3)), "j");  // LV, changed
    EXPECT_EQ(values, "123");                   // already the new one when it is indicated
    EXPECT_EQ(node.states(talkerType, 1).substr(3), "IN");
    node.runUntil(2);
    EXPECT_EQ(node.counters().numOfLeaveIndications(), 0U);

    // A Listener's declaration type is part of its value.
    const auto listener = [](MsrpListenerEvent event) {
        return message(listenerType, stream(1), Ev::joinMt, false, event) + pduEnd;
    };
    node.lib->onIndication = nullptr;
    EXPECT_EQ(received(node, listener(MsrpListenerEvent::ready)), "j+");
    EXPECT_EQ(received(node, listener(MsrpListenerEvent::ready)), "+");
    EXPECT_EQ(received(node, listener(MsrpListenerEvent::readyFailed)), "j+");
}

TEST(Registrar, DomainIsAlwaysIndicatedAndNeverUpdated) {
    TestNode node(MrpApplication::msrp);
    const auto joinIn = [](const std::string& value) {
        return onePdu(domainType, value, Ev::joinIn);
    };
    EXPECT_EQ(received(node, joinIn("06030002")), "j+");
    EXPECT_EQ(received(node, joinIn("06030002")), "j+");
    EXPECT_EQ(received(node, joinIn("06020005")), "j+");  // the same class: the same attribute
    node.receive(onePdu(domainType, "06030002", Ev::lv));
    EXPECT_EQ(node.states(domainType, 6).substr(3), "LV");
    EXPECT_EQ(received(node, joinIn("06020005")), "j");
    EXPECT_EQ(stored(node, domainType, 6), "06030002");
}

TEST(Registrar, DiscardedJoinEndsInEmpty) {
    TestNode node(MrpApplication::mvrp);
    node.lib->onIndication = [](const Indication& indication) { return indication.join; };
    // JoinIn makes the applicant an observer: the record stays.
    node.receive(vlanJoin(100));
    EXPECT_EQ(node.states(vlanType, 100), "AO/MT");
    EXPECT_EQ(node.log.back(),
              "MRP_ERROR: Join was discarded by MSRP, interface: et1, attrType: 1, attrEvent: 1");
    EXPECT_EQ(node.counters().numOfJoinIndications(), 1U);
    // New leaves it Very anxious: neither declared nor registered, the record goes at once.
    node.receive(vlanPdu(101, Ev::newEvent));
    EXPECT_EQ(node.states(vlanType, 101), "-");
    EXPECT_EQ(node.log.back(),
              "MRP_ERROR: Join was discarded by MSRP, interface: et1, attrType: 1, attrEvent: 0");
    // From IN, by rNew!.
    node.place(vlanType, 102, Applicant::QA, State::IN);
    post(node, {node.intf(1), vlanType, 102}, Event::rxNew);
    EXPECT_EQ(node.states(vlanType, 102), "QA/MT");
}

TEST(Registrar, NeitherDeclaredNorRegisteredIsForgotten) {
    TestNode node(MrpApplication::mvrp);
    const MrpAttribute attribute{node.intf(1), vlanType, 100};
    // No record: nothing happens, nothing is logged.
    post(node, attribute, Event::rxLv);
    EXPECT_TRUE(node.log.empty());
    EXPECT_EQ(node.states(vlanType, 100), "-");
    // Flush! in LV leaves the attribute in its timer's set; the step after takes it out.
    placeVlan(node, 100, Applicant::VO, State::IN);
    post(node, attribute, Event::rxLv);
    post(node, attribute, Event::flush);
    EXPECT_EQ(node.states(vlanType, 100), "-");
    EXPECT_FALSE(waits(node.sm().registrarSm()->explicitLeaveSm(), attribute, 100));
    // Leave for an unknown attribute: answered that it is not registered, then forgotten.
    node.receive(vlanLv(200));
    EXPECT_EQ(takeSent(node), vlanPdu(200, Ev::mt));
    EXPECT_EQ(node.states(vlanType, 200), "-");
}

}  // namespace MrpTest
