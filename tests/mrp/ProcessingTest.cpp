#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Messages.h"
#include "platform/time/Dispatch.h"

namespace MrpTest {

namespace {

bool nothingInHand(MrpSm& sm) {
    return sm.mrpParsedAttribute().size() == 0 && sm.mrpParsedAttributeKey().empty() &&
           sm.msrpParsedDomainKey().empty() && sm.mrpRxLeaveAll().empty() &&
           !MrpSm::futureProtocolVersion();
}

}  // namespace

// While a LeaveAll is answered the registrar counts as the rest of the frame will leave it. The
// true state shows afterwards.
TEST(Processing, LeaveAllAnswersAsTheFrameDeclares) {
    const std::vector<std::pair<std::optional<std::uint8_t>, bool>> cases{
        {std::nullopt, false}, {Ev::newEvent, true}, {Ev::joinIn, true}, {Ev::in, false},
        {Ev::joinMt, true},    {Ev::mt, false},      {Ev::lv, false}};
    for (const auto& [event, joins] : cases) {
        for (const Registrar before : {Registrar::IN, Registrar::MT}) {
            SCOPED_TRACE(testing::Message() << int{event.value_or(99)} << " in " << before);
            TestNode node(MrpApplication::mvrp);
            placeVlan(node, 100, Applicant::QA, before);
            placeVlan(node, 200, Applicant::QO, Registrar::IN);  // not in the frame
            node.receive(event ? vlanPdu(100, *event, true) : vlanLeaveAll);
            const std::uint8_t join = joins ? Ev::joinIn : Ev::joinMt;
            // The LeaveAll's answers leave before the event of the frame is applied.
            const std::string answers = "010200010064" + octet(join * 36U) + "000100c89000000000";
            EXPECT_TRUE(takeSent(node).starts_with(answers + "|" + vlanPdu(100, join)));
            const std::string leaves = before == Registrar::IN ? "LV" : "MT";
            EXPECT_EQ(node.states(vlanType, 100), "QA/" + (joins ? "IN" : leaves));
            EXPECT_EQ(node.states(vlanType, 200), "VO/LV");
            EXPECT_TRUE(nothingInHand(node.sm()));
        }
    }
}

TEST(Processing, DomainsFirstThenInOrderOfArrival) {
    TestNode node(MrpApplication::msrp);
    node.receive(message(listenerType, stream(2), Ev::joinIn) +
                 message(talkerType, talker(1), Ev::newEvent) +
                 onePdu(domainType, "06030002", Ev::joinIn));
    std::string order;
    for (const Indication& indication : node.lib->indications) {
        order += std::to_string(indication.attribute.attributeType);
    }
    EXPECT_EQ(order, "431");
    EXPECT_TRUE(nothingInHand(node.sm()));
    // A neighbour's Domain does not change what we declare of the class.
    node.request(Ev::joinIn, domainType, hex("06030002"));
    node.runUntil(0.1);
    takeSent(node);
    node.receive(onePdu(domainType, "06020005", Ev::mt));
    EXPECT_EQ(takeSent(node), onePdu(domainType, "06030002", Ev::joinIn));
}

// The types of several LeaveAlls are answered in ascending order: in one packet, therefore.
TEST(Processing, LeaveAllsInAscendingTypeOrder) {
    TestNode node(MrpApplication::msrp);
    node.receive(message(talkerType, talker(1), Ev::joinIn) +
                 onePdu(listenerType, stream(1), Ev::joinIn));
    takeSent(node);
    node.receive(message(listenerType, stream(0), std::nullopt, true) +
                 message(talkerType, talker(0), std::nullopt, true) + pduEnd);
    EXPECT_EQ(takeSent(node),
              message(talkerType, talker(1), Ev::mt) + onePdu(listenerType, stream(1), Ev::mt));
}

// An indication may make requests while a frame is being applied.
TEST(Processing, IndicationDeclares) {
    TestNode node(MrpApplication::msrp, 2);
    node.lib->onIndication = [&](const Indication& indication) {
        const auto id = static_cast<unsigned>(indication.attribute.key);
        node.request(Ev::joinIn, talkerType, hex(talker(id)), 2);
        node.request(Ev::joinIn, listenerType, hex(stream(id) + "02000000"));
        node.request(Ev::lv, talkerType, hex(talker(id)));
        return id == 2;
    };
    const auto joinIn = [](unsigned id) { return message(talkerType, talker(id), Ev::joinIn); };
    node.receive(joinIn(1) + joinIn(2) + joinIn(3) + pduEnd);
    for (const unsigned id : {1U, 2U, 3U}) {
        EXPECT_EQ(node.states(talkerType, id), id == 2 ? "AO/MT" : "AO/IN");  // 2 is discarded
        EXPECT_EQ(node.states(talkerType, id, 2), "QA/MT");
        EXPECT_EQ(node.states(listenerType, id), "QA/MT");
        EXPECT_EQ(stored(node, talkerType, id), talker(id));
    }
    EXPECT_TRUE(nothingInHand(node.sm()));
}

TEST(Processing, IndicationDisablesTheInterface) {
    for (const bool discard : {false, true}) {
        TestNode node(MrpApplication::mvrp, 2);
        node.receive(vlanJoin(100), 2);
        node.declareVlan(100);
        node.runUntil(1);
        node.lib->onIndication = [&](const Indication&) {
            node.instance->disable(node.intf(1));
            node.lib->onIndication = nullptr;
            return discard;
        };
        node.receive(joins100to102);
        EXPECT_EQ(node.states(vlanType, 100), "-");
        EXPECT_TRUE(nothingInHand(node.sm()));
        EXPECT_EQ(node.lib->packetContext(node.intf(1), false), nullptr);
        node.runUntil(2);
        EXPECT_FALSE(node.committed(vlanType, 100));
        EXPECT_EQ(node.states(vlanType, 100, 2), "AO/IN");
    }
}

// What happens to another interface does not touch the frame in hand.
TEST(Processing, IndicationDisablesAnotherInterface) {
    TestNode node(MrpApplication::mvrp, 2);
    node.declareVlan(200, 2);
    node.lib->onIndication = [&](const Indication&) {
        node.sm().mrpPamSm()->transmitAllLeaveAll(node.intf(2));
        node.instance->disable(node.intf(2));
        return false;
    };
    node.receive(joins100to102);
    EXPECT_EQ(node.states(vlanType, 100), "AO/IN");
    EXPECT_EQ(node.states(vlanType, 102), "AO/IN");
}

// A walk over other attributes in the middle of the event: the event stays with its own.
TEST(Processing, IndicationTransmitsLeaveAll) {
    TestNode node(MrpApplication::mvrp);
    placeVlan(node, 200, Applicant::QA, Registrar::IN);
    node.lib->onIndication = [&](const Indication& indication) {
        node.sm().mrpPamSm()->transmitAllLeaveAll(node.intf(1));
        return indication.attribute.key == 101;
    };
    node.receive(joins100to102);
    EXPECT_EQ(node.states(vlanType, 101), "-");  // Very anxious after the walk, then discarded
    EXPECT_EQ(node.states(vlanType, 102).substr(3), "IN");
    EXPECT_EQ(node.states(vlanType, 200), "QA/IN");
    EXPECT_EQ(node.lib->indications.size(), 3U);
    EXPECT_TRUE(nothingInHand(node.sm()));
}

// A range error out of an indication: the agent lives on, and nothing of the frame stays behind.
TEST(Processing, IndicationThrows) {
    TestNode node(MrpApplication::mvrp);
    const auto fail = [](const Indication&) -> bool { throw std::range_error("not so"); };
    const auto errors = DispatchErrors::count();
    node.lib->onIndication = fail;
    const std::string body = joins100to102.substr(0, joins100to102.size() - 4) + vlanLeaveAll;
    node.receiveFrame(node.frameOf(body, 1));
    EXPECT_GT(DispatchErrors::count(), errors);
    EXPECT_TRUE(nothingInHand(node.sm()));
    node.lib->onIndication = nullptr;
    node.receive(joins100to102);
    EXPECT_EQ(node.states(vlanType, 102).substr(3), "IN");

    // Out of a leave timer's, in which it must not keep later leaves from their end.
    node.receive(vlanLeaveAll);
    node.lib->onIndication = fail;
    node.runUntil(1);
    node.lib->onIndication = nullptr;
    node.receive(vlanJoin(300));
    node.receive(vlanLeaveAll);
    node.runUntil(3);
    EXPECT_EQ(node.states(vlanType, 300), "-");
}

// A transmit that fails must not stop the tick that drives all transmission.
TEST(Processing, TransmitTickSurvivesAnError) {
    TestNode node(MrpApplication::mvrp);
    bool fail = true;
    const Reactor failing = node.dev(1).sent().react([&](const Ptr<Pkt>&) {
        if (std::exchange(fail, false)) {
            throw std::range_error("not so");
        }
    });
    node.declareVlan(5);
    node.runUntil(0.15);
    ASSERT_FALSE(fail);
    node.sent.clear();
    node.declareVlan(6);
    node.runUntil(0.5);
    EXPECT_FALSE(node.sent.empty());
}

}  // namespace MrpTest
