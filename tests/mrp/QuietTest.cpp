#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "Wire.h"
#include "platform/log/Trace.h"

// Values that say what is known, or change no more than states, are taken by the vector, and so are
// the attributes that a LeaveAll reaches; but not while the trace is on: then each goes through the
// machines. Nobody but the trace must see which of the two it was.

namespace MrpTest::Wire {
namespace {

class Story {
  public:
    Story(MrpApplication application, unsigned seed)
        : node_(application, 2, [](MrpConfig& config) { config.leaveAllTimeIs(1.5); }),
          random_(seed) {
        node_.sm().allIntfStatusDir()->valueIs(node_.intf(1), {.frameSizeLimit = 130});
        node_.lib->onIndication = [this](const Indication& indication) {
            return indicated(indication);
        };
    }

    std::string told() {
        std::vector<std::string> frames;
        for (int i = 0; i < 120; ++i) {
            if (frames.size() < 4 || one(6)) {
                frames.push_back(messages());
            }
            node_.receive(frames[random_() % frames.size()], 1 + random_() % 2);
            show();
            if (one(12)) {
                leaveAll();
                show();
            }
            node_.runUntil(node_.now() + 0.05 * static_cast<double>(random_() % 4));
            node_.instance->enable(node_.intf(1));
        }
        for (const SentFrame& frame : node_.sent) {
            text_ += frame.intfId.name() + frame.messages() + "\n";
        }
        return text_;
    }
    // How many joins were counted of which nobody was told.
    std::uint64_t known() {
        const auto told =
            std::count_if(node_.lib->indications.begin(), node_.lib->indications.end(),
                          [](const Indication& indication) { return indication.join; });
        const std::uint64_t counted = node_.counters().numOfJoinIndications();
        return counted - std::min(counted, static_cast<std::uint64_t>(told));
    }

  private:
    bool one(unsigned of) { return random_() % of == 0; }
    bool msrp() const { return node_.lib->application() == MrpApplication::msrp; }

    // What reaches all attributes of a type, or of an interface.
    void leaveAll() {
        if (one(2)) {
            node_.sm().mrpPamSm()->transmitAllLeaveAll(node_.intf(1));
        } else {
            const auto type = static_cast<AttributeType>(msrp() ? 1 + random_() % 4 : 1);
            node_.sm().leaveAllSm()->mrpPostLeaveAllToSm(
                node_.intf(1), type, MrpApplicantEvent::redeclare, MrpRegistrarEvent::redeclare);
        }
    }

    std::string messages() {
        std::string result;
        for (int vectors = 1 + static_cast<int>(random_() % 4); vectors-- > 0;) {
            const auto type = static_cast<AttributeType>(msrp() ? 1 + random_() % 4 : 1);
            std::string body = vector(type);
            while (!one(3)) {
                body += vector(type);
            }
            body += "0000";
            if (one(20)) {  // a LeaveAll of a type that the application lacks
                result += msrp() ? "0500 0004 2000 0000" : "0500 2000 0000";
            }
            result += be(type, 1) + be(msrp() ? mrpSizeOfMsrpAttribute(type) : 2, 1) +
                      (msrp() ? be(body.size() / 2, 2) : "") + body;
        }
        return result + "0000";
    }
    std::string vector(unsigned type) {
        // Near each other and to where keys wrap, so that vectors overlap.
        const std::uint64_t key = (one(2) ? 0 : UINT64_MAX - 30) + 8 * (random_() % 8);
        const std::size_t values = one(8) ? 300 : one(3) ? 1 : 1 + random_() % 12;
        std::string first = be(key & 0xffff, 2);
        if (msrp()) {
            first = type == 4   ? domain(key & 0xff, 3)
                    : type == 3 ? be(key, 8)
                                : (type == 1 ? talker(key, key >> 16) : failed(key, key >> 16));
        }
        std::string result = be((one(30) ? 0x2000 : 0) + values, 2) + first;
        const bool joins = !one(6);
        for (std::size_t n = 0; n < (values + 2) / 3; ++n) {
            result += be(joins ? 0x2b : random_() % 256, 1);
        }
        for (std::size_t n = 0; msrp() && type == 3 && n < (values + 3) / 4; ++n) {
            result += one(10) ? "1b" : "aa";
        }
        return result;
    }

