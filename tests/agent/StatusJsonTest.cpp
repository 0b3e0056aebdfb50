#include <gtest/gtest.h>

#include "agent/config/ConfigReader.h"
#include "agent/status/StatusJson.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"

namespace MrpAgent {
namespace {

using namespace Platform;

class StatusJson : public testing::Test {
  protected:
    StatusJson() {
        nodeInterfaces.kernelStatus->valueIs(IntfId("eth1"), device);
        for (const auto application : {Mrp::MrpApplication::mvrp, Mrp::MrpApplication::msrp}) {
            MrpInstance::Parameters parameters;
            parameters.application = application;
            instances.push_back(std::make_unique<MrpInstance>(manager, nodeInterfaces, parameters));
        }
    }

    // Of all applications, one list behind the other.
    std::string attributes() const {
        const Json status = statusJson(instances);
        std::string lists;
        for (const Json& application : status.at("applications")) {
            lists += jsonLine(application.at("attributes"));
        }
        return lists;
    }

    Virtual::VirtualActivityManager manager;
    Ptr<Virtual::VirtualEthDev> device = makePtr<Virtual::VirtualEthDev>("eth1", manager);
    NodeInterfaces nodeInterfaces = NodeInterfaces::make();
    std::vector<std::unique_ptr<MrpInstance>> instances;
};

TEST_F(StatusJson, tellsWhatIsDeclaredAtOnceAndWithItsFields) {
    const std::string text =
        "interfaces = ['eth1']\n"
        "vlans = [{ids = 100}]\n"
        "listener = [{streamId = 'ff:00:00:00:00:bb:00:01', event = 'askingFailed'}]\n"
        "talkerFailed = [{streamId = 7, dmac = '91:e0:f0:00:fe:02', vlanId = 2, rank = 0, "
        "maxFrameSize = 1000, maxIntervalFrames = 8, priority = 3, accumulatedLatency = 9, "
        "bridgeId = 3, failureCode = 1}]\n";
    const AgentConfig config = readConfig(text, "agent.toml").config;
    const auto request = [&](bool (*act)(MrpInstance&, const Declaration&, IntfId)) {
        for (const Declaration& declaration : config.declarations) {
            const bool mvrp = declaration.application == Mrp::MrpApplication::mvrp;
            ASSERT_TRUE(act(*instances[mvrp ? 0 : 1], declaration, IntfId("eth1")));
        }
    };
    for (const auto& instance : instances) {
        ASSERT_TRUE(instance->enable(IntfId("eth1")));
    }
    request(declare);
    const std::string states = R"("applicant":"QA","registrar":"MT",)";
    const std::string all =
        R"([{"interface":"eth1","attributeType":"vlanVector","key":100,)" + states +
        R"("value":"0064","vlan":100}])"
        R"([{"interface":"eth1","attributeType":"talkerFailed","key":7,)" +
        states +
        R"("value":"000000000000000791e0f000fe02000203e800086000000009000000000000000301",)"
        R"("streamId":"00:00:00:00:00:00:00:07","dmac":"91:e0:f0:00:fe:02","vlanId":2,)"
        R"("maxFrameSize":1000,"maxIntervalFrames":8,"priority":3,"rank":0,)"
        R"("accumulatedLatency":9,"bridgeId":"00:00:00:00:00:00:00:03","failureCode":1},)"
        R"({"interface":"eth1","attributeType":"listenerVector","key":18374686479683878913,)" +
        states +
        R"("value":"ff00000000bb000101000000","streamId":"ff:00:00:00:00:bb:00:01",)"
        R"("event":"askingFailed"}])";
    EXPECT_EQ(attributes(), all);  // announced, and waiting to enter the database
    manager.runUntil(1);
    const auto database = instances[0]->mrpSm().applicationDatabase();
    EXPECT_NE(database->record(IntfId("eth1"), Mrp::vlanType, 100), nullptr);
    EXPECT_EQ(attributes(), all);
    const Json status = statusJson(instances).at("applications").at(0);
    EXPECT_EQ(jsonLine(status.at("interfaces")), R"([{"interface":"eth1","packetAccess":true}])");
    EXPECT_EQ(status.at("counters").at("numOfPktsTransmitted"), device->counters().sent / 2);

    request(withdraw);
    manager.runUntil(2);
    EXPECT_EQ(attributes(), "[][]");
    EXPECT_EQ(jsonLine(statusJson(std::span(instances).first(0))), R"({"applications":[]})");
}

TEST(JsonLine, isUtf8WhateverAnInterfaceIsCalled) {
    EXPECT_EQ(jsonLine({{"interface", "\xff\n"}}), "{\"interface\":\"\xef\xbf\xbd\\n\"}");
}

}  // namespace
}  // namespace MrpAgent
