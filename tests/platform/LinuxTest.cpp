#include <gtest/gtest.h>

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <optional>
#include <set>
#include <string>

#include "Frames.h"
#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/LinuxEthDev.h"
#include "platform/linux/LinuxEthDevPam.h"
#include "platform/linux/LinuxNetInfo.h"

namespace Platform::Linux {
namespace {

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        checked(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), "making a pipe");
        in = FileDescriptor(ends[0]);
        out = FileDescriptor(ends[1]);
    }
    void write() const { EXPECT_EQ(::write(out.get(), "x", 1), 1); }
    FileDescriptor in, out;
};

TEST(EpollActivityManager, runsAlarmsAtTheirTimeAndPostedWorkBetween) {
    EpollActivityManager manager;
    const Seconds start = manager.clock().now();
    std::string log;
    const auto note = [&](const std::string& what, Seconds when) {
        EXPECT_EQ(manager.clock().now(), start + when);
        log += what + " ";
    };
    Alarm late(manager.clock(), [&] {
        note("late", 0.02);
        manager.stop();
    });
    Alarm early(manager.clock(), [&] {
        ::usleep(12000);  // now stands still, and the next alarm is overdue by then
        note("early", 0.01);
        manager.post([&] { note("posted", 0.01); });
    });
    late.expiryIs(start + 0.02);
    early.expiryIs(start + 0.01);
    manager.run();
    EXPECT_EQ(log, "early posted late ");
    manager.runFor(0.005);
    EXPECT_GE(manager.clock().now(), start + 0.025);
}

TEST(EpollActivityManager, tellsOfReadableDescriptorsAndSignalsAndOfNoStaleOnes) {
    EpollActivityManager manager;
    Pipe first, second, stranger, closed;
    std::multiset<std::string> log;
    const auto noting = [&log](const std::string& what) {
        return [&log, what] { log.insert(what); };
    };
    manager.descriptorIs(first.in.get(), [&] {
        log.insert("first");
        // The number of a descriptor that was seen readable in this turn goes to another file.
        manager.descriptorDel(second.in.get());
        EXPECT_EQ(::dup3(stranger.in.get(), second.in.get(), O_CLOEXEC), second.in.get());
        manager.descriptorIs(second.in.get(), noting("stranger"));
        manager.descriptorDel(first.in.get());
    });
    manager.descriptorIs(second.in.get(), noting("removed"));
    first.write();
    second.write();
    manager.runFor(0.005);
    EXPECT_EQ(log, std::multiset<std::string>{"first"});

    manager.descriptorIs(closed.in.get(), noting("nothing to read"), noting("hang-up"));
    manager.signalIs(SIGUSR1, noting("one"));
    manager.signalIs(SIGUSR2, noting("two"));
    stranger.write();
    closed.out.reset();
    ::raise(SIGUSR1);
    ::raise(SIGUSR2);
    manager.runFor(0);
    EXPECT_EQ(log, (std::multiset<std::string>{"first", "hang-up", "one", "stranger", "two"}));
}

// The two ends of a virtual Ethernet cable, "near" and "far", in a network namespace of the test's
// own, with packet access on both.
class PacketAccess : public testing::Test {
  protected:
    struct End {
        Ptr<EthDevPam> pam;
        Reactor reactor;
        LinuxEthDevPam* linuxPam() const { return dynamic_cast<LinuxEthDevPam*>(pam.get()); }
    };

    void SetUp() override {
        if (::unshare(CLONE_NEWNET) < 0 || !cableMade()) {
            GTEST_SKIP() << "no network namespace with a virtual Ethernet cable to be had here";
        }
        parameters.ethProtocol = 3;
        parameters.listenAddr = groupAddr;
        parameters.maxRxPktData = 200;
        parameters.filter = protocolFilter;
        for (End* end : {&near, &far}) {
            const std::string name = end == &near ? "near" : "far";
            end->pam = makePtr<LinuxEthDev>(name, manager)->open(IntfId(name), parameters);
            end->reactor = end->pam->readable().react([this, end] {
                const Ptr<Pkt> pkt = end->pam->rxPkt();
                ASSERT_TRUE(pkt);
                received = Frame(pkt->span().begin(), pkt->span().end());
                manager.stop();
            });
        }
        ASSERT_TRUE(worksWithin(2));
    }

    static bool ip(const std::string& arguments) {
        return std::system(("ip link " + arguments).c_str()) == 0;
    }
    static bool cableMade() {
        return ip("add near type veth peer name far") && ip("set near up") && ip("set far up");
    }
    // What comes in, at either end, when the frame is sent; empty when nothing does in time.
    Frame exchange(End& from, const Frame& frame) {
        received.clear();
        from.pam->txPkt(pktOf(frame));
        manager.runFor(0.2);
        return received;
    }
    bool worksWithin(Seconds span) {
        const Seconds end = manager.clock().now() + span;
        bool works = false;
        while (!works && manager.clock().now() < end) {
            works = exchange(near, usual) == usual && exchange(far, usual) == usual;
        }
        return works;
    }

