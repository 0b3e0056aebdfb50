#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "Frames.h"
#include "platform/base/Assert.h"
#include "platform/log/Log.h"
#include "platform/log/Trace.h"
#include "platform/packet/EthDevPamMan.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"

namespace Platform {
namespace {

TEST(Notification, reactorsMayDropAddAndDestroyWithinIt) {
    auto change = std::make_unique<Notification<int>>();
    std::string log;
    const auto noting = [&log](const std::string& what) {
        return [&log, what](int n) { log += what + std::to_string(n) + " "; };
    };
    Reactor self, other, last, added;
    self = change->react([&](int) {
        self.reset();
        other.reset();
        added = change->react(noting("added"));
    });
    other = change->react(noting("other"));
    last = change->react([&](int n) {
        noting("last")(n);
        if (n == 1) {
            change->notify(2);  // nested: the added one is there already
        } else if (n == 3) {
            change.reset();
        }
    });
    change->notify(1);
    change->notify(3);
    EXPECT_EQ(log, "last1 last2 added2 last3 added3 ");

    // A dropped reaction that holds other reactors of the notification takes them along.
    Notification<> nested;
    auto held = std::make_shared<std::vector<Reactor>>();
    for (int i = 0; i < 3; ++i) {
        held->push_back(nested.react([] {}));
    }
    Reactor holder = nested.react([&holder, keep = std::move(held)] { holder.reset(); });
    nested.notify();
    EXPECT_TRUE(nested.empty());
}

TEST(Pkt, refusesToReadPastTheEndAndAssertsToWritePastIt) {
    const Ptr<Pkt> pkt = pktOf({1, 2, 3});
    EXPECT_EQ(pkt->be16(1), 0x0203);
    EXPECT_THROW(static_cast<void>(pkt->be16(2)), std::range_error);
    EXPECT_THROW(static_cast<void>(pkt->be16(SIZE_MAX)), std::range_error);
    EXPECT_THROW(static_cast<void>(pktOf({1})->be16(0)), std::range_error);
    EXPECT_THROW(pkt->delSharedHeadData(4), std::range_error);
    pkt->delSharedHeadData(2);
    pkt->newSharedHeadData(1);
    EXPECT_EQ(Frame(pkt->span().begin(), pkt->span().end()), (Frame{0, 3}));
    EXPECT_EQ(PktManager::instance().newPkt(PktManager::instance().maxPktBytes() + 1), nullptr);

    const AssertHandler before =
        assertHandlerIs([](const char* text, const char*, int) { throw std::logic_error(text); });
    EXPECT_THROW(pkt->newSharedHeadData(1000), std::logic_error);
    EXPECT_THROW(pkt->newSharedTailData(1), std::logic_error);
    EXPECT_THROW(pkt->append(Frame{1}), std::logic_error);
    EXPECT_THROW(pkt->trim(3), std::logic_error);
    assertHandlerIs(before);
}

TEST(SocketFilter, acceptsTheProtocolTaggedOrNot) {
    const Frame untagged = frameOf(groupAddr, protocolType, 0);
    const Frame tagged = frameOf(groupAddr, protocolType, 0, 0x6001);
    EXPECT_EQ(runSocketFilter(protocolFilter, untagged), 65535U);
    EXPECT_EQ(runSocketFilter(protocolFilter, tagged), 65535U);
    const EthAddr otherLower(0x0180c200000dULL), otherUpper(0x0181c200000eULL);
    for (const Frame& foreign :
         {frameOf(otherLower, protocolType, 46), frameOf(otherUpper, protocolType, 46),
          frameOf(groupAddr, 0x88f5, 46), frameOf(groupAddr, 0x88f5, 46, 1), Frame{},
          Frame(untagged.begin(), untagged.end() - 1), Frame(tagged.begin(), tagged.end() - 1)}) {
        EXPECT_EQ(runSocketFilter(protocolFilter, foreign), 0U);
    }
    using namespace SocketFilterCode;
    const SocketFilterInsn faults[] = {
        {jumpEqual, 9, 9, 0}, {0x87, 0, 0, 0}, {loadWord, 0, 0, UINT32_MAX}};
    for (const SocketFilterInsn& fault : faults) {
        EXPECT_EQ(runSocketFilter({fault, {accept, 0, 0, 1}}, untagged), 0U);
    }
}

class RefusingDev final : public EthDev {
  public:
    Ptr<EthDevPam> open(IntfId, const EthDevPamParameters&) override {
        throw std::system_error(EPERM, std::generic_category(), "et1: opening");
    }
};

TEST(EthDevPamMan, keepsPacketAccessWhereItIsWantedAndPossible) {
    Virtual::VirtualActivityManager manager;
    const auto desired = makePtr<PamDesiredIntfDir>();
    const auto pams = makePtr<EthDevPamCollection>();
    const auto devices = makePtr<DeviceIntfStatusDir>();
    auto pamMan = makePtr<EthDevPamMan>(desired, pams, devices);
    const IntfId et1("et1");
    desired->intfDesiredIs(et1, true);
    devices->valueIs(et1, makePtr<RefusingDev>());
    EXPECT_FALSE(pamMan->openError(et1));  // not enabled, it does not try
    pamMan->enabledIs(true);
    EXPECT_EQ(pamMan->openError(et1).value_or("").find("et1: opening: "), 0U);
    EXPECT_EQ(pams->pam(et1), nullptr);
    const auto device = makePtr<Virtual::VirtualEthDev>("et1", manager);
    devices->valueIs(et1, device);
    EXPECT_FALSE(pamMan->openError(et1));
    ASSERT_NE(pams->pam(et1), nullptr);

    // Another device of that name: packet access moves to it.
    const auto successor = makePtr<Virtual::VirtualEthDev>("et1", manager);
    devices->valueIs(et1, successor);
    device->inject(Frame{1});
    EXPECT_FALSE(pams->pam(et1)->hasDataOnSocket());
    successor->inject(Frame{2});
    EXPECT_TRUE(pams->pam(et1)->hasDataOnSocket());

    devices->valueDel(et1);
    EXPECT_EQ(pams->pam(et1), nullptr);
    devices->valueIs(et1, device);
    desired->intfDesiredIs(et1, false);
    EXPECT_EQ(pams->pam(et1), nullptr);
    desired->intfDesiredIs(et1, true);
    EXPECT_NE(pams->pam(et1), nullptr);
    pamMan = nullptr;
    EXPECT_TRUE(pams->values().empty());
}

TEST(Trace, levelsApplyBySourceNowAndLater) {
    std::string log;
    traceSinkIs([&](const TraceSource& source, int level, const std::string& text) {
        log += source.name() + "/" + std::to_string(level) + " " + text + "; ";
    });
    const TraceSource early("TraceTestEarly");
    int evaluated = 0;
    PLATFORM_TRACE(early, 0, "off" << ++evaluated);
    EXPECT_EQ(evaluated, 0);
    EXPECT_TRUE(setTraceLevels("TraceTestEarly/3,TraceTestLate/5"));
    const TraceSource late("TraceTestLate");
    PLATFORM_TRACE(early, 3, "number " << 7);
    PLATFORM_TRACE(early, 4, "too much");
    PLATFORM_TRACE(late, 5, "late");
    EXPECT_EQ(log, "TraceTestEarly/3 number 7; TraceTestLate/5 late; ");
    for (const char* wrong : {"x", "/1", "x/", "x/10", "x/1y", "a/1,,b/2"}) {
        EXPECT_FALSE(setTraceLevels(wrong)) << wrong;
    }
    setTraceLevel("*", TraceSource::off);
    EXPECT_FALSE(late.enabled(0));
    traceSinkIs(nullptr);
}

TEST(Log, fillsItsFormatWithinItsRate) {
    std::string log;
    logSinkIs([&](const LogHandle& handle, const std::string& text) {
        log += handle.name() + ": " + text + "; ";
    });
    LogHandle handle("EVENT", 6, "", noActionRequired, "%s of %d, 5% left", 10, 2);
    handle.write(0, {"one"});
    handle.write(9, {"one", "et%s", "more"});
    handle.write(9.5, {"held back"});
    handle.write(10.5, {"a", "b"});
    handle.write(11, {"held back: the third in 10 seconds"});
    EXPECT_EQ(log, "EVENT: one of %d, 5% left; EVENT: one of et%s, 5% left; "
                   "EVENT: a of b, 5% left; ");
    logToStandardError();
}

}  // namespace
}  // namespace Platform
