#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "Wire.h"

namespace MrpTest::Wire {
namespace {

constexpr std::uint64_t s = 0x0011223344550001;
constexpr std::size_t header = 14;  // what is shorter never gets past the socket filter

struct Valid {
    MrpApplication application;
    std::string body;
};

// A good MRPDU of each type, with several values and a LeaveAll, and one of several messages.
std::vector<Valid> validPdus() {
    const std::string talkers = "0119 001f 2005" + talker(s, s) + "2b b4 0000";
    const std::string fails =
        "0222 004c 0001" + failed(s, s) + "6c 0001" + failed(s, s) + "b4 0000";
    const std::string listeners =
        "0308 001a 0005" + be(s, 8) + "2b2b e4c0 2000" + be(0, 8) + "0000";
    const std::string domains = "0404 0009 2002 06030002 2a 0000";
    const std::string vlans = "0102 2004 0064 2b00 0001 00c8 b4 0000";
    std::vector<Valid> pdus;
    for (const std::string& body :
         {talkers, fails, listeners, domains, domains + talkers + fails + listeners}) {
        pdus.push_back({MrpApplication::msrp, body + "0000"});
    }
    pdus.push_back({MrpApplication::mvrp, vlans + "0000"});
    pdus.push_back({MrpApplication::mvrp, vlans + "0102 2000 0000 0000" + vlans + "0000"});
    return pdus;
}

// An engine that is fed and checked frame by frame. Replaced by a new one now and then, before its
// database gets large; every other one floods.
class Victim {
  public:
    explicit Victim(MrpApplication application) : application_(application) { renew(); }

    // False when something is left of the frame.
    bool take(const Bytes& frame) {
        if (++taken_ % 256 == 0) {
            renew();
        }
        MrpSm& sm = node_->sm();
        const auto processed = node_->counters().numOfPktsProcessed();
        node_->receiveFrame(frame, true, 1);
        const bool clean = node_->counters().numOfPktsProcessed() == processed + 1 &&
                           sm.mrpParsedAttribute().size() == 0 &&
                           sm.mrpParsedAttributeKey().empty() && sm.msrpParsedDomainKey().empty() &&
                           sm.mrpRxLeaveAll().empty() && !MrpSm::futureProtocolVersion() &&
                           !sm.recycledPkt() && !sm.parseContext()->sendTxLvAll();
        if (taken_ % 16 == 0) {
            node_->runUntil(node_->now() + 0.3);
            node_->sent.clear();
            node_->log.clear();
            node_->lib->indications.clear();
        }
        return clean;
    }

    TestNode& node() { return *node_; }
    unsigned taken() const { return taken_; }

  private:
    void renew() {
        const bool floods = taken_ / 256 % 2 == 1;
        node_.reset();
        node_ = std::make_unique<TestNode>(
            application_, 2, [floods](MrpConfig& config) { config.mrpFloodingIs(floods); });
    }