    EpollActivityManager manager;
    EthDevPamParameters parameters;
    const Frame usual = frameOf(groupAddr, protocolType, 46);
    Frame received;
    End near, far;
};

TEST_F(PacketAccess, takesWhatTheFilterPassesAsItWasOnTheWire) {
    const Frame tagged = frameOf(groupAddr, protocolType, 46, 0xe005);
    EXPECT_EQ(exchange(near, tagged), tagged);
    EXPECT_EQ(exchange(near, frameOf(EthAddr(0x0180c200000dULL), protocolType, 46)), Frame());
    for (const std::uint16_t tci : {std::uint16_t{0}, std::uint16_t{7}}) {
        const Frame all = frameOf(groupAddr, protocolType, 500, tci);
        EXPECT_EQ(exchange(near, all), Frame(all.begin(), all.begin() + 200));
    }
    EXPECT_EQ(exchange(near, frameOf(groupAddr, protocolType, 3000)), Frame());
    EXPECT_EQ(near.linuxPam()->counters().sendFailures, 1U);

    // Another protocol's socket on the interface would be the one to see what is sent.
    const Ptr<EthDevPam> beside =
        makePtr<LinuxEthDev>("near", manager)->open(IntfId("near"), parameters);
    near.pam->txPkt(pktOf(tagged));
    near.pam->txPkt(pktOf(tagged));
    EXPECT_FALSE(beside->hasDataOnSocket());
    EXPECT_TRUE(far.pam->hasDataOnSocket());
    far.reactor.reset();
    manager.runFor(0.01);
    EXPECT_FALSE(far.pam->hasDataOnSocket());
    EXPECT_EQ(far.linuxPam()->counters().discarded, 2U);
    EXPECT_EQ(far.linuxPam()->counters().receiveErrors, 0U);
    EXPECT_EQ(far.linuxPam()->kernelDrops(), 0U);
}

TEST_F(PacketAccess, survivesItsInterface) {
    ASSERT_TRUE(ip("set near down"));
    EXPECT_EQ(exchange(near, usual), Frame());
    EXPECT_EQ(near.linuxPam()->counters().sendFailures, 1U);
    EXPECT_EQ(near.linuxPam()->counters().receiveErrors, 1U);  // told once, and not spinning
    ASSERT_TRUE(ip("set near up"));
    EXPECT_TRUE(worksWithin(0.9)) << "link up again needs no new socket";

    ASSERT_TRUE(ip("del near"));
    manager.runFor(0.01);
    EXPECT_FALSE(near.linuxPam()->open());
    EXPECT_EQ(exchange(near, usual), Frame());
    ASSERT_TRUE(cableMade());
    EXPECT_TRUE(worksWithin(3));

    // Of an interface that is down already, the kernel does not tell that it goes.
    ASSERT_TRUE(ip("set near down"));
    manager.runFor(0.01);
    ASSERT_TRUE(ip("del near"));
    ASSERT_TRUE(cableMade());
    manager.runFor(1.2);
    EXPECT_EQ(exchange(far, usual), usual) << "it is looked for without anything being sent";
    EXPECT_LE(near.linuxPam()->counters().receiveErrors, 6U);
}

TEST_F(PacketAccess, interfacesAreToldOfAsTheKernelHasThem) {
    const auto kernelStatus = makePtr<KernelNetInfo::Status>();
    const auto all = makePtr<Interface::AllIntfStatusDir>();
    const auto ethernet = makePtr<Interface::AllEthPhyIntfStatusDir>();
    LinuxNetInfo netInfo(manager, kernelStatus, all, ethernet);
    ASSERT_TRUE(ip("set near address 02:00:00:00:00:0a"));
    EXPECT_EQ(netInfo.addInterface("near"), std::nullopt);
    const IntfId intfId("near");
    EXPECT_EQ(all->value(intfId)->frameSizeLimit, 1514U);
    EXPECT_EQ(ethernet->value(intfId)->addr, EthAddr(0x02000000000aULL));
    const Ptr<EthDev> device = *kernelStatus->value(intfId);
    EXPECT_TRUE(device->open(intfId, parameters));
    ASSERT_TRUE(ip("set near mtu 1000"));
    EXPECT_EQ(netInfo.addInterface("near"), std::nullopt);
    EXPECT_EQ(all->value(intfId)->frameSizeLimit, 1014U);
    EXPECT_EQ(*kernelStatus->value(intfId), device);

    EXPECT_EQ(netInfo.addInterface("lo"), "lo: not an Ethernet interface");
    EXPECT_EQ(netInfo.addInterface("none"), "none: no such interface");
    EXPECT_TRUE(netInfo.addInterface("near567890123456"));
    EXPECT_EQ(kernelStatus->values().size(), 1U);
    EXPECT_THROW(makePtr<LinuxEthDev>("none", manager)->open(IntfId("none"), parameters),
                 std::system_error);
}

}  // namespace
}  // namespace Platform::Linux
