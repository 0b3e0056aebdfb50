#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "mrp/MrpSm/types/RecordCursor.h"
#include "platform/base/BigEndian.h"

// Most of what neighbours send says again what they have said before: it is in the database, the
// applicant's cell is empty, and the registrar stays IN with the value that it has. Such values are
// passed over here by the vector, without the machines. What the machines would leave behind is
// there before anybody can look: the counter, the attribute in hand, both images, the events.
//
// A value that would be traced, sent, told, logged or stored is none of these. Nothing here calls
// out, so that what is known of the database holds for a whole walk.

namespace Mrp {

namespace {

enum class Effect : std::uint8_t {
    some,  // for the machines
    none,
    known,  // none while the value is the one stored, but the join is counted
};

constexpr std::size_t wireEvents = 8;
constexpr std::size_t attributeTypes = domainType + 1;
using Effects =
    std::array<std::array<std::array<Effect, wireEvents>, registrarStates>, applicantStates>;

Effect effectOf(MrpApplicantState applicant, MrpRegistrarState registrar, std::uint8_t event) {
    if (!MrpApplicantSm::ignores(applicant, MrpApplicantSm::mrpMapRxApplicantEvent(event))) {
        return Effect::some;
    }
    switch (MrpRegistrarSm::mrpMapRxRegistrarEvent(event)) {
    case MrpRegistrarEvent::none: {
        const bool deleted =
            applicant == MrpApplicantState::VO && registrar == MrpRegistrarState::MT;
        return deleted ? Effect::some : Effect::none;
    }
    case MrpRegistrarEvent::rxJoinIn:
    case MrpRegistrarEvent::rxJoinMt:
        return registrar == MrpRegistrarState::IN ? Effect::known : Effect::some;
    default:
        return Effect::some;
    }
}

Effects makeEffects() {
    Effects effects{};
    for (std::size_t applicant = 0; applicant < applicantStates; ++applicant) {
        for (std::size_t registrar = 0; registrar < registrarStates; ++registrar) {
            for (std::size_t event = 0; event < wireEvents; ++event) {
                effects[applicant][registrar][event] = effectOf(
                    static_cast<MrpApplicantState>(applicant),
                    static_cast<MrpRegistrarState>(registrar), static_cast<std::uint8_t>(event));
            }
        }
    }
    return effects;
}

const Effects effects = makeEffects();

Effect effectOn(const MrpAttrDatabase& record, std::uint8_t event) {
    const auto applicant = static_cast<std::size_t>(record.applicantState());
    const auto registrar = static_cast<std::size_t>(record.registrarState());
    return applicant < applicantStates && registrar < registrarStates
               ? effects[applicant][registrar][event]
               : Effect::some;
}

// The events of a vector one after the other, from one on.
class Events {
  public:
    Events(const std::uint8_t* packed, std::uint32_t first) : packed_(packed + first / 3) {
        for (std::uint32_t before = first % 3; before > 0; --before) {
            next();
        }
    }

    std::uint8_t next() {
        if (left_ == 0) {
            now_ = threePackedEvents[*packed_++].data();
            left_ = 3;
        }
        --left_;
        return *now_++;
    }

  private:
    const std::uint8_t* packed_;
    const std::uint8_t* now_ = nullptr;
    unsigned left_ = 0;
};

// Whether records store the values of a vector, from one on, which are asked for in their order.
// The octets of a VLAN are its key.
class VlanValues {
  public:
    VlanValues(const MrpParsedAttributes&, const MrpParsedPlace&) {}

    static bool storedIn(const MrpAttrDatabase&) { return true; }
    void next() {}
};

class ListenerValues {
  public:
    ListenerValues(const MrpParsedAttributes& parsed, const MrpParsedPlace& first)
        : index_(first.value) {
        const MrpParsedVector& vector = parsed.vectors()[first.vector];
        streamId_ = vector.key(index_);
        fourPacked_ = parsed.threePacked(vector) + threePackedBytes(vector.values);
    }

    bool storedIn(const MrpAttrDatabase& record) const {
        const std::uint8_t* const stored = record.attributeValue().data();
        const std::uint32_t declaration = fourPackedEvent(fourPacked_, index_);
        return readBe<std::uint64_t>(stored) == streamId_ &&
               readBe<std::uint32_t>(stored + sizeof(streamId_)) == declaration << 24U;
    }
    void next() {
        ++index_;
        ++streamId_;
    }

