#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "Wire.h"

namespace MrpTest::Wire {
namespace {

constexpr std::uint64_t s = 0x0011223344550001;
constexpr std::uint64_t d = 0x91e0f0000e80;
const std::string end = "0000";  // of a list or of the PDU
constexpr std::uint8_t leaveAll = AttributeEvent::leaveAll;

TEST(Encode, AFrameOf51Octets) {
    Sender sender(MrpApplication::msrp);
    sender.send(talkerAdvertiseType, talker(s, d), AttributeEvent::joinIn);
    EXPECT_EQ(sender.node.counters().numOfPktsTransmitted(), 0U);
    sender.flush();
    ASSERT_EQ(sender.node.sent.size(), 1U);
    EXPECT_EQ(sender.node.sent[0].frame.size(), 51U);
    EXPECT_EQ(text(sender.node.sent[0].frame),
              dense("0180c200000e 020000000001 22ea 00 0119 001e 0001" + talker(s, d) + "24" + end +
                    end));
    EXPECT_EQ(sender.node.counters().numOfPktsTransmitted(), 1U);
    EXPECT_EQ(sender.node.lib->lastTxIntf(), sender.node.intf(1));
    EXPECT_EQ(sender.flush(), "") << "the packet has gone";
    EXPECT_EQ(sender.node.counters().numOfPktsTransmitted(), 1U);

    sender.node.interfaces.ethPhyIntfStatus->valueDel(sender.node.intf(1));
    sender.send(domainType, domain(6, 3), AttributeEvent::lv);
    sender.flush();
    EXPECT_EQ(text(sender.node.sent.back().frame),
              dense("0180c200000e 0200000000aa 22ea 00 0404 0009 0001 06030002 b4" + end + end));
}

TEST(Encode, MessagesOfEveryType) {
    Sender msrp(MrpApplication::msrp);
    msrp.send(talkerFailedType, failed(s, d), AttributeEvent::joinMt);
    EXPECT_EQ(msrp.flush(), dense("0222 0027 0001" + failed(s, d) + "6c" + end + end));
    msrp.send(listenerType, listener(s, 3), AttributeEvent::newEvent);
    EXPECT_EQ(msrp.flush(), dense("0308 000e 0001" + be(s, 8) + "00 c0" + end + end));
    Sender mvrp(MrpApplication::mvrp);
    mvrp.send(vlanType, vlan(100), AttributeEvent::mt);
    EXPECT_EQ(mvrp.flush(), dense("0102 0001 0064 90" + end + end));
    mvrp.send(vlanType, vlan(100), leaveAll);
    EXPECT_EQ(mvrp.flush(), dense("0102 2000 0000" + end + end));
    for (const auto& [type, zeros, header] :
         {std::tuple{talkerAdvertiseType, 25, "0119 001d"},
          std::tuple{talkerFailedType, 34, "0222 0026"}, std::tuple{listenerType, 8, "0308 000c"},
          std::tuple{domainType, 4, "0404 0008"}}) {
        msrp.node.lib->mrpSendLeaveAll(type, msrp.node.intf(1));
        EXPECT_EQ(msrp.flush(), dense(header + (" 2000" + be(0, zeros)) + end + end));
    }
}

TEST(Encode, ValuesInSequenceShareAVector) {
    Sender sender(MrpApplication::msrp);
    const auto run = [&sender](AttributeType type, const std::vector<std::string>& values) {
        std::uint8_t event = 1;
        for (const std::string& value : values) {
            sender.send(type, value, event++);
        }
        return sender.flush();
    };
    const auto t = [](unsigned i) { return talker(s + i, d + i); };
    EXPECT_EQ(run(talkerAdvertiseType, {t(0), t(1), t(2)}),
              dense("0119 001e 0003" + t(0) + "33" + end + end));
    EXPECT_EQ(run(talkerAdvertiseType, {t(0), t(1), t(2), t(3)}),
              dense("0119 001f 0004" + t(0) + "33 90" + end + end));
    EXPECT_EQ(run(talkerAdvertiseType, {t(0), talker(s + 1, d)}),
              dense("0119 003a 0001" + t(0) + "24 0001" + talker(s + 1, d) + "48" + end + end));
    EXPECT_EQ(run(talkerAdvertiseType, {t(1), talker(s + 1, d + 2)}),
              dense("0119 003a 0001" + t(1) + "24 0001" + talker(s + 1, d + 2) + "48" + end + end));
    // The next one continues the second vector, not the first.
    EXPECT_EQ(
        run(talkerAdvertiseType, {t(0), t(5), t(1), t(2)}),
        dense("0119 0056 0001" + t(0) + "24 0001" + t(5) + "48 0002" + t(1) + "84 0000" + end));
    EXPECT_EQ(run(talkerFailedType, {failed(s, d), failed(s + 1, d + 1), failed(s + 3, d + 3)}),
              dense("0222 004c 0002" + failed(s, d) + "30 0001" + failed(s + 3, d + 3) + "6c" +
                    end + end));
    EXPECT_EQ(
        run(listenerType, {listener(s, 1), listener(s + 1, 2), listener(s + 2, 3),
                           listener(s + 3, 1), listener(s + 5, 2)}),
        dense("0308 001b 0004" + be(s, 8) + "33 90 6d 0001" + be(s + 5, 8) + "b4 80" + end + end));
    EXPECT_EQ(run(domainType, {domain(6, 3), domain(7, 4), domain(8, 4)}),
              dense("0404 0010 0002 06030002 30 0001 08040002 6c" + end + end));
    EXPECT_EQ(run(domainType, {domain(255, 3), domain(0, 4)}),
              dense("0404 0010 0001 ff030002 24 0001 00040002 48" + end + end));
    Sender vlans(MrpApplication::mvrp);
    for (const unsigned id : {100U, 101U, 102U, 103U, 105U, 104U}) {
        vlans.send(vlanType, vlan(id), AttributeEvent::lv);
    }
    EXPECT_EQ(vlans.flush(), dense("0102 0004 0064 d7 b4 0001 0069 b4 0001 0068 b4" + end + end));
}

TEST(Encode, TypesOnlyAscendWithinAPdu) {
    Sender sender(MrpApplication::msrp);
    sender.send(listenerType, listener(s, 2), AttributeEvent::joinIn);
    sender.send(domainType, domain(6, 3), AttributeEvent::joinIn);
    const std::string both =
        dense("0308 000e 0001" + be(s, 8) + "24 80 0000 0404 0009 0001 06030002 24" + end + end);
    EXPECT_EQ(sender.flush(), both);
    sender.send(listenerType, listener(s, 2), AttributeEvent::joinIn);
    sender.send(domainType, domain(6, 3), AttributeEvent::joinIn);
    sender.send(listenerType, listener(s, 2), AttributeEvent::lv);
    EXPECT_EQ(sender.node.sent.size(), 2U) << "sent at once";
    EXPECT_EQ(sender.flush(),
              both + "|" + dense("0308 000e 0001" + be(s, 8) + "b4 80" + end + end));
}

TEST(Encode, ALeaveAllOpensAMessage) {
    Sender sender(MrpApplication::msrp);
    sender.send(domainType, domain(6, 3), AttributeEvent::joinIn);
    sender.send(domainType, domain(6, 3), leaveAll);
    sender.send(domainType, domain(7, 4), AttributeEvent::joinIn);
    EXPECT_EQ(sender.flush(), dense("0404 0009 0001 06030002 24 0000"
                                    "0404 000f 2000 00000000 0001 07040002 24" +
                                    end + end));
    // Only an all-zero value follows on from the zeros of a LeaveAll.
    sender.send(domainType, domain(0, 0), leaveAll);
    sender.send(domainType, domain(0, 0), AttributeEvent::joinIn);
    EXPECT_EQ(sender.flush(), dense("0404 0009 2001 00000000 24" + end + end));
}

TEST(Encode, APendingLeaveAllRidesOnTheNextNewVector) {
    Sender sender(MrpApplication::msrp, 2);
    MrpParseContext& context = *sender.node.sm().parseContext();
    context.sendTxLvAllIs(true);
    sender.send(domainType, domain(6, 3), AttributeEvent::joinIn);
    EXPECT_FALSE(context.sendTxLvAll());
    sender.send(domainType, domain(7, 4), AttributeEvent::joinIn);
    EXPECT_EQ(sender.flush(), dense("0404 0009 2002 06030002 2a" + end + end));

    sender.send(domainType, domain(6, 3), AttributeEvent::joinIn);
    context.sendTxLvAllIs(true);
    sender.send(domainType, domain(7, 4), AttributeEvent::joinIn);
    EXPECT_TRUE(context.sendTxLvAll()) << "not by an extension";
    sender.send(domainType, domain(0, 0), leaveAll, false, 2);
    EXPECT_TRUE(context.sendTxLvAll()) << "not by a LeaveAll vector";
    EXPECT_EQ(sender.flush(), dense("0404 0009 0002 06030002 2a" + end + end));
    sender.send(listenerType, listener(s, 2), AttributeEvent::joinIn);
    EXPECT_FALSE(context.sendTxLvAll());
    EXPECT_EQ(sender.flush(), dense("0308 000e 2001" + be(s, 8) + "24 80" + end + end));
    context.sendTxLvAllIs(true);
    sender.send(talkerAdvertiseType, talker(s, d), AttributeEvent::joinIn);
    context.sendTxLvAllIs(true);
    sender.send(talkerFailedType, failed(s, d), AttributeEvent::joinIn);
    EXPECT_EQ(sender.flush(), dense("0119 001e 2001" + talker(s, d) + "24 0000 0222 0027 2001" +
                                    failed(s, d) + "24" + end + end));

    Sender vlans(MrpApplication::mvrp);
    vlans.send(vlanType, vlan(5), AttributeEvent::joinIn);
    vlans.node.sm().parseContext()->sendTxLvAllIs(true);
    vlans.send(vlanType, vlan(6), AttributeEvent::joinIn);
    vlans.send(vlanType, vlan(8), AttributeEvent::joinIn);
    EXPECT_EQ(vlans.flush(), dense("0102 0002 0005 2a 2001 0008 24" + end + end));
}

// A packet leaves as soon as less than 64 octets are left of 1500, or of the interface's limit.
TEST(Encode, FullPacketsLeaveAtOnce) {
    Sender sender(MrpApplication::msrp);
    for (unsigned i = 0; i < 52; ++i) {
        EXPECT_TRUE(sender.node.sent.empty()) << i;
        sender.send(talkerAdvertiseType, talker(s + 2 * i, d), AttributeEvent::joinIn);
    }
    ASSERT_EQ(sender.node.sent.size(), 1U);
    EXPECT_EQ(sender.node.sent[0].frame.size(), 4 + 52 * 28 + 2 + 17U);
    EXPECT_EQ(sender.node.sent[0].messages().substr(0, 12), "011905b20001");

    Sender vlans(MrpApplication::mvrp);
    const auto fill = [&vlans](std::size_t vectors, std::size_t inSequence) {
        for (std::size_t i = 0; i < vectors; ++i) {
            vlans.send(vlanType, vlan(static_cast<unsigned>(2 * i)), AttributeEvent::joinIn);
        }
        for (std::size_t i = 1; i <= inSequence; ++i) {
            vlans.send(vlanType, vlan(static_cast<unsigned>(2 * (vectors - 1) + i)),
                       AttributeEvent::joinIn);
        }
        return vlans.node.sent.size();
    };
    EXPECT_EQ(fill(286, 11), 0U) << "1435 octets, and 64";
    vlans.send(vlanType, vlan(570 + 12), AttributeEvent::joinIn);
    EXPECT_EQ(vlans.node.sent.size(), 1U) << "1436 octets, and 64";

    const auto limitIs = [&vlans](std::optional<std::size_t> limit) {
        vlans.flush();
        vlans.node.sent.clear();
        vlans.node.interfaces.allIntfStatus->valueIs(vlans.node.intf(1), {limit});
    };
    limitIs(206);
    EXPECT_EQ(fill(27, 9), 0U) << "140 octets, and 64";
    limitIs(204);
    EXPECT_EQ(fill(27, 8), 0U) << "139 octets, and 64";
    vlans.send(vlanType, vlan(52 + 9), AttributeEvent::joinIn);
    EXPECT_EQ(vlans.node.sent.size(), 1U) << "140 octets, and 64";
    limitIs(9000);
    EXPECT_EQ(fill(287, 0), 1U) << "a higher limit does not help";
    limitIs(std::nullopt);
    EXPECT_EQ(fill(286, 11), 0U);
    limitIs(10);
    EXPECT_EQ(fill(3, 0), 3U);
}

// The EndMark goes where the first vector would end, if it had the current one's size: the others
// are overwritten, and the rest of them is zeroed before anything is packed there.
TEST(Encode, AnMvrpMessageOfSeveralVectorsIsCutByALeaveAll) {
    Sender sender(MrpApplication::mvrp);
    sender.send(vlanType, vlan(100), AttributeEvent::lv);
    sender.send(vlanType, vlan(0), leaveAll);
    EXPECT_EQ(sender.flush(), dense("0102 0001 0064 b4 0000 0102 2000 0000" + end + end));
    sender.send(vlanType, vlan(100), AttributeEvent::lv);
    sender.send(vlanType, vlan(200), AttributeEvent::lv);
    sender.send(vlanType, vlan(0), leaveAll);
    EXPECT_EQ(sender.flush(), dense("0102 0001 0064 b4 0000 0102 2000 0000" + end + end));
    for (const unsigned id : {0xb4b4U, 0xb5b5U, 0xb6b6U, 0xb7b7U, 0xb8b8U}) {
        sender.send(vlanType, vlan(id), AttributeEvent::lv);
    }
    sender.send(vlanType, vlan(0), leaveAll);
    sender.send(vlanType, vlan(700), AttributeEvent::newEvent);
    sender.send(vlanType, vlan(701), AttributeEvent::newEvent);
    EXPECT_EQ(sender.flush(),
              dense("0102 0001 b4b4 b4 0000 0102 2000 0000 0002 02bc 00" + end + end));
    // The current vector is longer than the first one here: the EndMark falls into the second.
    for (const unsigned id : {1U, 10U, 11U, 12U, 13U}) {
        sender.send(vlanType, vlan(id), AttributeEvent::lv);
    }
    sender.send(vlanType, vlan(0), leaveAll);
    EXPECT_EQ(sender.flush(), dense("0102 0001 0001 b4 00 0000 0102 2000 0000" + end + end));
}

TEST(Encode, TheSecondPacketIsIndependentOfTheFirst) {
    Sender sender(MrpApplication::msrp, 2);
    sender.send(domainType, domain(6, 3), AttributeEvent::joinIn);
    sender.send(listenerType, listener(s, 2), AttributeEvent::joinIn, true);
    sender.send(domainType, domain(9, 3), AttributeEvent::joinIn, true);
    EXPECT_TRUE(sender.node.sent.empty());
    const std::string listeners = "0308 000e 0001" + be(s, 8) + "24 80 0000";
    EXPECT_EQ(sender.flush(), dense("0404 0009 0001 06030002 24" + end + end + "|" + listeners +
                                    "0404 0009 0001 09030002 24" + end + end));
    // The walk over all interfaces sees only those with a first packet.
    sender.send(domainType, domain(6, 3), AttributeEvent::joinIn, true, 1);
    sender.send(domainType, domain(6, 3), AttributeEvent::joinIn, false, 2);
    sender.send(domainType, domain(7, 3), AttributeEvent::joinIn, true, 2);
    sender.node.sent.clear();
    sender.node.sm().mrpTransmitTxAttributes();
    ASSERT_EQ(sender.node.sent.size(), 2U);
    EXPECT_EQ(sender.node.sent[0].intfId, sender.node.intf(2));
    EXPECT_EQ(sender.node.sent[1].intfId, sender.node.intf(2));
    EXPECT_TRUE(sender.node.lib->packetContext(sender.node.intf(1), true));
    sender.flush(1);
    EXPECT_EQ(sender.node.sent.size(), 3U);
    EXPECT_FALSE(sender.node.lib->packetContext(sender.node.intf(1), true));
}

TEST(Encode, WhatCannotBeSent) {
    Sender sender(MrpApplication::mvrp);
    MrpSm& sm = sender.node.sm();
    const IntfId other("no-packet-access");
    sender.node.lib->mrpSendAttributeIntf({other, vlanType, 1, false}, other, false);
    EXPECT_FALSE(sender.node.lib->packetContext(other, false)) << "not even begun";
    // A packet that lost its interface stays for later.
    sender.send(vlanType, vlan(5), AttributeEvent::joinIn);
    const Ptr<MrpTxPacketContext> context =
        sender.node.lib->packetContext(sender.node.intf(1), false);
    sender.node.lib->mrpTxPacketContextIs(other, context);
    sm.mrpTransmitTxPacket(other, false);
    EXPECT_EQ(sender.node.lib->packetContext(other, false), context);
    EXPECT_EQ(sender.node.counters().numOfPktsTransmitted(), 0U);
    EXPECT_EQ(sender.flush(), dense("0102 0001 0005 24" + end + end));
    sm.mrpTransmitTxPacket(IntfId(), true);
    EXPECT_EQ(sender.node.counters().numOfPktsTransmitted(), 1U);

    Sender flooding(MrpApplication::mvrp, 1, [](MrpConfig& c) { c.mrpFloodingIs(true); });
    flooding.send(vlanType, vlan(5), AttributeEvent::joinIn);
    flooding.send(vlanType, vlan(5), AttributeEvent::joinIn, true);
    EXPECT_TRUE(flooding.node.lib->packetContext(flooding.node.intf(1), false));
    EXPECT_EQ(flooding.flush(), "");
    EXPECT_FALSE(flooding.node.lib->packetContext(flooding.node.intf(1), false));
    EXPECT_FALSE(flooding.node.lib->packetContext(flooding.node.intf(1), true));
    EXPECT_EQ(flooding.node.counters().numOfPktsTransmitted(), 0U);
}

TEST(Request, Codes) {
    struct Row {
        std::uint8_t code;
        std::string fresh;     // messages for an attribute that nobody knows, and its state then
        std::string declared;  // the same for one in QA/MT
    };
    const auto one = [](const char* event) {
        return dense("0102 0001 0064 " + (event + end) + end);
    };
    const std::vector<Row> rows = {
        {0, one("00") + "|" + one("00") + " QA/MT", one("00") + "|" + one("00") + " QA/MT"},
        {1, one("6c") + "|" + one("6c") + " QA/MT", one("6c") + "|" + one("6c") + " QA/MT"},
        {2, " -", " QA/MT"},
        {3, one("6c") + "|" + one("6c") + " QA/MT", one("6c") + "|" + one("6c") + " QA/MT"},
        {4, " -", " QA/MT"},
        {5, " -", one("b4") + " -"},
        {6, "01022000000000000000 -", "01022000000000000000 QA/MT"},
        {7, " -", " -"},
        {8, " -", " QA/MT"},
    };
    for (const Row& row : rows) {
        for (const bool declared : {false, true}) {
            SCOPED_TRACE(int(row.code));
            Sender sender(MrpApplication::mvrp);
            if (declared) {
                sender.node.place(vlanType, 100, MrpApplicantState::QA, MrpRegistrarState::MT);
            }
            sender.node.request(row.code, vlanType, hex("0064"));
            EXPECT_EQ(sender.flush() + " " + sender.node.states(vlanType, 100),
                      declared ? row.declared : row.fresh);
        }
    }
}

TEST(Request, ActsOncePerQueuedInterface) {
    Sender sender(MrpApplication::mvrp, 3,
                  [](MrpConfig& config) { config.intfLeaveAllTimeIs(IntfId("et1"), 7); });
    TestNode& node = sender.node;
    MrpParseContext& context = *node.sm().parseContext();
    const MrpAttribute inHand{node.intf(3), 9, 77};
    context.attributeIs(inHand);
    node.lib->txImage().vlan.vlanId = 100;
    node.lib->mrpSendAttribute({node.intf(1), vlanType, AttributeEvent::newEvent, false});
    EXPECT_EQ(sender.flush(), "") << "the queue is empty";
    node.lib->mrpOutIntfQueueEnq(node.intf(2));
    node.lib->mrpOutIntfQueueEnq(node.intf(3));
    node.lib->mrpSendAttribute({node.intf(1), vlanType, AttributeEvent::newEvent, false});
    EXPECT_TRUE(node.lib->mrpOutIntfQueue().empty());
    EXPECT_EQ(context.attribute(), inHand);
    const std::string twice = dense("0102 0001 0064 00 0001 0064 00" + end + end);
    EXPECT_EQ(sender.flush(1), twice + "|" + twice);
    EXPECT_EQ(sender.flush(2) + sender.flush(3), "");
    const MrpAttrDatabase* record =
        node.sm().mrpGetAttrFromDatabase(node.intf(1), vlanType, 100, true);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(text({record->attributeValue().begin(), record->attributeValue().begin() + 3}),
              "006400");

    node.lib->mrpOutIntfQueueEnq(node.intf(2));
    node.lib->mrpOutIntfQueueEnq(node.intf(3));
    node.lib->mrpSendAttribute({node.intf(1), vlanType, leaveAll, false});
    EXPECT_EQ(sender.flush(1), "");
    const std::string alone = dense("0102 2000 0000" + end + end);
    EXPECT_EQ(sender.flush(2), alone);
    EXPECT_EQ(sender.flush(3), alone);
    const auto& times = node.sm().applicationDatabase()->leaveAllTime();
    EXPECT_EQ(times.at({node.intf(2), vlanType}), 7) << "the period of the requested interface";
}

TEST(Request, TheOutputQueue) {
    TestNode node(MrpApplication::mvrp, 3);
    MrpLib& lib = *node.lib;
    EXPECT_TRUE(lib.mrpOutIntfQueueDeq().empty());
    lib.mrpOutIntfQueueEnq(node.intf(1));
    lib.mrpOutIntfQueueEnq(node.intf(2));
    lib.mrpOutIntfQueueIs(1, node.intf(3));
    lib.mrpOutIntfQueueIs(5, node.intf(2));
    lib.mrpOutIntfQueueEnq(node.intf(1));
    lib.mrpOutIntfQueueDel(0);
    EXPECT_EQ(lib.mrpOutIntfQueueDeq(), node.intf(3));
    EXPECT_EQ(lib.mrpOutIntfQueueDeq(), node.intf(2));
    EXPECT_EQ(lib.mrpOutIntfQueue().headIndex(), 6U);
    lib.mrpOutIntfQueueDelAll();
    EXPECT_TRUE(lib.mrpOutIntfQueueDeq().empty());
}

// What one engine sends the parser of another reads, event by event.
TEST(Encode, RandomMessagesAreReadBack) {
    std::mt19937 random(7);
    Sender sender(MrpApplication::msrp);
    std::vector<std::string> expected;
    std::uint64_t id = s;
    for (int run = 0; run < 3000; ++run) {
        const auto type = static_cast<AttributeType>(1 + random() % 3);
        id += 2 + random() % 5;
        for (auto length = 1 + random() % (1U << random() % 6); length > 0; --length, ++id) {
            const auto event = static_cast<std::uint8_t>(random() % 6);
            const unsigned declaration = static_cast<unsigned>(random() % 4);
            sender.send(type,
                        type == listenerType       ? listener(id, declaration)
                        : type == talkerFailedType ? failed(id, id)
                                                   : talker(id, id),
                        event);
            expected.push_back(std::to_string(type) + ":" + be(id, 8).substr(2) + "=" +
                               std::to_string(event));
        }
    }
    sender.flush();
    TestNode reader(MrpApplication::msrp);
    std::vector<std::string> read;
    for (const SentFrame& frame : sender.node.sent) {
        ASSERT_LT(frame.frame.size(), 1500U + 14);
        std::istringstream words(parsed(reader, frame.messages()));
        for (std::string word; words >> word && word[0] != 'e';) {
            read.push_back(word);
        }
    }
    EXPECT_GT(sender.node.sent.size(), 100U);
    EXPECT_EQ(read, expected);
}

}  // namespace
}  // namespace MrpTest::Wire