    MrpApplication application_;
    std::unique_ptr<TestNode> node_;
    unsigned taken_ = 0;
};

TEST(Hostile, EveryPrefixAndEveryFlippedBit) {
    for (const Valid& pdu : validPdus()) {
        TestNode node(pdu.application);
        ASSERT_EQ(parsed(node, pdu.body).find('m'), std::string::npos) << pdu.body;
        Victim victim(pdu.application);
        for (const std::uint8_t version : {std::uint8_t{0}, std::uint8_t{1}}) {
            const Bytes frame = victim.node().frameOf(pdu.body, version);
            for (std::size_t size = header; size <= frame.size(); ++size) {
                ASSERT_TRUE(victim.take({frame.begin(), frame.begin() + std::ptrdiff_t(size)}))
                    << text(frame) << " cut to " << size;
            }
            for (std::size_t bit = 0; bit < frame.size() * 8; ++bit) {
                Bytes flipped = frame;
                flipped[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
                ASSERT_TRUE(victim.take(flipped)) << text(flipped);
            }
        }
    }
}

class RandomFrames {
  public:
    explicit RandomFrames(unsigned seed) : random_(seed) {}

    // Random octets behind the Ethernet header of a frame.
    Bytes octets(Bytes frame) {
        frame.resize(header);
        frame.push_back(static_cast<std::uint8_t>(below(8) == 0 ? 1 : 0));
        const std::size_t size = below(1U << below(9));
        while (frame.size() < header + 1 + size) {
            frame.push_back(octet());
        }
        return frame;
    }

    // One to six changes: numbers set, pieces doubled, cut out or moved in from elsewhere.
    Bytes mutated(Bytes frame) {
        for (std::size_t changes = 1 + below(6); changes > 0 && frame.size() > header; --changes) {
            const std::size_t at = header + below(frame.size() - header);
            const std::size_t size = 1 + below(std::min<std::size_t>(frame.size() - at, 40));
            const auto first = frame.begin() + static_cast<std::ptrdiff_t>(at);
            const auto last = first + static_cast<std::ptrdiff_t>(size);
            switch (below(5)) {
            case 0:
                *first = octet();
                break;
            case 1: {
                const std::uint16_t number = numbers[below(std::size(numbers))];
                *first = static_cast<std::uint8_t>(number >> 8U);
                *(last - 1) = static_cast<std::uint8_t>(number);
                break;
            }
            case 2:
                frame.erase(first, below(8) == 0 ? frame.end() : last);
                break;
            case 3:
                std::rotate(frame.begin() + header, first, last);
                break;
            default: {
                const Bytes piece(first, last);
                frame.insert(frame.end() - static_cast<std::ptrdiff_t>(below(8)), piece.begin(),
                             piece.end());
            }
            }
        }
        return frame;
    }

  private:
    static constexpr std::uint16_t numbers[] = {0, 1, 2, 3, 0x2000, 0x2001, 0x1fff, 0x4000, 0xffff};

    std::size_t below(std::size_t limit) { return random_() % limit; }
    std::uint8_t octet() {
        // Small numbers make more of a frame than others.
        return static_cast<std::uint8_t>(below(2) == 0 ? below(40) : below(256));
    }

    std::mt19937 random_;
};

TEST(Hostile, RandomOctetsAndRandomChanges) {
    const std::vector<Valid> pdus = validPdus();
    for (std::size_t i = 0; i < pdus.size(); ++i) {
        Victim victim(pdus[i].application);
        RandomFrames random(static_cast<unsigned>(i));
        const Bytes valid = victim.node().frameOf(pdus[i].body);
        while (victim.taken() < 16000) {
            const Bytes noise = random.octets(valid);
            ASSERT_TRUE(victim.take(noise)) << text(noise);
            const Bytes mutation = random.mutated(valid);
            ASSERT_TRUE(victim.take(mutation)) << text(mutation);
        }
    }
}

// As many values as one frame can carry: a walk that is quadratic in them does not end here.
TEST(Hostile, FramesFullOfValues) {
    TestNode mvrp(MrpApplication::mvrp);
    std::string vlans = "0102";
    for (unsigned vector = 0; vector < 3; ++vector) {
        vlans += be(0x2000 + 8191, 2) + vlan(vector * 8191);
        for (unsigned i = 0; i < 2731; ++i) {
            vlans += "2b";
        }
    }
    mvrp.receive(vlans + "0000 0000");
    EXPECT_EQ(mvrp.counters().numOfMalformedPkts(), 0U);
    EXPECT_EQ(mvrp.sm().visibleKeys(mvrp.intf(1), vlanType).size(), 3 * 8191U);
    mvrp.receive(vlans + "0000 0000");
    EXPECT_EQ(mvrp.states(vlanType, 3 * 8191 - 1).substr(3), "IN");

    TestNode msrp(MrpApplication::msrp);
    std::string domains = "0404" + be(1400 * 7 + 2, 2);
    for (unsigned vector = 0; vector < 1400; ++vector) {
        domains += "2001" + domain(vector % 256, 3) + "24";
    }
    msrp.receive(domains + "0000 0000");
    EXPECT_EQ(msrp.counters().numOfMalformedPkts(), 0U);
    EXPECT_EQ(msrp.sm().visibleKeys(msrp.intf(1), domainType).size(), 256U);
}

}  // namespace
}  // namespace MrpTest::Wire
