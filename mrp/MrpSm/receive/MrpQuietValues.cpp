#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"

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

// The values of a vector, as records store them, from one on.
class Values {
  public:
    Values(const MrpParsedAttributes& parsed, const MrpParsedPlace& first)
        : vector_(parsed.vectors()[first.vector]), events_(parsed.events(vector_)) {
        if (!vlans()) {
            parsed.copyValue(first, value());
        }
    }

    // Whether the record stores the value in hand, which is that of the index.
    bool storedIn(const MrpAttrDatabase& record, std::uint32_t index) {
        const std::uint8_t* const stored = record.attributeValue().data();
        if (vlans()) {
            return true;  // the octets of a VLAN are its key
        }
        if (vector_.isListener()) {
            octets_[sizeof(MsrpListenerStreamAttribute)] = events_[vector_.values + index];
            return std::memcmp(octets_.data(), stored, sizeof(MsrpListenerAttribute)) == 0;
        }
        return std::memcmp(octets_.data(), stored, vector_.valueSize) == 0;
    }
    void next() {
        if (!vlans()) {
            mrpAdvanceValue(value(), vector_.attributeType, vector_.application, 1);
        }
    }

  private:
    bool vlans() const { return vector_.application == MrpApplication::mvrp; }
    std::span<std::uint8_t> value() { return std::span(octets_).first(vector_.valueSize); }

    const MrpParsedVector& vector_;
    const std::uint8_t* events_;
    std::array<std::uint8_t, sizeof(MsrpTalkerFailedAttribute)> octets_;
};

}  // namespace

// Whether an interface and type have nothing pending is known for the whole walk, and then its
// records are found in the committed ones alone.
class MrpSm::QuietRecords {
  public:
    QuietRecords(const MrpSm& mrpSm, IntfId intfId) : mrpSm_(mrpSm), intfId_(intfId) {
        const MrpApplicationDatabase* database = mrpSm.applicationDatabase();
        intf_ = database != nullptr ? database->attrDatabase(intfId) : nullptr;
        pending_ = !mrpSm.addPendingAttr_.empty() || !mrpSm.deletePendingAttr_.empty();
    }

    // Null when there is none.
    const MrpAttrDatabase* record(AttributeType type, AttributeKey key) {
        if (pending_) {
            return mrpSm_.mrpGetAttrFromDatabase(intfId_, type, key, true);
        }
        if (type != type_) {
            type_ = type;
            records_ = intf_ != nullptr ? intf_->intfTypeApplicant(type) : nullptr;
        }
        return records_ != nullptr ? records_->mrpAttribute(key) : nullptr;
    }

  private:
    const MrpSm& mrpSm_;
    IntfId intfId_;
    const MrpIntfApplicant* intf_;
    bool pending_;
    AttributeType type_ = 0;
    const MrpIntfTypeApplicant* records_ = nullptr;
};

bool MrpSm::passQuietValues(MrpParsedQueue& queue, IntfId intfId) {
    if (mrpSmTrace.enabled(handlerTraceLevel) || mrpParsedAttribute_.repeats()) {
        return false;
    }
    QuietRecords records(*this, intfId);
    std::array<std::optional<MrpParsedPlace>, attributeTypes> lastOfType;
    std::optional<MrpParsedPlace> last;
    while (!queue.empty() && !queue.headVector().isDomain()) {
        const MrpParsedPlace head = queue.head();
        const std::uint32_t end = quietValues(head, records);
        if (end != head.value) {
            last = {head.vector, end - 1};
            lastOfType[queue.headVector().attributeType] = last;
            queue.skip(end - head.value);
        }
        if (end != mrpParsedAttribute_.vectors()[head.vector].values) {
            break;
        }
    }
    if (!last) {
        return false;
    }
    for (const auto& place : lastOfType) {
        if (place) {
            loadImages(*place);
        }
    }
    showQuietValue(*last, intfId);
    return true;
}

// Where the quiet values from a place on end, within its vector. Counts their joins.
std::uint32_t MrpSm::quietValues(const MrpParsedPlace& first, QuietRecords& records) {
    const MrpParsedVector& vector = mrpParsedAttribute_.vectors()[first.vector];
    const std::uint8_t* const events = mrpParsedAttribute_.events(vector);
    Values values(mrpParsedAttribute_, first);
    MrpCounters::Count joins = 0;
    std::uint32_t at = first.value;
    for (; at < vector.values; ++at) {
        if (at != first.value) {
            values.next();
        }
        const MrpAttrDatabase* record = records.record(vector.attributeType, vector.key(at));
        if (record == nullptr) {
            break;
        }
        const Effect effect = effectOn(*record, events[at]);
        if (effect == Effect::some || (effect == Effect::known && !values.storedIn(*record, at))) {
            break;
        }
        joins += effect == Effect::known ? 1 : 0;
    }
    mrpCounters_->numOfJoinIndicationsInc(joins);
    return at;
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
    const std::uint8_t event = mrpParsedAttribute_.events(vector)[place.value];
    parseContext_->attributeIs({intfId, vector.attributeType, vector.key(place.value)});
    parseContext_->attributeEventIs(event);
    applicantSm_->applicantEventIs(MrpApplicantSm::mrpMapRxApplicantEvent(event));
    registrarSm_->registrarEventIs(MrpRegistrarSm::mrpMapRxRegistrarEvent(event));
}

}  // namespace Mrp
