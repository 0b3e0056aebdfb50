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

TEST(VirtualActivityManager, runsPostedWorkBetweenAlarmsInTimeOrder) {
    VirtualActivityManager manager;
    std::string log;
    const auto note = [&](const std::string& what) {
        log += what + "@" + std::to_string(static_cast<int>(manager.clock().now())) + " ";
    };
    Alarm second(manager.clock(), [&] { note("second"); });
    Alarm first(manager.clock(), [&] {
        note("first");
        manager.post([&] { note("posted"); });
        second.expiryIs(1);
    });
    Alarm late(manager.clock(), [&] { note("late"); });
    first.expiryIs(1);
    late.expiryIs(3);
    manager.post([&] { note("start"); });
    manager.runUntil(2);
    EXPECT_EQ(log, "start@0 first@1 posted@1 second@1 ");
    EXPECT_EQ(manager.clock().now(), 2);
    manager.post([&] { note("settled"); });
    manager.settle();
    manager.runUntil(3);
    EXPECT_EQ(log, "start@0 first@1 posted@1 second@1 settled@2 late@3 ");
}

TEST(VirtualWire, deliversToAllOthersLaterAndInOrder) {
    for (const int delay : {0, 5}) {
        VirtualActivityManager manager;
        Station a("a", manager), b("b", manager), c("c", manager);
        VirtualWire wire(manager, delay);
        for (Station* station : {&a, &b, &c, &a}) {
            wire.connect(*station->device);
        }
        const Ptr<Pkt> pkt = pktOf({1});
        a.pam->txPkt(pkt);
        pkt->data()[0] = 99;  // the sender's packet is the sender's
        b.pam->txPkt(pktOf({2}));
        EXPECT_EQ(b.log + c.log, "");
        manager.runUntil(2);
        a.pam->txPkt(pktOf({3}));
        manager.runUntil(10);
        EXPECT_EQ(a.log, delay == 0 ? "2@0 " : "2@5 ");
        EXPECT_EQ(b.log, delay == 0 ? "1@0 3@2 " : "1@5 3@7 ");
        EXPECT_EQ(c.log, delay == 0 ? "1@0 2@0 3@2 " : "1@5 2@5 3@7 ");
    }
}

TEST(VirtualWire, survivesTheEndOfDevicesAndOfItself) {
    for (const int delay : {0, 5}) {
        VirtualActivityManager manager;
        auto wire = std::make_unique<VirtualWire>(manager, delay);
        Station a("a", manager), b("b", manager);
        auto gone = std::make_unique<Station>("gone", manager);
        for (Station* station : {&a, &b, gone.get()}) {
            wire->connect(*station->device);
        }
        gone->pam->txPkt(pktOf({1}));
        a.pam->txPkt(pktOf({2}));
        const Ptr<EthDevPam> orphan = gone->pam;
        gone.reset();
        manager.runUntil(10);
        orphan->txPkt(pktOf({3}));
        b.pam->txPkt(pktOf({4}));
        wire.reset();
        a.device->inject(Frame{5});
        b.device->inject(Frame{6});
        b.pam = nullptr;  // and so the notification on its way finds nobody
        manager.runUntil(20);
        EXPECT_EQ(a.log, delay == 0 ? "1@0 5@10 " : "1@5 5@10 ");
        EXPECT_EQ(b.log, delay == 0 ? "1@0 2@0 " : "1@5 2@5 ");
    }
}

TEST(VirtualEthDev, countsWhatItDoesNotTake) {
    VirtualActivityManager manager;
    EthDevPamParameters parameters;
    parameters.filter = {{SocketFilterCode::loadHalfWord, 0, 0, 0},
                         {SocketFilterCode::jumpEqual, 0, 1, 0x0102},
                         {SocketFilterCode::accept, 0, 0, 5},
                         {SocketFilterCode::accept, 0, 0, 0}};
    parameters.maxRxPktData = 4;
    Station a("a", manager, parameters);
    const Ptr<EthDevPam> everything = a.device->open(IntfId("a"), {});
    a.device->receive(Frame{1, 2, 3, 4, 5, 6});
    a.device->receive(Frame{9, 9});
    EXPECT_EQ(a.log, "");
    EXPECT_EQ(a.pam->rxPkt()->bytes(), 4U);  // taken before the notification: that does no harm
    manager.settle();
    EXPECT_EQ(a.log, "");
    EXPECT_EQ(everything->rxPkt()->bytes(), 6U);

    a.device->linkUpIs(false);
    a.device->receive(Frame{1, 2});
    a.pam->txPkt(pktOf({1}));
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
    EXPECT_EQ(counters.sent, 0U);
}

}  // namespace
}  // namespace Platform::Virtual
