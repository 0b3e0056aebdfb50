#include "lab/demo/InMemoryDemo.h"

#include <functional>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

#include "lab/demo/MemoryLog.h"
#include "lab/demo/Outcome.h"
#include "lab/demo/Scenario.h"
#include "lab/demo/VirtualNode.h"
#include "lab/pcap/PcapFile.h"
#include "platform/linux/EpollActivityManager.h"
#include "platform/log/Log.h"
#include "platform/virtual/VirtualWire.h"

namespace MrpLab {

using namespace Platform;

namespace {

class Demo {
  public:
    explicit Demo(const std::string& pcapFileName) : pcap_(pcapFileName) {
        for (VirtualNode* node : {&one_, two_.get()}) {
            wire_.connect(node->device());
        }
        sentByOne_ = one_.device().sent().react([this](const auto& pkt) { record(pkt); });
        sentByTwo_ = two_->device().sent().react([this](const auto& pkt) { record(pkt); });
    }

    int run() {
        const Stages stages{declare(), withdraw(), takeOver()};
        pcap_.flush();
        std::cout << pcap_.frames() << " frames in " << pcap_.fileName() << "\n";
        return printOutcome(std::cout, scenario_, stages);
    }

  private:
    NodePair declare() {
        one_.declareAll(scenario_.one);
        // A listener asks for a stream that it has heard of.
        waitUntil([this] {
            return registeredIn(two_->status()).size() >= scenario_.one.declarations.size();
        });
        two_->declareAll(scenario_.two);
        NodePair nodes = waitFor(Stage::declared);
        printNodes(std::cout, "Declared, and registered within " + seconds(), nodes);
        return nodes;
    }

    NodePair withdraw() {
        start_ = activityManager_.clock().now();
        one_.withdraw(scenario_.one, scenario_.oneLater);
        NodePair nodes = waitFor(Stage::withdrawn);
        printNodes(std::cout, "Some withdrawn by node one, and aged out within " + seconds(),
                   nodes);
        return nodes;
    }

    // The standby holds what the log has told of when node two's engines go.
    NodePair takeOver() {
        auto standby = std::make_unique<VirtualNode>(activityManager_, scenario_.two, *two_);
        {
            const MemoryLog log(two_->statuses(), standby->statuses());
            activityManager_.runFor(standbyTime);
        }
        start_ = activityManager_.clock().now();
        two_ = std::move(standby);
        two_->becomeActive();
        two_->declareAll(scenario_.two);
        // Long enough for what is not declared anew to be withdrawn.
        activityManager_.runFor(3 * scenario_.two.timers.leaveTime);
        NodePair nodes = waitFor(Stage::takenOver);
        printNodes(std::cout, "Node two's engines gone, and its standby active for " + seconds(),
                   nodes);
        return nodes;
    }

    static constexpr Seconds deadline = 4;  // of a stage
    static constexpr Seconds step = 0.02;   // between two looks at the tables
    static constexpr Seconds standbyTime = 0.2;

    void waitUntil(const std::function<bool()>& complete) {
        while (!complete() && activityManager_.clock().now() < start_ + deadline) {
            activityManager_.runFor(step);
        }
    }

    NodePair waitFor(Stage stage) {
        NodePair nodes;
        waitUntil([&] {
            nodes = {one_.status(), two_->status()};
            return missing(scenario_, stage, nodes).empty();
        });
        return nodes;
    }

    std::string seconds() {
        std::ostringstream text;
        text << std::fixed << std::setprecision(2) << activityManager_.clock().now() - start_
             << " s";
        return text.str();
    }

    void record(const Ptr<Pkt>& pkt) { pcap_.frameIs(pkt->span()); }

    static constexpr std::uint64_t addrOne = 0x020000000001;
    static constexpr std::uint64_t addrTwo = 0x020000000002;

    PcapFile pcap_;
    Scenario scenario_ = Scenario::make();
    Linux::EpollActivityManager activityManager_;
    Seconds start_ = activityManager_.clock().now();
    Virtual::VirtualWire wire_{activityManager_};
    VirtualNode one_{activityManager_, scenario_.one, EthAddr(addrOne)};
    std::unique_ptr<VirtualNode> two_ =
        std::make_unique<VirtualNode>(activityManager_, scenario_.two, EthAddr(addrTwo));
    Reactor sentByOne_;
    Reactor sentByTwo_;
};

}  // namespace

int runInMemoryDemo(const std::string& pcapFileName) {
    logSinkIs(nullptr);
    return Demo(pcapFileName).run();
}

}  // namespace MrpLab