    // What an indication finds, and what it does.
    bool indicated(const Indication& indication) {
        show();
        if (one(40)) {
            const std::uint64_t key = random_() % 60;
            node_.request(AttributeEvent::joinIn, msrp() ? listenerType : vlanType,
                          hex(msrp() ? listener(key, 2) : be(key, 2)), 1 + random_() % 2);
        }
        if (one(40)) {  // of a type that the application lacks
            node_.lib->mrpOutIntfQueueEnq(node_.intf(1));
            node_.lib->mrpSendAttribute({node_.intf(1), 5, AttributeEvent::joinIn, false});
        }
        if (one(90)) {
            node_.instance->disable(node_.intf(1));
        }
        return indication.join && one(9);
    }
    void show() {
        const MrpSm& sm = node_.sm();
        const MrpParseContext& context = *sm.parseContext();
        text_ += context.intfId().name() + " " + std::to_string(context.attributeType()) + " " +
                 std::to_string(context.attributeKey()) + " " +
                 std::to_string(context.attributeEvent()) + " " +
                 std::to_string(context.eventsCounter()) + " " +
                 std::string(stringValue(sm.applicantSm()->applicantEvent())) + " " +
                 std::string(stringValue(sm.registrarSm()->registrarEvent())) + " " +
                 std::to_string(node_.counters().numOfJoinIndications());
        for (AttributeType type = 1; type <= sm.maxAttrTypes(); ++type) {
            for (const auto* image : {&node_.lib->rxImage(), &node_.lib->txImage()}) {
                const auto octets = std::as_const(*image).octets(type, node_.lib->application());
                text_ += " " + text(Bytes(octets.begin(), octets.end()));
            }
            for (const AttributeKey key : sm.visibleKeys(node_.intf(1), type)) {
                text_ += " " + node_.states(type, key);
            }
        }
        for (const auto& [attribute, timer] : sm.registrarSm()->leaveSm()) {
            text_ += " " + std::to_string(timer->leavePending().size()) + " leave at " +
                     std::to_string(timer->expiry());
        }
        for (const auto count : node_.sm().portCountersIs(node_.intf(1)).eventsIn.values) {
            text_ += " " + std::to_string(count);
        }
        text_ += "\n";
    }

    TestNode node_;
    std::mt19937 random_;
    std::string text_;
};

TEST(Quiet, TheTraceChangesNothing) {
    traceSinkIs([](const TraceSource&, int, const std::string&) {});
    std::uint64_t known = 0;
    for (unsigned seed = 0; seed < 12; ++seed) {
        const auto application = seed % 2 == 0 ? MrpApplication::mvrp : MrpApplication::msrp;
        Story quiet(application, seed);
        const std::string expected = quiet.told();
        known += quiet.known();
        setTraceLevel("MrpSm", 8);
        Story traced(application, seed);
        const std::string told = traced.told();
        setTraceLevel("MrpSm", TraceSource::off);
        ASSERT_TRUE(told == expected) << seed;
    }
    traceSinkIs(nullptr);
    EXPECT_GT(known, 1000U) << "the stories have next to nothing that is quiet";
}

// A packet goes as soon as it is full, wherever the machines would send it.
TEST(Quiet, LeaveAllOfSeveralFrames) {
    traceSinkIs([](const TraceSource&, int, const std::string&) {});
    std::vector<std::string> told;
    for (const int level : {TraceSource::off, 8}) {
        setTraceLevel("MrpSm", level);
        TestNode node(MrpApplication::mvrp);
        node.sm().allIntfStatusDir()->valueIs(node.intf(1), {.frameSizeLimit = 130});
        std::string vector = be(400, 2) + "0001";
        for (int octet = 0; octet < 134; ++octet) {
            vector += "2b";
        }
        node.receive("0102" + vector + "0000 0000");
        node.runUntil(node.now() + 1);
        node.sent.clear();
        node.sm().mrpPamSm()->transmitAllLeaveAll(node.intf(1));
        EXPECT_EQ(node.sent.size(), 3U);
        for (const SentFrame& frame : node.sent) {
            told.push_back(frame.messages());
        }
    }
    setTraceLevel("MrpSm", TraceSource::off);
    traceSinkIs(nullptr);
    ASSERT_EQ(told.size(), 6U);
    EXPECT_TRUE(std::equal(told.begin(), told.begin() + 3, told.begin() + 3));
}

// An In changes no state, but it is the occasion on which an attribute that nobody needs goes.
TEST(Quiet, NeitherDeclaredNorRegistered) {
    for (const MrpRegistrarState registrar : {MrpRegistrarState::MT, MrpRegistrarState::IN}) {
        TestNode node(MrpApplication::mvrp);
        node.place(vlanType, 100, MrpApplicantState::VO, registrar);
        node.runUntil(node.now() + 1);  // committed
        node.receive("0102 0001 0064 48 0000 0000");
        const bool registered = registrar == MrpRegistrarState::IN;
        EXPECT_EQ(node.states(vlanType, 100), registered ? "VO/IN" : "-");
    }
}

// A JoinIn that an In for the same attribute follows counts as In, at both places.
TEST(Quiet, TheLastEventCounts) {
    TestNode node(MrpApplication::mvrp);
    node.place(vlanType, 100, MrpApplicantState::QA, MrpRegistrarState::IN);
    node.receive("0102 0001 0064 24 0001 0064 48 0000 0000");
    EXPECT_EQ(node.counters().numOfJoinIndications(), 0U);
    node.receive("0102 0001 0064 48 0001 0064 24 0000 0000");
    EXPECT_EQ(node.counters().numOfJoinIndications(), 2U);
}

}  // namespace
}  // namespace MrpTest::Wire
