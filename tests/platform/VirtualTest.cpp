#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Frames.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"
#include "platform/virtual/VirtualWire.h"

namespace Platform::Virtual {
namespace {

// A device with one Pam open, whose frames are noted as "<first octet>@<time>".
struct Station {
    Station(const std::string& name, VirtualActivityManager& manager,
            const EthDevPamParameters& parameters = {})
        : device(makePtr<VirtualEthDev>(name, manager)),
          pam(device->open(IntfId(name), parameters)),
          reactor(pam->readable().react([this, &manager] {
              const Ptr<Pkt> pkt = pam->rxPkt();
              log += std::to_string(pkt->data()[0]) + "@" +
                     std::to_string(static_cast<int>(manager.clock().now())) + " ";
          })) {}

    Ptr<VirtualEthDev> device;
    Ptr<EthDevPam> pam;
    std::string log;
    Reactor reactor;
};

TEST(VirtualWire, deliversToAllOthersLaterAndInOrderAndSurvivesTheirEndAndItsOwn) {
    for (const int delay : {0, 5}) {
        VirtualActivityManager manager;
        auto wire = std::make_unique<VirtualWire>(manager, delay);
        Station a("a", manager), b("b", manager);
        auto gone = std::make_unique<Station>("gone", manager);
        for (Station* station : {&a, &b, gone.get(), &a}) {
            wire->connect(*station->device);
        }
        const Ptr<Pkt> pkt = pktOf({1});
        gone->pam->txPkt(pkt);
        pkt->data()[0] = 99;  // the sender's packet is the sender's
        a.pam->txPkt(pktOf({2}));
        const Ptr<EthDevPam> orphan = gone->pam;
        gone.reset();
        EXPECT_EQ(a.log + b.log, "");
        manager.runUntil(2);
        a.pam->txPkt(pktOf({3}));
        manager.runUntil(10);
        orphan->txPkt(pktOf({4}));
        b.pam->txPkt(pktOf({5}));
        wire.reset();
        a.device->inject(Frame{6});
        b.device->inject(Frame{7});
        b.pam = nullptr;  // and so the notification on its way finds nobody
        manager.runUntil(20);
        EXPECT_EQ(a.log, delay == 0 ? "1@0 6@10 " : "1@5 6@10 ");
        EXPECT_EQ(b.log, delay == 0 ? "1@0 2@0 3@2 " : "1@5 2@5 3@7 ");
    }
}

TEST(VirtualEthDev, countsWhatItDoesNotTake) {
    VirtualActivityManager manager;
    EthDevPamParameters parameters;
    parameters.filter = protocolFilter;
    parameters.maxRxPktData = 4;
    Station a("a", manager, parameters);
    const Ptr<EthDevPam> everything = a.device->open(IntfId("a"), {});
    const Frame frame = frameOf(groupAddr, protocolType, 46);
    a.device->receive(frame);
    a.device->receive(Frame{9, 9});
    EXPECT_EQ(a.pam->rxPkt()->bytes(), 4U);  // taken before the notification: that does no harm
    manager.settle();
    EXPECT_EQ(a.log, "");
    EXPECT_EQ(everything->rxPkt()->bytes(), frame.size());

    a.device->linkUpIs(false);
    a.device->receive(frame);
    a.pam->txPkt(pktOf(frame));
    a.device->linkUpIs(true);
    a.device->queueLimitIs(2);
    a.device->inject(Frame{7}, false);
    a.device->inject(Frame{8});
    manager.settle();
    EXPECT_EQ(a.log, "7@0 ");
    EXPECT_TRUE(a.pam->hasDataOnSocket());
    const auto& counters = a.device->counters();
    EXPECT_EQ(counters.filtered, 1U);
    EXPECT_EQ(counters.received, 6U);
    EXPECT_EQ(counters.dropped, 1U);  // the second Pam still held {9, 9}
    EXPECT_EQ(counters.sentWhileDown + counters.receivedWhileDown, 2U);
}

}  // namespace
}  // namespace Platform::Virtual
