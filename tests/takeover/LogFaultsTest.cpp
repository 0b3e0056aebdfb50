#include <csignal>

#include "Takeover.h"
#include "lab/processes/LogStandIn.h"
#include "platform/linux/UnixLineReader.h"

namespace MrpTest {
namespace {

using namespace Platform;

using Keys = std::set<unsigned>;

const std::string firstLine =
    R"({"attributeLog":{"version":1,"node":"mrp","applications":["mvrp"]}})"
    "\n";
const std::string completeLine = "{\"complete\":true}\n";

std::string recordLine(unsigned vlan) {
    std::array<char, 200> line;
    std::snprintf(
        line.data(), line.size(),
        R"({"record":{"application":"mvrp","interface":"vb","attributeType":"vlanVector",)"
        R"("key":%u,"value":"%04x","applicant":"QO","registrar":"IN"}})"
        "\n",
        vlan, vlan);
    return line.data();
}

struct {
    std::string sent, told;
} const faults[] = {
    {"garbage\n", "expected a JSON object; trying again"},
    {R"({"attributeLog":{"version":2,"node":"mrp","applications":["mvrp"]}})"
     "\n" +
         recordLine(999) + completeLine,
     "expected version 1 of the log, found 2; trying again"},
    {firstLine + recordLine(999) + "{\"record\":{\"appl",
     "the connection ended in the middle of a line; trying again"},
    {"", "the other side closed the connection; trying again"},
    {R"({"attributeLog":{"version":1},"error":"another reader is connected"})"
     "\n",
     "refused: another reader is connected; trying again"},
};

TEST_F(Takeover, whatStandsOnTheSocket) {
    LogStandIn log(path("theirs"));
    AgentProcess standby(config("mvrp", "own") + "[standby]\nattributeLog = \"" + path("theirs") +
                             "\"\n",
                         Role::standby);
    unsigned vlan = 100;
    unsigned sessions = 0;
    for (const auto& fault : faults) {
        ++vlan;
        sessions += 2;
        log.accept();
        for (const auto& line : {firstLine, recordLine(vlan), recordLine(50), completeLine}) {
            log.send(line);
        }
        const auto follows = [&] { return keysOf(statusOf(standby)) == Keys{50, vlan}; };
        EXPECT_TRUE(soon(follows)) << fault.told;
        log.end();
        log.accept();
        log.send(fault.sent);
        log.end();
        EXPECT_TRUE(soon([&] { return statusOf(standby)["standby"]["sessions"] > sessions; }));
        EXPECT_TRUE(standby.said(path("theirs").append(": ").append(fault.told)));
        EXPECT_TRUE(follows()) << fault.told;
    }
    EXPECT_FALSE(standby.said("running"));

    standby.signal(SIGUSR2);
    EXPECT_TRUE(soon([&] { return standby.said("running"); })) << standby.messages();
    std::string lines;
    Linux::UnixLineReader reader(
        manager, [&](std::string_view line) { lines.append(line) += '\n'; }, [](const auto&) {});
    EXPECT_TRUE(soon([&] { return reader.connectTo(path("own")) == 0; }));
    EXPECT_TRUE(soon([&] { return lines.find(completeLine) != std::string::npos; }));
    EXPECT_EQ(lines.find(R"({"attributeLog":{"version":1,"node":"mrp","applications":["mvrp"]}})"),
              0U);
    EXPECT_NE(lines.find(R"("key":50,"value":"0032")"), std::string::npos) << lines;
    EXPECT_NE(lines.find(R"("key":105,"value":"0069")"), std::string::npos) << lines;
}

}  // namespace
}  // namespace MrpTest
