#include <gtest/gtest.h>

#include <array>

#include "Messages.h"

namespace MrpTest {

namespace {

using State = MrpRegistrarState;
using Event = MrpRegistrarEvent;

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
    const auto append = [&result](MrpCounters::Count times, const char* what) {
        while (times-- > 0) {
            result += what;
        }
    };
    append(node.counters().numOfJoinIndications(), " +j");
    append(node.counters().numOfLeaveIndications(), " +l");
    for (const std::string& line : node.log) {
        const bool lv = line.starts_with("MRP_LV: MRP Lv ");
        result += !lv ? " JOIN" : line.find("Lv received") != line.npos ? " received" : " notified";
    }
    MrpRegistrarSm& registrar = *node.sm().registrarSm();
    append(waits(registrar.explicitLeaveSm(), attribute, attribute.key), " explicit");
    const MrpAttribute shared{attribute.intfId, attribute.attributeType, 0};
    append(waits(registrar.leaveSm(), shared, attribute.key), " shared");
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
                registrar.explicitLeaveSmIs(attribute)->leavePendingIs(100);
                registrar.leaveSmIs({attribute.intfId, vlanType, 0})->leavePendingIs(100);
            }
            post(node, attribute, table[e].event);
            EXPECT_EQ(outcome(node, attribute), table[e].cells[s]);
        }
    }
}

TEST(Registrar, LogLines) {
    TestNode node(MrpApplication::mvrp);
    const MrpAttribute attribute{node.intf(1), vlanType, 0x64};
    node.place(vlanType, 0x64, Applicant::QO, State::MT);
    for (const Event event : {Event::rxJoinMt, Event::rxLv, Event::leaveTimer}) {
        post(node, attribute, event);
    }
    const std::string where = " on et1, attrType: vlanVector, key: 64, state: ";
    EXPECT_EQ(node.log, (std::vector<std::string>{
                            "MRP_JOIN: MRP Join received" + where + "MT, event: rJoinMt!",
                            "MRP_LV: MRP Lv received" + where + "IN, event: rLv!",
                            "MRP_LV: MRP Lv notified" + where + "LV, event: leavetimer!"}));
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

    // A Listener's declaration type is part of its value.
    const auto listener = [](MsrpListenerEvent event) {
        return message(listenerType, stream(1), Ev::joinMt, false, event) + pduEnd;
    };
    node.lib->onIndication = nullptr;
    EXPECT_EQ(received(node, listener(MsrpListenerEvent::ready)), "j+");
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
    // New leaves it Very anxious: neither declared nor registered, the record goes at once.
    node.receive(vlanPdu(101, Ev::newEvent));
    EXPECT_EQ(node.states(vlanType, 101), "-");
    // From IN, by rNew!.
    node.place(vlanType, 102, Applicant::QA, State::IN);
    post(node, {node.intf(1), vlanType, 102}, Event::rxNew);
    EXPECT_EQ(node.states(vlanType, 102), "QA/MT");
}

// Leave for an unknown attribute: answered that it is not registered, then forgotten.
TEST(Registrar, NeitherDeclaredNorRegisteredIsForgotten) {
    TestNode node(MrpApplication::mvrp);
    node.receive(vlanLv(200));
    EXPECT_EQ(takeSent(node), vlanPdu(200, Ev::mt));
    EXPECT_EQ(node.states(vlanType, 200), "-");
}

}  // namespace MrpTest
