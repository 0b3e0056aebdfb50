#include <gtest/gtest.h>

#include "Wire.h"
#include "platform/packet/PktManager.h"

namespace MrpTest::Wire {
namespace {

struct Row {
    const char* what;
    std::string body;      // behind the version
    std::string expected;  // see parsed()
    std::uint8_t version = 0;
    std::string log = "";
};

void check(MrpApplication application, const std::vector<Row>& rows) {
    TestNode node(application);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        node.log.clear();
        EXPECT_EQ(parsed(node, row.body, row.version), row.expected);
        EXPECT_EQ(node.log.empty() ? "" : node.log.front(), row.log);
        EXPECT_LE(node.log.size(), 1U);
    }
}

std::string packedMissing(unsigned packed, unsigned left) {
    return "MRP_ERROR: Number of values " + std::to_string(packed) +
           " does not match with the packet bytes " + std::to_string(left) + " received on et1";
}

std::string unidentified(unsigned type) {
    return "MRP_ERROR: Unidentified attribute type " + std::to_string(type) + " received on et1";
}

const std::string id = "00000000000000a1";
const std::string advertise = talker(0xa1, 0x91e0f0000e80);
const std::string failure = failed(0xa1, 0xffffffffffff);
// One JoinIn is 24, three are 2b. VLAN 0064 is key 64.
const std::string vlan64 = "0102 0001 0064 24 0000";
const std::string domain6 = "0404 0009 0001 06030002 24 0000";

TEST(Parser, MvrpMessages) {
    const std::vector<Row> rows = {
        {"every event", "0102 0008 0064 08 b4 fb 0000 0000",
         "1:64=0 1:65=1 1:66=2 1:67=5 1:68=0 1:69=0 1:6a=6 1:6b=5 e8"},
        {"two vectors", "0102 0001 0064 24 0002 00c8 78 0000 0000", "1:64=1 1:c8=3 1:c9=2 e3"},
        {"a key twice", "0102 0001 0064 24 0001 0064 b4 0000 0000", "1:64=5 1:64=5 e2"},
        {"past the last VLAN", "0102 0003 fffe 2b 0000 0000", "1:fffe=1 1:ffff=1 1:0=1 e3"},
        {"padding behind the EndMark", vlan64 + "0000 ffffff", "1:64=1 e1"},
        {"no EndMark of the PDU", vlan64, "1:64=1 e1"},
        {"half an EndMark of the PDU", vlan64 + "00", "1:64=1 m e1"},
        {"nothing", "", "e0"},

        {"LeaveAll without values, no EndMark", "0102 2000 0000", "LA:1 m e1"},
        {"LeaveAll with a value", "0102 2001 0064 24 0000 0000", "1:64=1 LA:1 e1"},
        {"bits 15 and 14 are ignored", "0102 c001 0065 24 0000 0000", "1:65=1 e1"},
        {"0x6000 is a LeaveAll", "0102 6000 0000 0000 0000", "LA:1 e1"},

        {"type cut off", "01", "m e0"},
        {"wrong length", "0103 0001 0064 24 0000 0000", "m e0"},
        {"wrong length in the second message", vlan64 + "0104", "1:64=1 m e1"},
        {"unknown type", "0503 0001 000000 24 0000 0000", "m e0"},
        {"list without EndMark", "0102 0001 0064 24", "1:64=1 m e1"},
        {"list with half an EndMark", "0102 0001 0064 24 00", "1:64=1 m e1"},
        {"no EndMark but two octets", "0102 0001 0064 24 0102", "1:64=1 m e1"},

        {"unknown type of length 0", "0500 0001 0000 0000", "u e0", 0, unidentified(5)},
        {"type 0 of length 0", "0000 0001 0000" + vlan64, "1:64=1 u e1", 0, unidentified(0)},
        {"LeaveAll of an unknown type", "0500 2000 0000" + vlan64, "1:64=1 LA:5 u e1", 0,
         unidentified(5)},

        // What follows a refused vector is read as an EndMark first; an unread header is too.
        {"neither LeaveAll nor values", "0102 0000 0064 0000" + vlan64, "m e0"},
        {"packed octets missing", "0102 000a 0064 0000", "m e0", 0, packedMissing(4, 2)},

        // A fault inside a vector counts again at the list, when no EndMark follows.
        {"no vector", "0102", "mm e0"},
        {"an EndMark read as a message", "0000", "mm e0"},
        {"vector header cut short", "0102 00", "mm e0"},
        {"FirstValue missing", "0102 0001", "mm e0"},
        {"FirstValue cut short", "0102 0001 00", "mm e0"},
        {"FirstValue of a LeaveAll cut short", "0102 2000 00", "LA:1 mm e0"},
        {"0x4000 without values", "0102 4000 0064 0000", "mm e0"},
        {"packed octets missing", "0102 0007 0064 2b2b", "mm e0", 0, packedMissing(3, 2)},
        {"in the second vector", "0102 2001 0064 24 0004 00c8 2b", "1:64=1 LA:1 mm e1", 0,
         packedMissing(2, 1)},
    };
    check(MrpApplication::mvrp, rows);
}

TEST(Parser, MsrpMessages) {
    const std::vector<Row> rows = {
        {"Talkers",
         "0119 001e 0002" + advertise + "2a 0000 0222 0027 0001" + failure + "b4 0000 0000",
         "1:a1=1 1:a2=1 2:a1=5 e3"},
        {"five Listeners", "0308 0010 2005" + id + "2b2b e4c0 0000 0000",
         "3:a1=1 3:a2=1 3:a3=1 3:a4=1 3:a5=1 LA:3 e5"},
        {"Domains, wherever they stand",
         "0404 000a 0004 ff030002 2b24 0000 0308 000e 0001" + id + "24 80 0000" + domain6 + "0000",
         "4:ff=1 4:0=1 4:1=1 4:2=1 4:6=1 3:a1=1 e6"},
        {"LeaveAll before a value", "0308 0018 2000" + be(0, 8) + "0001" + id + "24 80 0000",
         "3:a1=1 LA:3 e2"},

        {"list length 0", "0404 0000 0001 06030002 24 0000 0000", "m e0"},
        {"the same in a newer PDU", "0404 0000 0001 06030002 24 0000", "v m e0", 1},
        {"list length cut short", "0404 00", "m e0"},
        {"list longer than its vectors", "0404 000a 0001 06030002 24 0000 0000", "4:6=1 m e1"},
        {"list shorter than its vectors", "0404 0008 0001 06030002 24 0000 0000", "4:6=1 m e1"},
        {"list shorter than a vector", "0119 0003 0001" + advertise + "24 0000", "1:a1=1 m e1"},
        {"list without EndMark", "0404 0009 0001 06030002 24", "4:6=1 m e1"},
        {"wrong length", "0104 0009 0001 06030002 24 0000 0000", "m e0"},
        {"fault in the second message", domain6 + "0505 0009 0001 0602030002 24", "4:6=1 m e1"},
        {"unknown type of length 0", "0500 0002 0001 0000 0000", "u e0", 0, unidentified(5)},
        {"the same, header counted", "0500 0004 0001 0000 0000", "u m e0", 0, unidentified(5)},

        // A fault inside a vector counts again at the list, when no EndMark follows.
        {"Talker, 2 of 3 packed octets", "0119 0020 0007" + advertise + "2b2b", "mm e0", 0,
         packedMissing(3, 2)},
        {"Listener, 3 of 4 packed octets", "0308 0010 0005" + id + "2b2baa", "mm e0", 0,
         packedMissing(4, 3)},
        {"Talker cut short", "0119 001e 0001" + advertise.substr(2), "mm e0"},
        {"an EndMark for a Talker", "0119 0004 0001 0000", "mm e0"},
        {"neither LeaveAll nor values", "0404 0008 0000 06030002 0000", "mm e0"},
    };
    check(MrpApplication::msrp, rows);
}

TEST(Parser, NewerVersionsAreReadAsFarAsTheyGo) {
    const std::vector<Row> mvrp = {
        {"highest version", vlan64, "1:64=1 v e1", 255},
        {"unknown type", "0703 0004 aabbcc 2424 0000" + vlan64, "1:64=1 v e1", 1},
        {"two vectors of it", "0703 0001 aabbcc 24 2001 aabbcc 24 0000" + vlan64, "1:64=1 v e1", 1},
        {"nothing else", "0703 0001 aabbcc 24 0000 0000 ffff", "v e0", 1},
        {"another length", "0103 0001 aabbcc 24 0000" + vlan64, "1:64=1 v e1", 1},
        {"a fault in a known type", "0102 0001 0064 24", "1:64=1 v m e1", 1},
        // 255 packed octets, 3 of FirstValue and 2 of header are skipped as 4.
        {"a vector of 260 octets", "0703 02fd aabb 0000" + vlan64, "1:64=1 v e1", 1},
        {"a vector of 256 octets", "0703 02f1 aabb 0000" + vlan64, "v e0", 1},
        {"skipping past the end", "0703 0001 aa", "v e0", 1},
        {"skipping half a header", "0703 00", "v e0", 1},
        {"the next PDU is of ours", "0703 0001 aabbcc 24 0000" + vlan64, "m e0"},
    };
    check(MrpApplication::mvrp, mvrp);
    const std::vector<Row> msrp = {
        {"unknown type", "0703 0008 0001 aabbcc 24 0000" + domain6, "4:6=1 v e1", 1},
        {"only the list length counts", "0703 0003 ffffff" + domain6, "4:6=1 v e1", 1},
        {"a list longer than the PDU", "0703 0100" + domain6, "v e0", 1},
        {"the same in our version", "0703 0008 0001 aabbcc 24 0000" + domain6, "m e0"},
    };
    check(MrpApplication::msrp, msrp);
}

TEST(Parser, FiledValuesHoldTheirOctets) {
    TestNode node(MrpApplication::msrp);
    const auto filed = [&node](AttributeType type, AttributeKey key) {
        const auto place = node.sm().mrpParsedAttribute().find({type, key});
        Bytes octets(place ? mrpSizeOfStoredValue(type, MrpApplication::msrp) : 0);
        if (place) {
            node.sm().mrpParsedAttribute().copyValue(*place, octets);
        }
        return text(octets);
    };
    // The reserved bits of the first Talker's priority octet are set.
    const Bytes pdu =
        hex("00 0119 001e 0002" + advertise.substr(0, 40) + "7f" + advertise.substr(42) +
            "2a 0000 0222 0027 0002" + failure + "2a 0000 0308 0010 0005" + id + "2b2b 1bc0 0000" +
            "0404 0009 0002 06030002 2a 0000 0000");
    node.sm().parseMrpdu(*PktManager::instance().newPkt(std::span(pdu)));
    EXPECT_EQ(filed(talkerAdvertiseType, 0xa1), advertise);
    EXPECT_EQ(filed(talkerAdvertiseType, 0xa2), talker(0xa2, 0x91e0f0000e81));
    EXPECT_EQ(filed(talkerFailedType, 0xa2), failed(0xa2, 0));
    for (unsigned i = 0; i < 5; ++i) {
        EXPECT_EQ(filed(listenerType, 0xa1 + i), listener(0xa1 + i, i < 4 ? i : 3));
    }
    EXPECT_EQ(filed(domainType, 7), domain(7, 4));
    node.sm().dropParsed();
    // What is received last stays in the slot; a Listener's declaration is that of its vector.
    parsed(node, "0308 000c 2000" + id + "0000");
    EXPECT_EQ(node.lib->rxImage().listener.streamId, 0xa1U);
    EXPECT_EQ(node.lib->rxImage().listener.listenerEvent(), MsrpListenerEvent::ignore);
    const MrpParseContext& context = *node.sm().parseContext();
    EXPECT_EQ(context.attributeEvent(), AttributeEvent::in);
    EXPECT_EQ(context.leaveAll(), 1U);
    parsed(node, domain6);
    EXPECT_EQ(context.leaveAll(), 0U);
}

// A frame with a LeaveAll, a declaration and a fault, received in each mode. What came before the
// fault is applied, but nothing of a recycled packet, and of a flooded one only the LeaveAll.
TEST(Parser, WhatIsAppliedOfAFrame) {
    enum Mode { plain, recycled, flooding };
    for (const Mode mode : {plain, recycled, flooding}) {
        SCOPED_TRACE(mode);
        TestNode node(MrpApplication::mvrp, 1,
                      [&](MrpConfig& config) { config.mrpFloodingIs(mode == flooding); });
        node.place(vlanType, 7, MrpApplicantState::QA, MrpRegistrarState::IN);
        node.sm().recycledPktIs(mode == recycled);
        node.receive("0102 2001 0064 24 0000 05");
        EXPECT_EQ(node.states(vlanType, 100), mode == plain ? "AO/IN" : "-");
        EXPECT_EQ(node.states(vlanType, 7), mode == recycled ? "QA/IN" : "QA/LV");
        EXPECT_EQ(node.sm().parseContext()->eventsCounter(), 1U);
        EXPECT_EQ(node.counters().numOfMalformedPkts(), 1U);
        EXPECT_EQ(node.counters().numOfPktsProcessed(), 1U);
        node.receive("0102 0001 0065 24 0000 0000");
        EXPECT_EQ(node.states(vlanType, 101), mode == flooding ? "-" : "AO/IN");
    }
}

TEST(Parser, AnUnsupportedApplicationIsCounted) {
    TestNode node(static_cast<MrpApplication>(3));
    EXPECT_EQ(parsed(node, vlan64), "m e0") << "any type has size 0";
    EXPECT_EQ(parsed(node, "0100 0001 0000 0000"), "e0");
    EXPECT_EQ(node.counters().numOfUnknownApplication(), 1U);
}

}  // namespace
}  // namespace MrpTest::Wire
