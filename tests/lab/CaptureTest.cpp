#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

#include "agent/instance/MrpInstance.h"
#include "lab/capture/CaptureReader.h"
#include "lab/capture/PduDecoder.h"
#include "platform/base/Text.h"
#include "platform/log/Log.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"

namespace MrpLab {
namespace {

using namespace Platform;
using Mrp::MrpApplication;
using Bytes = std::vector<std::uint8_t>;

Bytes hex(const std::string& text) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

// An engine that has only this frame to judge, and counts.
class Judge {
  public:
    explicit Judge(MrpApplication application) {
        const IntfId intfId("et1");
        interfaces_.kernelStatus->valueIs(intfId, dev_);
        MrpAgent::MrpInstance::Parameters parameters;
        parameters.application = application;
        instance_ = std::make_unique<MrpAgent::MrpInstance>(manager_, interfaces_, parameters);
        instance_->enable(intfId);
    }

    bool malformed(const Bytes& frame) {
        const auto& counters = *instance_->mrpSm().mrpCounters();
        const auto before = counters.numOfMalformedPkts();
        dev_->inject(frame);
        manager_.settle();
        return counters.numOfMalformedPkts() != before;
    }

  private:
    Virtual::VirtualActivityManager manager_;
    Ptr<Virtual::VirtualEthDev> dev_ = makePtr<Virtual::VirtualEthDev>("et1", manager_);
    MrpAgent::NodeInterfaces interfaces_ = MrpAgent::NodeInterfaces::make();
    std::unique_ptr<MrpAgent::MrpInstance> instance_;
};

}  // namespace

TEST(Decode, SpellsOutEveryValue) {
    const std::string listener = "00"
                                 "0308000f"
                                 "2004"
                                 "000000000000000f"
                                 "5200"
                                 "8d"
                                 "0000"
                                 "0404000a"
                                 "0001"
                                 "ff050002"
                                 "24"
                                 "0000"
                                 "0000";
    EXPECT_EQ(
        MrpAgent::jsonLine(decodeMrpdu(MrpApplication::msrp, hex(listener))),
        R"({"version":0,"messages":[{"attributeType":"listenerVector","attributeLength":8,)"
        R"("attributeListLength":15,"vectors":[{"leaveAll":true,"values":[)"
        R"({"attributeEvent":"In","key":15,"streamId":"00:00:00:00:00:00:00:0f","event":"ready"},)"
        R"({"attributeEvent":"JoinIn","key":16,"streamId":"00:00:00:00:00:00:00:10","event":"ignore"},)"
        R"({"attributeEvent":"Mt","key":17,"streamId":"00:00:00:00:00:00:00:11","event":"readyFailed"},)"
        R"({"attributeEvent":"New","key":18,"streamId":"00:00:00:00:00:00:00:12","event":"askingFailed"}]}]},)"
        R"({"attributeType":"domainVector","attributeLength":4,"attributeListLength":10,)"
        R"("vectors":[{"leaveAll":false,"values":[{"attributeEvent":"JoinIn","key":255,)"
        R"("srClassId":255,"srClassPriority":5,"srClassVID":2}]}]}],)"
        R"("malformed":{"offset":31,"reason":"the message is not as long as its attribute list )"
        R"(length says"}})");
}

// The decoder and the engine's parser judge alike whatever is done to a frame.
TEST(Decode, AgreesWithTheEngineOnWhatIsMalformed) {
    logSinkIs([](const LogHandle&, const std::string&) {});
    const std::pair<MrpApplication, std::vector<std::string>> seeds[] = {
        {MrpApplication::mvrp,
         {"0001020004006424000000010200056c00000000", "00010220000000"
                                                      "0102000300642f"
                                                      "00000000"}},
        {MrpApplication::msrp,
         {"000119001e00010200000000010001910000000001000200e0000170000000002400000000",
          "0003080011200500000000000000015a24840000000404000900010603000224000000"
          "00"}}};
    unsigned malformed = 0;
    unsigned sound = 0;
    for (const auto& [application, pdus] : seeds) {
        std::optional<Judge> judge;
        const Bytes header =
            hex(application == MrpApplication::mvrp ? "0180c200002102000000009988f5"
                                                    : "0180c200000e02000000009922ea");
        std::mt19937 random(7);
        for (int round = 0; round < 30000; ++round) {
            if (round % 100 == 0) {
                judge.emplace(application);  // one that has registered nothing is quick
            }
            Bytes frame = header;
            for (const std::uint8_t octet : hex(pdus[random() % pdus.size()])) {
                frame.push_back(octet);
            }
            for (unsigned change = random() % 4; change > 0; --change) {
                const std::size_t at = header.size() + random() % (frame.size() - header.size());
                const auto small = static_cast<std::uint8_t>(random() % 5);
                frame[at] = random() % 3 == 0 ? static_cast<std::uint8_t>(random()) : small;
                if (random() % 8 == 0) {
                    frame.resize(at + random() % 2);  // down to an empty MRPDU
                    break;
                }
            }
            const auto found = mrpFrameOf(frame);
            ASSERT_TRUE(found);
            const MrpAgent::Json decoded = decodeMrpdu(application, found->pdu);
            const bool expected = judge->malformed(frame);
            ASSERT_EQ(decoded.contains("malformed"), expected) << hexBytes(frame) << " " << decoded;
            ++(expected ? malformed : sound);
        }
    }
    logToStandardError();
    EXPECT_GT(malformed, 9000U);
    EXPECT_GT(sound, 9000U);
}

}  // namespace MrpLab
