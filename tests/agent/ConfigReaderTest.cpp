#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

#include "agent/config/ConfigReader.h"
#include "agent/status/StatusJson.h"
#include "platform/base/Text.h"

namespace MrpAgent {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::string head = "interfaces = [\"eth1\", \"eth2\"]\n";

std::vector<std::string> errorsOf(const std::string& text) {
    return readConfig(text, "agent.toml").errors;
}

TEST(ConfigReader, everyErrorNamesFileLineKeyAndExpectation) {
    EXPECT_THAT(
        errorsOf("applications = [\"mvrp\", \"mzrp\"]\n"
                 "mrpFloodng = true\n"
                 "bridgeMacAddr = \"01:00:00:00:00:aa\"\n"
                 "[timers]\n"
                 "leaveTime = 0\n"
                 "interfaces.eth1.leaveTime = nan\n"
                 "[[listener]]\n"
                 "event = \"ignore\"\n"),
        ElementsAre(
            "agent.toml:1: applications: expected a list of \"mvrp\" and \"msrp\"",
            HasSubstr("agent.toml:1: interfaces: expected a list of interface names"),
            HasSubstr("agent.toml:2: mrpFloodng: unknown key, expected one of: applications,"),
            HasSubstr("agent.toml:3: bridgeMacAddr: expected the address of a station, not a"),
            "agent.toml:5: timers.leaveTime: expected a number of seconds > 0",
            "agent.toml:6: timers.interfaces.eth1.leaveTime: expected a number of seconds > 0",
            "agent.toml:7: listener.streamId: expected eight octets like "
            "\"02:00:00:00:00:aa:00:01\", or a whole number >= 0, found nothing",
            HasSubstr("agent.toml:8: listener.event: expected \"ready\", \"readyFailed\" or")));
}

TEST(ConfigReader, aValueIsCheckedByItself) {
    const std::string talker = head + "[[talkerAdvertise]]\nstreamId = 1\n"
                                      "dmac = \"91:e0:f0:00:fe:01\"\nvlanId = 2\n"
                                      "maxFrameSize = 224\nmaxIntervalFrames = 1\npriority = 3\n";
    ASSERT_THAT(errorsOf(talker), ElementsAre());
    const std::pair<std::string, std::string> faults[] = {
        {"rank = 2", ":9: talkerAdvertise.rank: expected a whole number from 0 to 1"},
        {"accumulatedLatency = 4294967296", ":9: talkerAdvertise.accumulatedLatency: expected"},
        {"interfaces = [\"eth3\"]", ":9: talkerAdvertise.interfaces: expected a list of names out"},
        {"new = 1", ":9: talkerAdvertise.new: expected true or false"},
        {"[[vlans]]\nids = 5\nregistration = \"fix\"",
         ":11: vlans.registration: expected \"normal\", \"fixed\" or \"forbidden\""},
        {"speed = 1", ":9: talkerAdvertise.speed: unknown key"},
        {"[[listener]]\nstreamId = \"02:00:00:00:00:aa:00\"\nevent = \"ready\"",
         ":10: listener.streamId: expected eight octets"},
        {"[[domain]]\nsrClassId = 6\nsrClassPriority = 3\nsrClassVID = 4095",
         ":12: domain.srClassVID"},
        {"[domain]\nsrClassId = 6", ":9: domain: expected an array of tables ([[domain]])"},
        {"[timers.interfaces.eth9]", ":9: timers.interfaces.eth9: expected the name of one of"},
        {"vlanId = 3", ":9: expected TOML: "},
        {"[[vlans]]\nids = 5\n[[vlans]]\nids = \"1-9\"\ninterfaces = [\"eth2\"]",
         ":11: vlans: expected an attribute that is not declared before on \"eth2\""},
    };
    for (const auto& [text, expected] : faults) {
        EXPECT_THAT(errorsOf(talker + text + "\n"), ElementsAre(HasSubstr("agent.toml" + expected)))
            << text;
    }
    EXPECT_THAT(
        errorsOf("applications = [\"mvrp\"]\n" + talker),
        ElementsAre("agent.toml:3: talkerAdvertise: expected \"msrp\" among the applications"));
    EXPECT_THAT(readConfigFile("/nowhere/agent.toml").errors,
                ElementsAre("/nowhere/agent.toml: cannot be read: No such file or directory"));
}

TEST(ConfigReader, readsVlansAndRanges) {
    const auto [config, errors] =
        readConfig(head + "[[vlans]]\nids = [\"9-11\", 4094, 10, \"1\"]\n", "agent.toml");
    EXPECT_THAT(errors, ElementsAre());
    const auto vlan = [](Mrp::AttributeKey key) { return testing::Field(&Declaration::key, key); };
    EXPECT_THAT(config.declarations, ElementsAre(vlan(1), vlan(9), vlan(10), vlan(11), vlan(4094)));
    for (const std::string wrong : {"0", "4095", "-1", "\"9-8\"", "\"9-\"", "\"-9\"", "\"0-9\"",
                                    "\"1-2-3\"", "\" 1\"", "1.5", "true", "[]", "[[1]]"}) {
        EXPECT_THAT(errorsOf(head + "[[vlans]]\nids = " + wrong + "\n"),
                    ElementsAre(HasSubstr(":3: vlans.ids: expected VLANs from 1 to 4094")))
            << wrong;
    }
}

TEST(ConfigReader, readsHowAVlanIsRegistered) {
    const auto [config, errors] = readConfig(
        head + "vlans = [{ids = 1, registration = 'normal'}, {ids = 2, registration = 'fixed'},"
               "{ids = 3, registration = 'forbidden', interfaces = ['eth2']}]\n",
        "agent.toml");
    EXPECT_THAT(errors, ElementsAre());
    const auto is = [](Registration registration) {
        return testing::Field(&Declaration::registration, registration);
    };
    EXPECT_THAT(config.declarations, ElementsAre(is(Registration::normal), is(Registration::fixed),
                                                 is(Registration::forbidden)));
}

TEST(ConfigReader, readsTheExampleWithAllItsFields) {
    const auto [config, errors] = readConfigFile(EXAMPLE_CONFIG);
    ASSERT_THAT(errors, ElementsAre());
    EXPECT_EQ(config.bridgeMacAddr->stringValue(), "02:00:00:00:00:aa");
    const auto mrpConfig = mrpConfigOf(config);
    EXPECT_EQ(mrpConfig->leaveAllTime(), 10);
    EXPECT_EQ(mrpConfig->intfLeaveTime().at(Platform::IntfId("eth2")), 1);
    EXPECT_EQ(mrpConfig->intfLeaveAllTime().size(), 1U);

    std::vector<std::string> values;
    for (const Declaration& declaration : config.declarations) {
        values.push_back((declaration.newEvent ? "new " : "") +
                         Platform::hexBytes(declaration.value));
    }
    ASSERT_EQ(values.size(), 18U);
    // A talker: stream, destination, VLAN, frame size, frames an interval, priority and rank,
    // latency; then, where it failed, bridge and failure code.
    EXPECT_THAT(std::span(values).subspan(11),
                ElementsAre("0ffe", "new 00c8", "012c",
                            "0200000000aa000191e0f000fe01000200e00001700001e848",
                            "0200000000aa000291e0f000fe02000203e80008700000000080000200000000aa01",
                            "0200000000bb000102000000", "06030002"));
    EXPECT_THAT(config.declarations.back().interfaces, ElementsAre("eth1", "eth2"));
    EXPECT_THAT(config.declarations[12].interfaces, ElementsAre("eth2"));
}

}  // namespace
}  // namespace MrpAgent
