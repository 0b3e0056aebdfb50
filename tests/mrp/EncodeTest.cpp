#include <gtest/gtest.h>

#include <map>

#include "Wire.h"
#include "platform/packet/PktManager.h"

namespace MrpTest::Wire {
namespace {

constexpr std::uint64_t s = 0x0011223344550001;
constexpr std::uint64_t d = 0x91e0f0000e80;
constexpr std::uint8_t leaveAll = AttributeEvent::leaveAll;

AttributeType typeOf(const std::string& value) {
    static const std::map<std::size_t, AttributeType> types = {{50, talkerAdvertiseType},
                                                               {68, talkerFailedType},
                                                               {24, listenerType},
                                                               {8, domainType},
                                                               {4, vlanType}};
    return types.at(value.size());
}

// Sends the values, the first with event 1, the next with 2, and so on; "LA3" is a LeaveAll of
// type 3. Then flushes.
std::string sent(Sender& sender, const std::vector<std::string>& values) {
    std::uint8_t event = 0;
    for (const std::string& value : values) {
        ++event;
        if (value.starts_with("LA")) {
            sender.send(static_cast<AttributeType>(value[2] - '0'), "", leaveAll);
        } else {
            sender.send(typeOf(value), value, event % 6);
        }
    }
    return sender.flush();
}

// What follows the version: the messages up to the last EndMark of a list, and those that end.
std::string pdu(const std::string& messages) {
    return dense(messages) + "00000000";
}

std::string t(unsigned i) {
    return talker(s + i, d + i);
}

TEST(Encode, AFrameOf51Octets) {
    Sender sender(MrpApplication::msrp);
    sent(sender, {t(0)});
    ASSERT_EQ(sender.node.sent.size(), 1U);
    EXPECT_EQ(text(sender.node.sent[0].frame),
              dense("0180c200000e 020000000001 22ea 00") + pdu("0119 001e 0001" + t(0) + "24"));
    EXPECT_EQ(sender.node.lib->lastTxIntf(), sender.node.intf(1));
    EXPECT_EQ(sender.flush(), "") << "the packet has gone";
    EXPECT_EQ(sender.node.counters().numOfPktsTransmitted(), 1U);
    sender.node.interfaces.ethPhyIntfStatus->valueDel(sender.node.intf(1));
    sent(sender, {domain(6, 3)});
    EXPECT_EQ(text(sender.node.sent.back().frame),
              dense("0180c200000e 0200000000aa 22ea 00") + pdu("0404 0009 0001 06030002 24"));
}

struct Row {
    std::vector<std::string> values;  // see sent()
    std::string expected;
};

TEST(Encode, MsrpVectorsAndMessages) {
    const std::string listeners = "0308 000e 0001" + be(s, 8) + "24 80 0000";
    const std::string domain6 = "0404 0009 0001 06030002 ";
    const std::string other = talker(s + 1, d);
    const std::vector<Row> rows = {
        {{failed(s, d)}, pdu("0222 0027 0001" + failed(s, d) + "24")},
        {{"LA1"}, pdu("0119 001d 2000" + be(0, 25))},
        {{"LA2"}, pdu("0222 0026 2000" + be(0, 34))},
        {{"LA3"}, pdu("0308 000c 2000" + be(0, 8))},
        {{"LA4"}, pdu("0404 0008 2000 00000000")},

        {{t(0), t(1), t(2), t(3)}, pdu("0119 001f 0004" + t(0) + "33 90")},
        {{t(0), other}, pdu("0119 003a 0001" + t(0) + "24 0001" + other + "48")},
        {{other, t(1)}, pdu("0119 003a 0001" + other + "24 0001" + t(1) + "48")},
        {{t(0), t(5), t(1), t(2)},
         pdu("0119 0056 0001" + t(0) + "24 0001" + t(5) + "48 0002" + t(1) + "84")},
        {{failed(s, d), failed(s + 1, d + 1), failed(s + 3, d + 3)},
         pdu("0222 004c 0002" + failed(s, d) + "30 0001" + failed(s + 3, d + 3) + "6c")},
        {{listener(s, 1), listener(s + 1, 2), listener(s + 2, 3), listener(s + 3, 1),
          listener(s + 5, 2)},
         pdu("0308 001b 0004" + be(s, 8) + "33 90 6d 0001" + be(s + 5, 8) + "b4 80")},
        {{domain(6, 3), domain(7, 4), domain(8, 4)},
         pdu("0404 0010 0002 06030002 30 0001 08040002 6c")},
        {{domain(255, 3), domain(0, 4)}, pdu("0404 0010 0001 ff030002 24 0001 00040002 48")},

        {{listener(s, 2), domain(6, 3)}, pdu(listeners + domain6 + "48")},
        {{domain(6, 3), "LA3"}, pdu(domain6 + "24") + "|" + pdu("0308 000c 2000" + be(0, 8))},
        {{domain(6, 3), "LA4", domain(7, 4)},
         pdu(domain6 + "24 0000 0404 000f 2000 00000000 0001 07040002 6c")},
        {{"LA4", domain(0, 0)}, pdu("0404 0009 2001 00000000 48")},
    };
    Sender sender(MrpApplication::msrp);
    for (const Row& row : rows) {
        EXPECT_EQ(sent(sender, row.values), row.expected);
    }
}

// The EndMark of a message goes where its first vector would end if it had the current one's size.
// What it cuts off is lost, and zeroed before anything is packed there.
TEST(Encode, MvrpVectorsAndMessages) {
    const std::vector<Row> rows = {
        {{vlan(100)}, pdu("0102 0001 0064 24")},
        {{"LA1"}, pdu("0102 2000 0000")},
        {{vlan(100), vlan(101), vlan(103), vlan(102)},
         pdu("0102 0002 0064 30 0001 0067 6c 0001 0066 90")},
        {{vlan(1), vlan(3), "LA1"}, pdu("0102 0001 0001 24 0000 0102 2000 0000")},
        {{"b4b4", "b5b6", "b6b8", "b7ba", "b8bc", "LA1", vlan(700), vlan(701)},
         pdu("0102 0001 b4b4 24 0000 0102 2000 0000 0002 02bc 30")},
        {{vlan(1), vlan(10), vlan(11), vlan(12), vlan(13), "LA1"},
         pdu("0102 0001 0001 24 00 0000 0102 2000 0000")},
    };
    Sender sender(MrpApplication::mvrp);
    for (const Row& row : rows) {
        EXPECT_EQ(sent(sender, row.values), row.expected);
    }
}

TEST(Encode, APendingLeaveAllRidesOnTheNextNewVector) {
    Sender sender(MrpApplication::msrp, 2);
    MrpParseContext& context = *sender.node.sm().parseContext();
    for (const Row& row : {Row{{t(0)}, pdu("0119 001e 2001" + t(0) + "24")},
                           {{failed(s, d)}, pdu("0222 0027 2001" + failed(s, d) + "24")},
                           {{listener(s, 2)}, pdu("0308 000e 2001" + be(s, 8) + "24 80")},
                           {{domain(6, 3)}, pdu("0404 0009 2001 06030002 24")}}) {
        context.sendTxLvAllIs(true);
        EXPECT_EQ(sent(sender, row.values), row.expected);
        EXPECT_FALSE(context.sendTxLvAll());
    }
    sender.send(domainType, domain(6, 3), 1);
    context.sendTxLvAllIs(true);
    sender.send(domainType, domain(7, 4), 1);
    EXPECT_TRUE(context.sendTxLvAll()) << "not by an extension";
    sender.send(domainType, domain(0, 0), leaveAll, false, 2);
    EXPECT_TRUE(context.sendTxLvAll()) << "not by a LeaveAll vector";
    sender.send(domainType, domain(9, 4), 1);
    sender.send(domainType, domain(10, 5), 1);
    EXPECT_EQ(sender.flush(), pdu("0404 0010 0002 06030002 2a 2002 09040002 2a"));
    Sender vlans(MrpApplication::mvrp);
    vlans.node.sm().parseContext()->sendTxLvAllIs(true);
    EXPECT_EQ(sent(vlans, {vlan(5), vlan(6), vlan(8)}), pdu("0102 2002 0005 30 0001 0008 6c"));
}

// A packet leaves as soon as less than 65 octets are left of 1500, or of the interface's limit.
TEST(Encode, FullPacketsLeaveAtOnce) {
    Sender sender(MrpApplication::msrp);
    for (unsigned i = 0; i < 52; ++i) {
        EXPECT_TRUE(sender.node.sent.empty()) << i;
        sender.send(talkerAdvertiseType, talker(s + 2 * i, d), 1);
    }
    ASSERT_EQ(sender.node.sent.size(), 1U);
    EXPECT_EQ(sender.node.sent[0].frame.size(), 4 + 52 * 28 + 2 + 17U);
    EXPECT_EQ(sender.node.sent[0].messages().substr(0, 12), "011905b20001");

    Sender vlans(MrpApplication::mvrp);
    // That many vectors of one VLAN, and then VLANs that follow on from the last.
    const auto framesAfter = [&vlans](std::optional<std::size_t> limit, unsigned vectors,
                                      unsigned inSequence) {
        vlans.flush();
        vlans.node.sent.clear();
        vlans.node.interfaces.allIntfStatus->valueIs(vlans.node.intf(1), {limit});
        for (unsigned i = 0; i < vectors; ++i) {
            vlans.send(vlanType, vlan(2 * i), 1);
        }
        for (unsigned i = 1; i <= inSequence; ++i) {
            vlans.send(vlanType, vlan(2 * (vectors - 1) + i), 1);
        }
        return vlans.node.sent.size();
    };
    EXPECT_EQ(framesAfter(std::nullopt, 286, 11), 0U) << "1435 octets, and 64";
    EXPECT_EQ(framesAfter(std::nullopt, 286, 12), 1U) << "1436 octets, and 64";
    EXPECT_EQ(framesAfter(204, 27, 8), 0U) << "139 octets, and 64";
    EXPECT_EQ(framesAfter(204, 27, 9), 1U) << "140 octets, and 64";
    EXPECT_EQ(framesAfter(9000, 286, 12), 1U) << "a higher limit does not help";
    EXPECT_EQ(framesAfter(10, 3, 0), 3U);
}

TEST(Encode, TheSecondPacketIsIndependentOfTheFirst) {
    Sender sender(MrpApplication::msrp, 2);
    sender.send(domainType, domain(6, 3), 1);
    sender.send(listenerType, listener(s, 2), 1, true);
    sender.send(domainType, domain(9, 3), 1, true);
    EXPECT_EQ(sender.flush(),
              pdu("0404 0009 0001 06030002 24") + "|" +
                  pdu("0308 000e 0001" + be(s, 8) + "24 80 0000 0404 0009 0001 09030002 24"));
    // The walk over all interfaces sees only those with a first packet.
    sender.node.sent.clear();
    sender.send(domainType, domain(6, 3), 1, true, 1);
    sender.send(domainType, domain(6, 3), 1, false, 2);
    sender.send(domainType, domain(7, 3), 1, true, 2);
    sender.node.sm().mrpTransmitTxAttributes();
    ASSERT_EQ(sender.node.sent.size(), 2U);
    EXPECT_EQ(sender.node.sent[0].intfId, sender.node.intf(2));
    EXPECT_EQ(sender.node.sent[1].intfId, sender.node.intf(2));
    sender.node.sm().mrpTransmitTxAttributes(sender.node.intf(1));
    EXPECT_EQ(sender.node.sent.size(), 3U);
}

TEST(Encode, WhatCannotBeSent) {
    Sender sender(MrpApplication::mvrp);
    MrpLib& lib = *sender.node.lib;
    const IntfId other("no-packet-access");
    lib.mrpSendAttributeIntf({other, vlanType, 1, false}, other, false);
    EXPECT_FALSE(lib.packetContext(other, false)) << "not even begun";
    PktManager::instance().maxPktBytesIs(1000);
    sender.send(vlanType, vlan(5), 1);
    PktManager::instance().maxPktBytesIs(10000);
    EXPECT_FALSE(lib.packetContext(sender.node.intf(1), false)) << "no packet to be had";
    // A packet that lost its interface stays for later.
    sender.send(vlanType, vlan(5), 1);
    lib.mrpTxPacketContextIs(other, lib.packetContext(sender.node.intf(1), false));
    sender.node.sm().mrpTransmitTxPacket(other, false);
    EXPECT_TRUE(lib.packetContext(other, false));
    EXPECT_EQ(sender.flush(), pdu("0102 0001 0005 24"));
    EXPECT_EQ(sender.node.counters().numOfPktsTransmitted(), 1U);

    Sender flooding(MrpApplication::mvrp, 1, [](MrpConfig& c) { c.mrpFloodingIs(true); });
    flooding.send(vlanType, vlan(5), 1);
    flooding.send(vlanType, vlan(5), 1, true);
    EXPECT_EQ(flooding.node.lib->mrpTxPacketContext().size(), 1U);
    EXPECT_EQ(flooding.flush(), "");
    EXPECT_TRUE(flooding.node.lib->mrpTxPacketContext().empty());
    EXPECT_TRUE(flooding.node.lib->mrpTxSecondPacketContext().empty());
    EXPECT_EQ(flooding.node.counters().numOfPktsTransmitted(), 0U);
}

// Messages and the state afterwards, for an attribute that nobody knows and for one in QA/MT.
TEST(Request, Codes) {
    const std::string news = pdu("0102 0001 0064 00") + "|" + pdu("0102 0001 0064 00") + " QA/MT";
    const std::string joins = pdu("0102 0001 0064 6c") + "|" + pdu("0102 0001 0064 6c") + " QA/MT";
    const std::string all = pdu("0102 2000 0000");
    const std::string lv = pdu("0102 0001 0064 b4");
    const std::vector<std::array<std::string, 2>> rows = {
        /* 0 */ {news, news},
        /* 1 */ {joins, joins},
        /* 2 */ {" -", " QA/MT"},
        /* 3 */ {joins, joins},
        /* 4 */ {" -", " QA/MT"},
        /* 5 */ {" -", lv + " -"},
        /* 6 */ {all + " -", all + " QA/MT"},
        /* 7 */ {" -", " -"},
        /* 8 */ {" -", " QA/MT"},
    };
    for (std::uint8_t code = 0; code < rows.size(); ++code) {
        for (const bool declared : {false, true}) {
            Sender sender(MrpApplication::mvrp);
            if (declared) {
                sender.node.place(vlanType, 100, MrpApplicantState::QA, MrpRegistrarState::MT);
            }
            sender.node.request(code, vlanType, hex("0064"));
            EXPECT_EQ(sender.flush() + " " + sender.node.states(vlanType, 100),
                      rows[code][declared])
                << int(code);
        }
    }
}

TEST(Request, ActsOncePerQueuedInterface) {
    Sender sender(MrpApplication::mvrp, 3);
    TestNode& node = sender.node;
    const MrpAttribute inHand{node.intf(3), 9, 77};
    node.sm().parseContext()->attributeIs(inHand);
    node.lib->txImage().vlan.vlanId = 100;
    const MrpParameters request{node.intf(1), vlanType, AttributeEvent::newEvent, false};
    node.lib->mrpSendAttribute(request);
    EXPECT_EQ(sender.flush(), "") << "the queue is empty";
    node.lib->mrpOutIntfQueueEnq(node.intf(2));
    node.lib->mrpOutIntfQueueEnq(node.intf(3));
    node.lib->mrpSendAttribute(request);
    EXPECT_TRUE(node.lib->mrpOutIntfQueue().empty());
    EXPECT_EQ(node.sm().parseContext()->attribute(), inHand);
    const std::string twice = pdu("0102 0001 0064 00 0001 0064 00");
    EXPECT_EQ(sender.flush(1), twice + "|" + twice);
    EXPECT_EQ(sender.flush(2) + sender.flush(3), "");
    const MrpAttrDatabase* record =
        node.sm().mrpGetAttrFromDatabase(node.intf(1), vlanType, 100, true);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(text({record->attributeValue().begin(), record->attributeValue().end()}), "0064");
}

}  // namespace
}  // namespace MrpTest::Wire
