#include <gtest/gtest.h>

#include "Wire.h"

namespace MrpTest::Wire {
namespace {

constexpr std::uint64_t s = 0x0011223344550001;
const std::string da = talker(s, 0x91e0f0000e80);
const std::string noLog;

struct Row {
    const char* what;
    std::string body;  // behind the version
    std::string expected;
    std::string log = noLog;
    std::uint8_t version = 0;
};

void check(MrpApplication application, const std::vector<Row>& rows) {
    TestNode node(application);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        node.log.clear();
        EXPECT_EQ(parsed(node, row.body, row.version), row.expected);
        EXPECT_EQ(node.log.empty() ? noLog : node.log.front(), row.log);
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

// 0x64 to 0x66 are VLANs 100 to 102; 0x24 is one JoinIn, 0x2b three.
TEST(Parser, MvrpMessages) {
    const std::string good = "0102 0001 0064 24 0000";
    check(
        MrpApplication::mvrp,
        {
            {"three values", "0102 0003 0064 2b 0000 0000", "1:64=1 1:65=1 1:66=1 e3"},
            {"every event", "0102 0008 0064 08 b4 fb 0000 0000",
             "1:64=0 1:65=1 1:66=2 1:67=5 1:68=0 1:69=0 1:6a=6 1:6b=5 e8"},
            {"two vectors", "0102 0001 0064 24 0002 00c8 78 0000 0000", "1:64=1 1:c8=3 1:c9=2 e3"},
            {"two messages", good + "0102 0001 0065 00 0000 0000", "1:64=1 1:65=0 e2"},
            {"a key twice", "0102 0001 0064 24 0001 0064 b4 0000 0000", "1:64=5 1:64=5 e2"},
            {"past the last VLAN", "0102 0003 fffe 2b 0000 0000", "1:fffe=1 1:ffff=1 1:0=1 e3"},
            {"padding behind the EndMark", good + "0000 ffffff", "1:64=1 e1"},
            {"no EndMark of the PDU", good, "1:64=1 e1"},
            {"half an EndMark of the PDU", good + "00", "1:64=1 malformed e1"},
            {"nothing", "", "e0"},

            {"LeaveAll without values", "0102 2000 0000 0000 0000", "LA:1 e1"},
            {"LeaveAll without values, FirstValue set", "0102 2000 0064 0000 0000", "LA:1 e1"},
            {"LeaveAll with a value", "0102 2001 0064 24 0000 0000", "1:64=1 LA:1 e1"},
            {"bits 15 and 14 are ignored", "0102 e001 0064 24 c001 0065 24 0000 0000",
             "1:64=1 1:65=1 LA:1 e2"},
            {"0x6000 is a LeaveAll", "0102 6000 0000 0000 0000", "LA:1 e1"},

            {"type cut off", "01", "malformed e0"},
            {"second message cut off", good + "01", "1:64=1 malformed e1"},
            {"wrong length", "0103 0001 0064 24 0000 0000", "malformed e0"},
            {"wrong length behind a good message", good + "0104", "1:64=1 malformed e1"},
            {"unknown type", "0503 0001 000000 24 0000 0000", "malformed e0"},
            {"list without EndMark", "0102 0001 0064 24", "1:64=1 malformed e1"},
            {"list with half an EndMark", "0102 0001 0064 24 00", "1:64=1 malformed e1"},
            {"two octets that are no EndMark", "0102 0001 0064 24 0102", "1:64=1 malformed e1"},

            {"unknown type of length 0, one vector", "0500 0001 0000 0000", "unknown e0",
             unidentified(5)},
            {"unknown type 0 of length 0", "0000 0001 0000" + good, "1:64=1 unknown e1",
             unidentified(0)},
            {"LeaveAll for an unknown type", "0500 2000 0000" + good, "1:64=1 LA:5 unknown e1",
             unidentified(5)},

            // The header of a refused vector is still at the head, where it reads as an EndMark.
            {"neither LeaveAll nor values", "0102 0000 0064 0000" + good, "malformed e0"},
            {"packed octets missing, EndMark behind", "0102 000a 0064 0000", "malformed e0",
             packedMissing(4, 2)},
        });
}

// A fault inside a vector counts again at the list, when no EndMark follows.
TEST(Parser, FaultsThatCountTwice) {
    check(MrpApplication::mvrp,
          {
              {"no vector", "0102", "malformed malformed e0"},
              {"an EndMark alone, read as a header", "0000", "malformed malformed e0"},
              {"vector header cut short", "0102 00", "malformed malformed e0"},
              {"FirstValue missing", "0102 0001", "malformed malformed e0"},
              {"FirstValue cut short", "0102 0001 00", "malformed malformed e0"},
              {"FirstValue of a LeaveAll cut short", "0102 2000 00", "LA:1 malformed malformed e0"},
              {"0x4000 without values", "0102 4000 0064 0000", "malformed malformed e0"},
              {"packed octets missing", "0102 0007 0064 2b2b", "malformed malformed e0",
               packedMissing(3, 2)},
              {"second vector's packed octets missing", "0102 2001 0064 24 0004 00c8 2b",
               "1:64=1 LA:1 malformed malformed e1", packedMissing(2, 1)},
          });
    check(MrpApplication::msrp,
          {
              {"Talker cut after 2 of 3 packed octets", "0119 0020 0007" + da + "2b2b",
               "malformed malformed e0", packedMissing(3, 2)},
              {"the same, reading as an EndMark", "0119 0020 0007" + da + "0000",
               "malformed malformed e0", packedMissing(3, 2)},
              {"Listener cut after 3 of 4 packed octets", "0308 0010 0005" + be(s, 8) + "2b2baa",
               "malformed malformed e0", packedMissing(4, 3)},
              {"Talker FirstValue cut short", "0119 001e 0001" + da.substr(0, 48),
               "malformed malformed e0"},
              {"Talker FirstValue missing, EndMark in its place", "0119 0004 0001 0000",
               "malformed malformed e0"},
              {"Talker Failed cut in its failure information", "0222 0027 0001" + da + "8000",
               "malformed malformed e0"},
              {"neither LeaveAll nor values", "0404 0008 0000 06030002 0000",
               "malformed malformed e0"},
              {"0x4000 without values", "0404 0008 4000 06030002 0000", "malformed malformed e0"},
          });
}

TEST(Parser, MsrpMessages) {
    const std::string id = be(s, 8);
    const std::string key = "1122334455000";  // but for its last digit
    check(
        MrpApplication::msrp,
        {
            {"Talkers",
             "0119 001e 0002" + da + "2a 0000 0222 0027 0001" + failed(s + 4, 0x91e0f0000e80) +
                 "b4 0000 0000",
             "1:" + key + "1=1 1:" + key + "2=1 2:" + key + "5=5 e3"},
            {"five Listeners", "0308 0010 2005" + id + "2b2b e4c0 0000 0000",
             "3:" + key + "1=1 3:" + key + "2=1 3:" + key + "3=1 3:" + key + "4=1 3:" + key +
                 "5=1 LA:3 e5"},
            {"Domains wherever they stand",
             "0404 000a 0004 ff030002 2b24 0000 0308 000e 0001" + id + "24 80 0000" +
                 "0404 0009 0001 06030002 00 0000 0000",
             "4:ff=1 4:0=1 4:1=1 4:2=1 4:6=0 3:" + key + "1=1 e6"},
            {"one Stream ID twice, of each type its own record",
             "0308 001a 0001" + id + "24 80 0001" + id + "b4 40 0000 0119 001e 0001" + da +
                 "00 0000 0000",
             "3:" + key + "1=5 3:" + key + "1=5 1:" + key + "1=0 e3"},
            {"LeaveAll vectors", "0308 0018 2000" + be(0, 8) + "0001" + id + "24 80 0000 0000",
             "3:" + key + "1=1 LA:3 e2"},
            {"LeaveAll of every type",
             "0119 001d 2000" + be(0, 25) + "0000 0222 0026 2000" + be(0, 34) +
                 "0000 0308 000c 2000" + be(0, 8) + "0000 0404 0008 2000 00000000 0000 0000",
             "LA:1 LA:2 LA:3 LA:4 e4"},

            {"list length 0", "0404 0000 0001 06030002 24 0000 0000", "malformed e0"},
            {"list length 0 in a newer PDU", "0404 0000 0001 06030002 24 0000 0000",
             "version malformed e0", noLog, 1},
            {"list length cut short", "0404 00", "malformed e0"},
            {"list longer than its vectors", "0404 000a 0001 06030002 24 0000 0000",
             "4:6=1 malformed e1"},
            {"list shorter than its vectors", "0404 0008 0001 06030002 24 0000 0000",
             "4:6=1 malformed e1"},
            {"list shorter than a vector", "0119 0003 0001" + da + "24 0000 0000",
             "1:" + key + "1=1 malformed e1"},
            {"list without EndMark", "0404 0009 0001 06030002 24", "4:6=1 malformed e1"},
            {"wrong length", "0104 0009 0001 06030002 24 0000 0000", "malformed e0"},
            {"a fault behind a good message",
             "0404 0009 2001 06030002 24 0000 0505 0009 0001 0602030002 24 0000 0000",
             "4:6=1 LA:4 malformed e1"},
            {"unknown type of length 0", "0500 0002 0001 0000 0000", "unknown e0", unidentified(5)},
            {"unknown type of length 0, its header counted", "0500 0004 0001 0000 0000",
             "unknown malformed e0", unidentified(5)},
        });
}

TEST(Parser, NewerVersionsAreReadAsFarAsTheyGo) {
    const std::string vlan100 = "0102 0001 0064 24 0000 0000";
    check(
        MrpApplication::mvrp,
        {
            {"a known type", vlan100, "1:64=1 version e1", noLog, 1},
            {"highest version", vlan100, "1:64=1 version e1", noLog, 255},
            {"unknown type", "0703 0004 aabbcc 2424 0000" + vlan100, "1:64=1 version e1", noLog, 1},
            {"two vectors of an unknown type", "0703 0001 aabbcc 24 2001 aabbcc 24 0000" + vlan100,
             "1:64=1 version e1", noLog, 1},
            {"nothing but unknown", "0703 0001 aabbcc 24 0000 0000 ffff", "version e0", noLog, 1},
            {"a known type of another length", "0103 0001 aabbcc 24 0000" + vlan100,
             "1:64=1 version e1", noLog, 1},
            {"a fault in a known type", "0102 0001 0064 24", "1:64=1 version malformed e1", noLog,
             1},
            // 255 packed octets, 3 of FirstValue and 2 of header are skipped as 4.
            {"a vector of 260 octets", "0703 02fd aabb 0000" + vlan100, "1:64=1 version e1", noLog,
             1},
            {"a vector of 256 octets", "0703 02f1 aabb 0000" + vlan100, "version e0", noLog, 1},
            {"skipping past the end", "0703 0001 aa", "version e0", noLog, 1},
            {"skipping half a header", "0703 00", "version e0", noLog, 1},
            {"and the next PDU is of ours", "0703 0001 aabbcc 24 0000" + vlan100, "malformed e0"},
        });
    const std::string domain6 = "0404 0009 0001 06030002 24 0000 0000";
    check(
        MrpApplication::msrp,
        {
            {"unknown type", "0703 0008 0001 aabbcc 24 0000" + domain6, "4:6=1 version e1", noLog,
             1},
            {"nothing but unknown", "0703 0008 0001 aabbcc 24 0000 0000 ffff", "version e0", noLog,
             1},
            {"the list length alone tells how much", "0703 0003 ffffff" + domain6,
             "4:6=1 version e1", noLog, 1},
            {"a list longer than the PDU", "0703 0100" + domain6, "version e0", noLog, 1},
            {"the same in our version", "0703 0008 0001 aabbcc 24 0000" + domain6, "malformed e0"},
        });
}

TEST(Parser, StepsReportAndConsume) {
    TestNode node(MrpApplication::mvrp);
    const auto step = [&node](const std::string& body) {
        const Ptr<Pkt> pkt = pktOf(hex(body));
        const MrpParseStatus status = node.sm().parseMessage(*pkt);
        node.sm().dropParsed();
        return std::string(stringValue(status)) + " " + std::to_string(pkt->bytes());
    };
    EXPECT_EQ(step("0102 0001 0064 24 0000 0102 0001"), "parseContinue 4");
    EXPECT_EQ(step("0102 0001 0064 24 0000 0000 0102"), "parseEndOfPdu 4");
    EXPECT_EQ(step("0102 0001 0064 24 0000"), "parseContinue 0");
    EXPECT_EQ(step("0500 0001 0000 0000"), "parseEndOfPdu 2");
    EXPECT_EQ(step("0102 0000 0064 0000").substr(0, 14), "parseMalformed");
    EXPECT_EQ(step("0104 0001").substr(0, 14), "parseMalformed");
}

TEST(Parser, FiledValuesHoldTheirOctets) {
    TestNode node(MrpApplication::msrp);
    const auto filed = [&node](AttributeType type, AttributeKey key) {
        const MrpParsedAttribute* attribute = node.sm().mrpParsedAttribute().find({type, key});
        Bytes octets(attribute == nullptr ? 0 : attribute->attributeValue().size());
        if (attribute != nullptr) {
            attribute->attributeValue().copyTo(octets);
        }
        return text(octets);
    };
    const std::string advertise = "0119 001e 0002" + da + "2a 0000";
    const std::string listeners = "0308 0010 0005" + be(s, 8) + "2b2b 1bc0 0000";
    const std::string domains = "0404 0009 0002 06030002 2a 0000 0000";
    node.sm().parseMrpdu(*pktOf(hex("00" + advertise + "0222 0027 0002" +
                                    failed(s, 0xffffffffffff) + "2a 0000" + listeners + domains)));
    EXPECT_EQ(filed(talkerAdvertiseType, s), da);
    EXPECT_EQ(filed(talkerAdvertiseType, s + 1), talker(s + 1, 0x91e0f0000e81));
    EXPECT_EQ(filed(talkerFailedType, s + 1), failed(s + 1, 0));
    for (unsigned i = 0; i < 5; ++i) {
        EXPECT_EQ(filed(listenerType, s + i), listener(s + i, i < 4 ? i : 3));
    }
    EXPECT_EQ(filed(domainType, 7), domain(7, 4));
    EXPECT_EQ(node.sm().msrpParsedDomainKey().size(), 2U);
    // A reserved bit of the priority octet does not get in.
    node.sm().parseMrpdu(
        *pktOf(hex("00 0119 001e 0001" + da.substr(0, 40) + "7f" + da.substr(42) + "24 0000")));
    EXPECT_EQ(filed(talkerAdvertiseType, s), da);
    node.sm().dropParsed();
}

TEST(Parser, AnEmptyLeaveAllCountsAsAnEvent) {
    TestNode node(MrpApplication::mvrp);
    node.sm().parseContext()->attributeKeyIs(9);
    EXPECT_EQ(parsed(node, "0102 2000 0064 0000 0000"), "LA:1 e1");
    EXPECT_EQ(node.sm().parseContext()->attributeEvent(), AttributeEvent::in);
    EXPECT_EQ(node.sm().parseContext()->attributeKey(), 0U);
    EXPECT_EQ(node.sm().parseContext()->leaveAll(), 1U);
}

TEST(Parser, WhatCameBeforeAFaultIsApplied) {
    TestNode node(MrpApplication::mvrp);
    node.place(vlanType, 7, MrpApplicantState::QA, MrpRegistrarState::IN);
    node.receive("0102 2001 0064 24 0009 00c8 2b");
    EXPECT_EQ(node.states(vlanType, 100), "AO/IN");
    EXPECT_EQ(node.states(vlanType, 7), "QA/LV");
    EXPECT_EQ(node.counters().numOfMalformedPkts(), 2U);
    EXPECT_EQ(node.counters().numOfPktsProcessed(), 1U);
}

TEST(Parser, ARecycledPacketIsOnlyWalked) {
    TestNode node(MrpApplication::mvrp);
    node.place(vlanType, 7, MrpApplicantState::QA, MrpRegistrarState::IN);
    node.sm().recycledPktIs(true);
    node.receive("0102 2001 0064 24 0000 05");
    EXPECT_EQ(node.states(vlanType, 100), "-");
    EXPECT_EQ(node.states(vlanType, 7), "QA/IN");
    EXPECT_EQ(node.sm().parseContext()->eventsCounter(), 1U);
    EXPECT_EQ(node.counters().numOfMalformedPkts(), 1U);
    EXPECT_EQ(node.counters().numOfPktsProcessed(), 1U);
    EXPECT_FALSE(node.sm().recycledPkt());
    node.receive("0102 2001 0064 24 0000 0000");
    EXPECT_EQ(node.states(vlanType, 100), "AO/IN");
    EXPECT_EQ(node.states(vlanType, 7), "QA/LV");
}

TEST(Parser, FloodingFilesNothingButAppliesALeaveAll) {
    TestNode node(MrpApplication::mvrp, 1, [](MrpConfig& config) { config.mrpFloodingIs(true); });
    node.place(vlanType, 7, MrpApplicantState::QA, MrpRegistrarState::IN);
    node.receive("0102 2003 0064 2b 0000 0000");
    EXPECT_EQ(node.states(vlanType, 100), "-");
    EXPECT_EQ(node.states(vlanType, 7), "QA/LV");
    EXPECT_EQ(node.sm().parseContext()->eventsCounter(), 3U);
    EXPECT_EQ(node.counters().numOfPktsProcessed(), 1U);
}

// Another application than the two: the size of any type is 0, and vectors are counted one by one.
TEST(Parser, AnUnsupportedApplicationIsCounted) {
    TestNode node(static_cast<MrpApplication>(3));
    EXPECT_EQ(parsed(node, "0102 0001 0064 24 0000 0000"), "malformed e0");
    EXPECT_EQ(parsed(node, "0100 0001 0000 0000"), "e0");
    EXPECT_EQ(node.counters().numOfUnknownApplication(), 1U);
    EXPECT_EQ(node.sm().maxAttrTypes(), 0U);
}

}  // namespace
}  // namespace MrpTest::Wire
