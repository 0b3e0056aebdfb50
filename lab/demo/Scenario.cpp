#include "lab/demo/Scenario.h"

#include <string>

#include "agent/config/ConfigReader.h"
#include "platform/base/Assert.h"

namespace MrpLab {

namespace {

// The LeaveAll period is short because an agent that is restarted with fewer declarations says
// nothing of the others: they age out after the next LeaveAll.
constexpr std::string_view one = R"(interfaces = ["one"]
[timers]
leaveAllTime = 2
[[vlans]]
ids = ["100-110", 4094]
[[talkerAdvertise]]
streamId = "02:00:00:00:00:01:00:01"
dmac = "91:e0:f0:00:fe:01"
vlanId = 2
maxFrameSize = 224
maxIntervalFrames = 1
priority = 3
accumulatedLatency = 125000
[[domain]]
srClassId = 6
srClassPriority = 3
srClassVID = 2
)";

constexpr std::string_view oneLater = R"(interfaces = ["one"]
[timers]
leaveAllTime = 2
[[vlans]]
ids = ["100-105", 4094]
[[domain]]
srClassId = 6
srClassPriority = 3
srClassVID = 2
)";

constexpr std::string_view two = R"(interfaces = ["two"]
[timers]
leaveAllTime = 2
[[listener]]
streamId = "02:00:00:00:00:01:00:01"
event = "ready"
)";

MrpAgent::AgentConfig read(std::string_view name) {
    MrpAgent::ConfigResult result = MrpAgent::readConfig(scenarioConfig(name), std::string(name));
    Platform::require(result.errors.empty(), "the scenario's configurations are valid");
    return std::move(result.config);
}

}  // namespace

std::string_view scenarioConfig(std::string_view name) {
    if (name == "one") {
        return one;
    }
    if (name == "one-later") {
        return oneLater;
    }
    return name == "two" ? two : std::string_view();
}

Scenario Scenario::make() {
    return {read("one"), read("one-later"), read("two")};
}

}  // namespace MrpLab