  private:
    const std::uint8_t* fourPacked_;
    std::uint64_t streamId_;
    std::uint32_t index_;
};

class TalkerValues {
  public:
    TalkerValues(const MrpParsedAttributes& parsed, const MrpParsedPlace& first)
        : vector_(parsed.vectors()[first.vector]) {
        parsed.copyValue(first, value());
    }

    bool storedIn(const MrpAttrDatabase& record) const {
        return std::memcmp(octets_.data(), record.attributeValue().data(), vector_.valueSize) == 0;
    }
    void next() { mrpAdvanceValue(value(), vector_.attributeType, vector_.application, 1); }

  private:
    std::span<std::uint8_t> value() { return std::span(octets_).first(vector_.valueSize); }

    const MrpParsedVector& vector_;
    std::array<std::uint8_t, sizeof(MsrpTalkerFailedAttribute)> octets_;
};

}  // namespace

// A walk over the values of the PDU in hand as long as they are quiet. It changes nothing.
class MrpSm::QuietWalk {
  public:
    QuietWalk(const MrpSm& mrpSm, IntfId intfId, const MrpParsedPlace& from)
        : mrpSm_(mrpSm), parsed_(mrpSm.mrpParsedAttribute()), intfId_(intfId), at_(from) {
        const MrpApplicationDatabase* database = mrpSm.applicationDatabase();
        intf_ = database != nullptr ? database->attrDatabase(intfId) : nullptr;
        run();
    }

    // Where it ended: at a value that is not quiet, or behind the last.
    const MrpParsedPlace& at() const { return at_; }
    // How many values it has passed, and how many of these are joins.
    std::size_t passed() const { return passed_; }
    std::size_t joins() const { return joins_; }
    // Whether it makes no difference that an attribute came more than once, and its last event and
    // value count: all that is left of the PDU has been passed, with one effect.
    bool mayRepeat() const {
        return at_.vector == parsed_.vectors().size() && (joins_ == 0 || joins_ == passed_);
    }
    const MrpParsedPlace& last() const { return last_; }
    // The last value passed of a type, if there was one.
    const std::optional<MrpParsedPlace>& last(AttributeType type) const {
        return lastOfType_[type];
    }

  private:
    // The records of a type. Whether something is pending is known for the whole walk, and without
    // that they are found in the committed ones alone.
    struct Records {
        bool known = false;
        bool pending = false;
        RecordMap::Cursor committed;
    };

    void run();
    const Records& recordsOf(AttributeType type) {
        if (!records_[type].known) {
            lookInto(type);
        }
        return records_[type];
    }
    void lookInto(AttributeType type);
    bool pass(const MrpParsedVector& vector, const Records& records, RecordMap::Cursor& cursor);
    bool passOne(const MrpParsedVector& vector, const MrpAttrDatabase* record);
    bool passVector(const MrpParsedVector& vector, const Records& records,
                    const RecordMap::Cursor& cursor);
    void passedTo(const MrpParsedVector& vector, std::uint32_t end);
    template <class Values>
    std::uint32_t quietValues(const Records& records, RecordMap::Cursor cursor);
    std::size_t find(const MrpParsedVector& vector, std::uint32_t first, const Records& records,
                     RecordMap::Cursor& cursor, std::span<const MrpAttrDatabase*> found) const;
    template <class Values>
    std::size_t quietOnes(std::span<const MrpAttrDatabase* const> records, Events& events,
                          Values& values);

