#include "lab/demo/LineDemo.h"

#include <chrono>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>

#include "agent/mrpctl/Tables.h"
#include "lab/demo/Outcome.h"
#include "lab/demo/VirtualNode.h"
#include "lab/pcap/PcapFile.h"
#include "platform/log/Log.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualWire.h"

namespace MrpLab {

using namespace Platform;
using MrpAgent::Json;

namespace {

constexpr Seconds delay = 0.0001;  // of a wire
// A stage lasts longer than a LeaveAll of each node, so that what it has come to also stays.
constexpr Seconds stageTime = 5;
constexpr Seconds leaveAllTime = 2;
constexpr Seconds step = 0.02;  // between two looks at the tables
constexpr auto itsVlans = "10-40";

MrpAgent::AgentConfig config(bool propagation) {
    MrpAgent::AgentConfig config;
    config.propagation = propagation;
    config.timers.leaveAllTime = leaveAllTime;
    return config;
}

class LineDemo {
  public:
    explicit LineDemo(const std::string& pcapFileName) : pcap_(pcapFileName) {
        connect(s1_, "eth0", b1_, "eth1");
        connect(b1_, "eth2", b2_, "eth1");
        connect(b2_, "eth2", b3_, "eth1");
        connect(b3_, "eth2", s2_, "eth0");
        capture(b1_, "eth2");
        capture(b2_, "eth1");
        capture(b2_, "eth2");
        capture(b3_, "eth1");
    }

    int run() {
        std::cout << "s1 eth0 --- eth1 b1 eth2 --- eth1 b2 eth2 --- eth1 b3 eth2 --- eth0 s2\n\n";
        declare();
        runStage();
        show(b2_, "ports");
        show(b2_, "domain");
        show(b2_, "attributes");
        linkIs(false);
        runStage();
        linkIs(true);
        runStage();
        s1_.request({{"request", "withdraw"}, {"vlans", Json::array({{{"ids", "10-14"}}})}});
        runStage();
        pcap_.flush();
        std::cout << pcap_.frames() << " frames of the links between bridges in "
                  << pcap_.fileName() << "\n";
        return printOutcome(std::cout, lineStages(), sights_);
    }

  private:
    void declare() {
        const auto declareVlans = [](VirtualNode& node, const Json& vlans) {
            node.request({{"request", "declare"}, {"vlans", Json::array({vlans})}});
        };
        declareVlans(s1_, {{"ids", {"10-14", 30}}});
        declareVlans(s2_, {{"ids", {14, "20-22", 30}}});
        declareVlans(
            b2_, {{"ids", 40}, {"registration", "fixed"}, {"interfaces", Json::array({"eth1"})}});
        declareVlans(
            b2_,
            {{"ids", 30}, {"registration", "forbidden"}, {"interfaces", Json::array({"eth2"})}});
        for (VirtualNode* node : {&s1_, &b1_, &b2_, &b3_}) {
            const Json classA{{"srClassId", 6}, {"srClassPriority", 3}, {"srClassVID", 2}};
            node->request({{"request", "declare"}, {"domain", Json::array({classA})}});
        }
    }

    void linkIs(bool link) {
        b2_.linkIs("eth2", link);
        b3_.linkIs("eth1", link);
    }

    // Until the end of the stage, which began now.
    void runStage() {
        const Stage& stage = lineStages()[sights_.size()];
        const Seconds begin = activityManager_.clock().now();
        std::optional<Seconds> complete;
        for (int steps = 1; steps * step < stageTime; ++steps) {
            activityManager_.runUntil(begin + steps * step);
            if (!complete && sight(itsVlans).differences(stage).empty()) {
                complete = steps * step;
            }
        }
        activityManager_.runUntil(begin + stageTime);
        sights_.push_back(sight());
        std::cout << "=== " << begin << " s: " << stage.title << ". ";
        if (complete) {
            std::cout << "It is so everywhere after " << std::fixed << std::setprecision(2)
                      << *complete << std::defaultfloat << " s.\n\n";
        } else {
            std::cout << "It is not so everywhere after " << stageTime << " s.\n\n";
        }
        for (VirtualNode* node : nodes_) {
            show(*node, "vlans");
        }
    }

    // By a look at some VLANs.
    Sight sight(const char* vlans = "1-4094") {
        Sight sight;
        for (VirtualNode* node : nodes_) {
            sight.vlansAre(
                node->name(),
                node->request({{"request", "show"}, {"what", "vlans"}, {"vlan", vlans}}));
            sight.domainsAre(node->name(), rows(*node, "domain"));
        }
        return sight;
    }

    static VirtualNode::Rows rows(VirtualNode& node, const char* table) {
        return node.request({{"request", "show"}, {"what", table}});
    }

    static void show(VirtualNode& node, const char* table) {
        std::cout << node.name() << "> show " << table << "\n";
        MrpCtl::printTable(std::cout, table, rows(node, table));
        std::cout << "\n";
    }

    void connect(VirtualNode& node, const char* port, VirtualNode& other, const char* otherPort) {
        wires_.push_back(std::make_unique<Virtual::VirtualWire>(activityManager_, delay));
        wires_.back()->connect(node.device(port));
        wires_.back()->connect(other.device(otherPort));
    }

    void capture(VirtualNode& node, const char* port) {
        reactors_.push_back(node.device(port).sent().react([this](const Ptr<Pkt>& pkt) {
            using namespace std::chrono;
            const duration<Seconds> now(activityManager_.clock().now());
            pcap_.frameIs(pkt->span(), duration_cast<microseconds>(now));
        }));
    }

    PcapFile pcap_;
    Virtual::VirtualActivityManager activityManager_;
    const std::vector<std::string> both_{"eth1", "eth2"};
    VirtualNode s1_{activityManager_, "s1", {"eth0"}, config(false), 0x020000000100};
    VirtualNode b1_{activityManager_, "b1", both_, config(true), 0x020000000200};
    VirtualNode b2_{activityManager_, "b2", both_, config(true), 0x020000000300};
    VirtualNode b3_{activityManager_, "b3", both_, config(true), 0x020000000400};
    VirtualNode s2_{activityManager_, "s2", {"eth0"}, config(false), 0x020000000500};
    const std::vector<VirtualNode*> nodes_{&s1_, &b1_, &b2_, &b3_, &s2_};
    std::vector<std::unique_ptr<Virtual::VirtualWire>> wires_;
    std::vector<Reactor> reactors_;
    std::vector<Sight> sights_;
};

}  // namespace

int runLineDemo(const std::string& pcapFileName) {
    logSinkIs(nullptr);
    return LineDemo(pcapFileName).run();
}

}  // namespace MrpLab
