#include <gtest/gtest.h>

#include <map>
#include <random>

#include "Messages.h"
#include "platform/base/ScopeGuard.h"
#include "platform/log/AttrLog.h"

namespace MrpTest {

namespace {

// An attribute log output with a reader of the test's making.
class FakeOutput final : public AttrLogSocketOutput {
  public:
    using AttrLogSocketOutput::AttrLogSocketOutput;

    int sendBufferSize() const override { return 1001; }  // half of it, rounded down, is 500
    int unsentBytes() const override { return ++asked > clearFor ? unsent : 0; }

    int unsent = 501;
    int clearFor = 0;  // how many times the log is empty before `unsent` counts
    mutable int asked = 0;
};

// The keys that are committed out of 1 to 9, as text.
std::string committedVlans(TestNode& node) {
    std::string keys;
    for (AttributeKey key = 1; key < 10; ++key) {
        keys += node.committed(vlanType, key) ? std::to_string(key) : "";
    }
    return keys;
}

// The iteration set of VLANs on et1, as text; "-" when there is none.
std::string iterKeys(TestNode& node) {
    const Ptr<MrpAttrIter> iter = node.sm().mrpAttrIter({node.intf(1), vlanType});
    std::string keys = iter ? "" : "-";
    for (const AttributeKey key : iter ? iter->snapshot() : std::vector<AttributeKey>()) {
        keys += std::to_string(key);
    }
    return keys;
}

}  // namespace

TEST(Database, AdditionIsVisibleAtOnceAndCommittedATenthLater) {
    TestNode node(MrpApplication::msrp);
    node.runUntil(0.03);
    EXPECT_EQ(node.sm().addAttrToAddPending({node.intf(1), listenerType, 4})->key(), 4U);
    EXPECT_EQ(node.states(listenerType, 4), "VO/MT");
    node.request(Ev::joinIn, talkerType, hex(talker(1, 8)));
    node.runUntil(0.129);
    EXPECT_FALSE(node.committed(listenerType, 4));
    node.runUntil(0.131);
    EXPECT_TRUE(node.committed(listenerType, 4));
    EXPECT_TRUE(node.sm().addPendingAttr().empty());
    // States and value have come along; the value is the declared one.
    EXPECT_EQ(node.states(talkerType, 1), "QA/MT");
    EXPECT_EQ(stored(node, talkerType, 1), talker(1, 8));
    // A declaration with another value replaces it.
    node.request(Ev::newEvent, talkerType, hex(talker(1, 9)));
    EXPECT_EQ(stored(node, talkerType, 1), talker(1, 9));
}

// At most four reviews in a second; a fifth waits and takes along what came meanwhile.
TEST(Database, ReviewsAreRateLimited) {
    TestNode node(MrpApplication::mvrp);
    for (std::uint16_t id = 1; id <= 6; ++id) {
        node.runUntil(0.1 * (id - 1));
        node.declareVlan(id);
    }
    node.runUntil(1.05);
    EXPECT_EQ(committedVlans(node), "1234");
    EXPECT_EQ(node.states(vlanType, 5), "QA/MT");
    node.runUntil(1.15);
    EXPECT_EQ(committedVlans(node), "123456");
    EXPECT_NEAR(node.sm().mrpDatabaseAddSm()->lastReview(), 1.1, 1e-6);
}

// Beside a map: keys that come in order, in none, and again, and the walk of a review.
TEST(Database, PendingRecordsInOrder) {
    PendingOfType pending;
    std::map<AttributeKey, MrpAttrDatabase*> model;
    std::mt19937 random(1);
    const auto walk = [&](AttributeKey from) {
        auto found = pending.lower_bound(from);
        for (auto entry = model.lower_bound(from); entry != model.end(); ++entry, ++found) {
            ASSERT_EQ((*found).key, entry->first);
            ASSERT_EQ((*found).record, entry->second);
        }
        EXPECT_EQ(found, pending.end());
        EXPECT_EQ(pending.size(), model.size());
    };
    for (unsigned i = 0; i < 6000; ++i) {
        const AttributeKey key = i < 400 ? i : (random() % 1500) << 20U;
        ASSERT_EQ(pending.find(key), model.contains(key) ? model[key] : nullptr);
        if (model.contains(key)) {
            ASSERT_TRUE(pending.erase(key));
            model.erase(key);
        } else {
            const auto record = MrpAttrDatabase::make(key);
            pending.insert(record);
            model[key] = record.get();
        }
        ASSERT_FALSE(pending.erase(key + 1000));
        if (i % 1000 == 399) {
            walk((random() % 1000) << 20U);
        }
    }
    for (; !model.empty(); model.erase(model.begin())) {
        ASSERT_EQ((*pending.begin()).key, model.begin()->first);
        ASSERT_TRUE(pending.erase(model.begin()->first));
    }
    EXPECT_EQ(pending.begin(), pending.end());
}

TEST(Database, PendingAdditionsAndDeletions) {
    TestNode node(MrpApplication::mvrp);
    MrpSm& sm = node.sm();
    const MrpAttribute attribute{node.intf(1), vlanType, 5};
    // Only pending: returned as it is; forgotten without a trace.
    const Ptr<MrpAttrDatabase> first = sm.addAttrToAddPending(attribute);
    EXPECT_EQ(sm.addAttrToAddPending(attribute), first);
    sm.addAttrToDeletePending(attribute);
    EXPECT_EQ(node.states(vlanType, 5), "-");
    EXPECT_EQ(iterKeys(node), "-");
    EXPECT_TRUE(sm.deletePendingAttr().empty());
    node.runUntil(0.3);
    EXPECT_EQ(committedVlans(node), "");

    // Committed: returned as it is, but mrpAddAttrToDatabase resets its states.
    node.place(vlanType, 5, Applicant::QA, Registrar::IN);
    node.runUntil(0.6);
    ASSERT_EQ(committedVlans(node), "5");
    sm.addAttrToAddPending(attribute);
    EXPECT_EQ(node.states(vlanType, 5), "QA/IN");
    EXPECT_TRUE(sm.addPendingAttr().empty());
    sm.mrpAddAttrToDatabase(attribute.intfId, vlanType, 5, false);
    EXPECT_EQ(node.states(vlanType, 5), "VO/MT");

    // Deleted: invisible at once, gone a tenth later, and the iteration set with it.
    sm.addAttrToDeletePending(attribute);
    EXPECT_EQ(node.states(vlanType, 5), "-");
    EXPECT_TRUE(sm.visibleKeys(attribute.intfId, vlanType).empty());
    EXPECT_EQ(committedVlans(node) + iterKeys(node), "55");
    node.runUntil(0.71);
    EXPECT_EQ(committedVlans(node) + iterKeys(node), "-");

    // The next engine knows nothing of deletions that this one leaves undone.
    node.place(vlanType, 6, Applicant::QA, Registrar::IN);
    node.runUntil(2);
    const Ptr<MrpAttrDatabase> left(
        sm.mrpGetAttrFromDatabase(attribute.intfId, vlanType, 6, false));
    ASSERT_TRUE(left);
    sm.addAttrToDeletePending({node.intf(1), vlanType, 6});
    EXPECT_TRUE(left->deletionPending());
    node.instance.reset();
    EXPECT_FALSE(left->deletionPending());
}

// A new demand cancels the deletion: a fresh record shows at once, and is copied over the old one.
TEST(Database, DemandedAgainBeforeItsDeletion) {
    TestNode node(MrpApplication::mvrp);
    node.declareVlan(5);
    node.runUntil(1);
    node.receive(vlanJoin(5));
    node.request(Ev::internalLeave, vlanType, hex("0005"));
    EXPECT_EQ(node.states(vlanType, 5), "-");
    node.receive(vlanJoin(5));
    EXPECT_EQ(node.states(vlanType, 5), "AO/IN");
    EXPECT_EQ(node.sm().visibleKeys(node.intf(1), vlanType), (std::vector<AttributeKey>{5}));
    node.runUntil(1.5);
    EXPECT_EQ(committedVlans(node) + iterKeys(node), "55");
    EXPECT_EQ(node.states(vlanType, 5), "AO/IN");

    // And queued for deletion while it is both: neither shows, and the deletion stands.
    const MrpAttribute attribute{node.intf(1), vlanType, 5};
    node.sm().addAttrToDeletePending(attribute);
    node.sm().addAttrToAddPending(attribute);
    node.sm().addAttrToDeletePending(attribute);
    EXPECT_EQ(node.states(vlanType, 5), "-");
    node.runUntil(2);
    EXPECT_EQ(committedVlans(node) + iterKeys(node), "-");
}

// Reviews pause while more than half of the attribute log's buffer is unsent, and look again every
// 0.1 s.
TEST(Database, CloggedAttributeLogPausesReviews) {
    const auto other = makePtr<FakeOutput>("msrp");
    const auto output = makePtr<FakeOutput>("mrp");
    for (const auto& each : {other, output}) {
        each->fdIs(7);
        attrLogOutputAdd(each);
    }
    const ScopeGuard remove([&] {
        attrLogOutputDel(other);
        attrLogOutputDel(output);
    });
    TestNode node(MrpApplication::mvrp);
    for (std::uint16_t id = 1; id <= 5; ++id) {
        node.declareVlan(id);
    }
    node.runUntil(0.35);
    EXPECT_EQ(committedVlans(node), "");
    EXPECT_EQ(output->asked, 3);
    output->clearFor = output->asked + 2;  // room for two, then clogged in the middle of the walk
    node.runUntil(0.45);
    EXPECT_EQ(committedVlans(node), "12");
    output->unsent = 500;  // the threshold itself does not count
    node.runUntil(0.55);
    EXPECT_EQ(committedVlans(node), "12345");
    EXPECT_EQ(other->asked, 0);
}

// What is told of a record is true: not what a received LeaveAll only assumes of it, and nothing of
// one that is pending.
TEST(Database, TellsOfItsChanges) {
    TestNode node(MrpApplication::mvrp);
    std::string told;
    const Reactor reactor = node.sm().applicationDatabase()->recordChanged().react(
        [&](const MrpAttribute& attribute, const MrpAttrDatabase* record) {
            told += std::to_string(attribute.key);
            if (record != nullptr) {
                told += stringValue(record->applicantState());
                told += stringValue(record->registrarState());
            }
            told += ' ';
        });
    node.receive(vlanJoin(5));
    node.receive(vlanJoin(5));
    EXPECT_EQ(std::exchange(told, ""), "");
    node.runUntil(0.2);
    EXPECT_EQ(std::exchange(told, ""), "5QOIN ");
    node.receive(vlanLeaveAll);
    EXPECT_EQ(std::exchange(told, ""), "5VOIN 5VOLV ");
    node.runUntil(2);
    EXPECT_EQ(told, "5VOMT 5 ");
}

TEST(Database, DisablingAnInterfaceForgetsItsAttributes) {
    TestNode node(MrpApplication::msrp, 2);
    node.request(Ev::joinIn, talkerType, hex(talker(1)));
    node.request(Ev::joinIn, domainType, hex("06030002"));
    node.request(Ev::joinIn, domainType, hex("06030002"), 2);
    node.runUntil(0.2);
    node.request(Ev::newEvent, listenerType, hex(stream(2) + "02000000"));
    takeSent(node);
    node.instance->disable(node.intf(1));
    const std::string pdu = onePdu(listenerType, stream(2), Ev::newEvent);
    EXPECT_EQ(takeSent(node), pdu + "|" + pdu);  // what was pending leaves first
    EXPECT_FALSE(node.sm().mrpPamSm()->mrpIntfPamSmHas(node.intf(1)));
    for (const AttributeType type : {talkerType, listenerType, domainType}) {
        EXPECT_TRUE(node.sm().visibleKeys(node.intf(1), type).empty());
    }
    node.runUntil(0.5);
    EXPECT_FALSE(node.committed(talkerType, 1));
    EXPECT_FALSE(node.committed(domainType, 6));
    EXPECT_TRUE(node.committed(domainType, 6, 2));
    EXPECT_EQ(node.sm().mrpAttrIter().size(), 1U);
    EXPECT_TRUE(node.lib->indications.empty());
}

TEST(Database, RequestsThatEndAnAttribute) {
    TestNode node(MrpApplication::mvrp);
    for (std::uint16_t id = 1; id <= 4; ++id) {
        node.declareVlan(id);
    }
    node.receive(vlanJoin(2));
    node.receive(vlanJoin(3));
    node.receive(vlanLv(3));
    node.runUntil(0.2);
    takeSent(node);
    node.lib->indications.clear();
    // Withdrawn: goes when it is not registered either.
    node.withdrawVlan(1);
    node.withdrawVlan(2);
    EXPECT_EQ(node.states(vlanType, 1), "-");
    EXPECT_EQ(node.states(vlanType, 2), "VO/IN");
    // Forgotten: silently, registered or not, and its leave with it.
    node.request(Ev::internalLeave, vlanType, hex("0003"));
    EXPECT_EQ(node.states(vlanType, 3), "-");
    // By the agent's name for it: committed ones only.
    node.declareVlan(5);
    node.lib->mrpCleanUpIntfDatabaseAttribute(node.intf(1), vlanType, 4);
    node.lib->mrpCleanUpIntfDatabaseAttribute(node.intf(1), vlanType, 5);
    node.runUntil(2);
    EXPECT_EQ(committedVlans(node), "25");
    EXPECT_TRUE(node.lib->indications.empty());
    const std::string lv1and2 = "00020001" + octet(5 * 36 + 5 * 6);
    EXPECT_EQ(takeSent(node), "0102" + lv1and2 + "000100056c00000000|" + vlanPdu(5, Ev::joinMt));
}

// The last one takes the set with it, while it is being walked.
TEST(Database, LeaveAllPrunesKeysWithoutARecord) {
    TestNode node(MrpApplication::mvrp);
    node.sm().addToAttrIter(node.intf(1), vlanType, 3);
    node.sm().addToAttrIter(node.intf(1), vlanType, 7);
    node.receive(vlanLeaveAll);
    EXPECT_EQ(iterKeys(node), "-");
    EXPECT_EQ(node.states(vlanType, 3), "-");
}

}  // namespace MrpTest