    const MrpSm& mrpSm_;
    const MrpParsedAttributes& parsed_;
    IntfId intfId_;
    const MrpIntfApplicant* intf_;
    MrpParsedPlace at_;
    MrpParsedPlace last_;
    std::size_t passed_ = 0;
    std::size_t joins_ = 0;
    std::array<Records, attributeTypes> records_;
    std::array<const MrpAttrDatabase*, 32> found_;
    std::array<std::optional<MrpParsedPlace>, attributeTypes> lastOfType_;
};

void MrpSm::QuietWalk::lookInto(AttributeType type) {
    Records& records = records_[type];
    records.known = true;
    records.pending = mrpSm_.addPendingAttr_.records(intfId_, type) != nullptr ||
                      mrpSm_.deletePendingAttr_.records(intfId_, type) != nullptr;
    const MrpIntfTypeApplicant* const committed =
        intf_ != nullptr ? intf_->intfTypeApplicant(type) : nullptr;
    if (committed != nullptr) {
        records.committed = RecordMap::Cursor(committed->mrpAttribute());
    }
}

// Short vectors say something of records that may lie anywhere. Those of some vectors are fetched
// at the same time; of few at first, as the walk may be a short one.
void MrpSm::QuietWalk::run() {
    const std::vector<MrpParsedVector>& vectors = parsed_.vectors();
    std::array<RecordMap::Cursor, 16> cursors;
    for (std::size_t atOnce = 2; at_.vector < vectors.size();
         atOnce = std::min(2 * atOnce, cursors.size())) {
        const auto some = std::span(vectors)
                              .subspan(at_.vector)
                              .first(std::min(atOnce, vectors.size() - at_.vector));
        for (std::size_t i = 0; i < some.size(); ++i) {
            cursors[i] = recordsOf(some[i].attributeType).committed;
            cursors[i].aim(some[i].key(i == 0 ? at_.value : 0));
        }
        for (std::size_t i = 0; i < some.size(); ++i) {
            cursors[i].settle(some[i].key(i == 0 ? at_.value : 0));
        }
        for (std::size_t i = 0; i < some.size(); ++i) {
            if (!pass(some[i], records_[some[i].attributeType], cursors[i])) {
                return;
            }
        }
    }
}

// Passes the vector that the walk is at. Whether it did so to its end.
bool MrpSm::QuietWalk::pass(const MrpParsedVector& vector, const Records& records,
                            RecordMap::Cursor& cursor) {
    const bool passed =
        vector.isDomain() ||  // those have a queue of their own
        (vector.values == 1 && !records.pending ? passOne(vector, cursor.find(vector.firstKey))
                                                : passVector(vector, records, cursor));
    if (passed) {
        at_ = {at_.vector + 1, 0};
    }
    return passed;
}

// Random Stream IDs come in vectors of one value: what is done once a vector counts there.
bool MrpSm::QuietWalk::passOne(const MrpParsedVector& vector, const MrpAttrDatabase* record) {
    if (record == nullptr) {
        return false;
    }
    const Effect effect = effectOn(*record, threePackedEvent(parsed_.threePacked(vector), 0));
    if (effect == Effect::known) {
        const bool stored = vector.application == MrpApplication::mvrp ||
                            (vector.isListener() ? ListenerValues(parsed_, at_).storedIn(*record)
                                                 : TalkerValues(parsed_, at_).storedIn(*record));
        if (!stored) {
            return false;
        }
        ++joins_;
    }
    if (effect != Effect::some) {
        passedTo(vector, 1);
    }
    return effect != Effect::some;
}

bool MrpSm::QuietWalk::passVector(const MrpParsedVector& vector, const Records& records,
                                  const RecordMap::Cursor& cursor) {
    std::uint32_t end = 0;
    if (vector.application == MrpApplication::mvrp) {
        end = quietValues<VlanValues>(records, cursor);
    } else if (vector.isListener()) {
        end = quietValues<ListenerValues>(records, cursor);
    } else {
        end = quietValues<TalkerValues>(records, cursor);
    }
    passedTo(vector, end);
    return end == vector.values;
}

void MrpSm::QuietWalk::passedTo(const MrpParsedVector& vector, std::uint32_t end) {
    if (end != at_.value) {
        passed_ += end - at_.value;
        at_.value = end;
        last_ = {at_.vector, end - 1};
        lastOfType_[vector.attributeType] = last_;
    }
}

// Finds the records of a vector's values from one on, until one has none. How many.
std::size_t MrpSm::QuietWalk::find(const MrpParsedVector& vector, std::uint32_t first,
                                   const Records& records, RecordMap::Cursor& cursor,
                                   std::span<const MrpAttrDatabase*> found) const {
    std::size_t count = 0;
    while (count < found.size()) {
        const AttributeKey key = vector.key(first + static_cast<std::uint32_t>(count));
        if (!records.pending && found.size() - count - 1 <= vector.keyMask - key) {
            return count + cursor.find(key, found.subspan(count));
        }
        found[count] = records.pending
                           ? mrpSm_.mrpGetAttrFromDatabase(intfId_, vector.attributeType, key, true)
                           : cursor.find(key);
        if (found[count] == nullptr) {
            break;
        }
        ++count;
    }
    return count;
}

// Where the quiet values from the walk's place on end, within their vector. Records are looked for
// some at a time: two short loops are quicker than one.
template <class Values>
std::uint32_t MrpSm::QuietWalk::quietValues(const Records& records, RecordMap::Cursor cursor) {
    const MrpParsedVector& vector = parsed_.vectors()[at_.vector];
    Events events(parsed_.threePacked(vector), at_.value);
    Values values(parsed_, at_);
    std::uint32_t at = at_.value;
    std::size_t some = 8;  // at first, as the walk may be a short one
    while (at != vector.values) {
        const std::size_t wanted = std::min<std::size_t>(some, vector.values - at);
        const std::size_t found =
            find(vector, at, records, cursor, std::span(found_).first(wanted));
        const std::size_t quiet = quietOnes(std::span(found_).first(found), events, values);
        at += static_cast<std::uint32_t>(quiet);
        some = found_.size();
        if (quiet != wanted) {
            break;
        }
    }
    return at;
}

// How many of the records the values leave as they are, from the first on. Counts their joins.
template <class Values>
std::size_t MrpSm::QuietWalk::quietOnes(std::span<const MrpAttrDatabase* const> records,
                                        Events& events, Values& values) {
    std::size_t joins = 0;
    std::size_t quiet = 0;
    for (; quiet < records.size(); ++quiet) {
        const Effect effect = effectOn(*records[quiet], events.next());
        if (effect == Effect::some ||
            (effect == Effect::known && !values.storedIn(*records[quiet]))) {
            break;
        }
        joins += effect == Effect::known ? 1 : 0;
        values.next();
    }
    joins_ += joins;
    return quiet;
}

bool MrpSm::passQuietValues(MrpParsedQueue& queue, IntfId intfId) {
    if (mrpSmTrace.enabled(handlerTraceLevel) || mrpParsedAttribute_.knownToRepeat() ||
        queue.empty() || queue.headVector().isDomain()) {
        return false;
    }
    const QuietWalk walk(*this, intfId, queue.head());
    if (walk.passed() == 0 || (!walk.mayRepeat() && mrpParsedAttribute_.repeats())) {
        return false;
    }
    queue.headIs(walk.at());
    mrpCounters_->numOfJoinIndicationsInc(walk.joins());
    for (AttributeType type = 1; type < attributeTypes; ++type) {
        if (walk.last(type)) {
            loadImages(*walk.last(type));
        }
    }
    showQuietValue(walk.last(), intfId);
    return true;
}

// Loads the value of a place into both images.
void MrpSm::loadImages(const MrpParsedPlace& place) {
    const MrpParsedVector& vector = mrpParsedAttribute_.vectors()[place.vector];
    const auto rx = mrpLib_->rxImage().octets(vector.attributeType, vector.application);
    const auto tx = mrpLib_->txImage().octets(vector.attributeType, vector.application);
    mrpParsedAttribute_.copyValue(place, rx);
    std::copy(rx.begin(), rx.end(), tx.begin());
}

// Makes a value the one in hand, as the machines leave it.
void MrpSm::showQuietValue(const MrpParsedPlace& place, IntfId intfId) {
    const MrpParsedVector& vector = mrpParsedAttribute_.vectors()[place.vector];
    const std::uint8_t event = mrpParsedAttribute_.eventAt(place);
    parseContext_->attributeIs({intfId, vector.attributeType, vector.key(place.value)});
    parseContext_->attributeEventIs(event);
    applicantSm_->applicantEventIs(MrpApplicantSm::mrpMapRxApplicantEvent(event));
    registrarSm_->registrarEventIs(MrpRegistrarSm::mrpMapRxRegistrarEvent(event));
}

}  // namespace Mrp
