#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "mrp/MrpSm/receive/MrpParsedIndex.h"
#include "mrp/MrpSm/receive/MrpParsedVector.h"
#include "mrp/MrpSm/types/MrpParsedAttribute.h"

namespace Mrp {

// What the PDU in hand says, in the order in which it came. One frame can carry thousands of
// values, and they all go when it has been processed: so vectors are filed as they came, in arrays
// that are kept, and deleting all costs the same for any number. When an attribute comes more than
// once its last event and value count, at every place where it came.
class MrpParsedAttributes {
  public:
    bool empty() const { return vectors_.empty(); }
    // How many different attributes there are.
    std::size_t size() const;
    const std::vector<MrpParsedVector>& vectors() const { return vectors_; }

    // Adds octets in which vectors lie, and tells where they begin.
    std::span<std::uint8_t> octetsAre(std::span<const std::uint8_t> octets);
    // Where the octets that are added next will begin.
    std::uint32_t nextOctets() const { return static_cast<std::uint32_t>(octets_.size()); }
    // Files a vector of at least one value, of a type that the application has: one of a kind, with
    // its first key. Its octets begin at that place, as on the wire but without reserved bits; they
    // may be added after it.
    void vectorIs(const MrpParsedVector& kind, AttributeKey firstKey, std::uint16_t values,
                  std::uint32_t octets) {
        if (ascending_ && !vectors_.empty()) {
            const MrpParsedVector& before = vectors_.back();
            ascending_ =
                before.attributeType < kind.attributeType ||
                (before.attributeType == kind.attributeType && before.lastKey() < firstKey);
        }
        wraps_ = wraps_ || values - 1U > kind.keyMask - firstKey;
        repeats_.reset();
        values_ += values;
        vectors_.push_back(kind);
        MrpParsedVector& vector = vectors_.back();
        vector.firstKey = firstKey;
        vector.values = values;
        vector.octets = octets;
    }
    void delAll();

    // Whether an attribute came more than once. To find out takes time; it is known afterwards.
    bool repeats() const;
    bool knownToRepeat() const { return repeats_.value_or(false); }
    // Where an attribute came last; nothing when it did not come.
    std::optional<MrpParsedPlace> find(const MrpParsedAttributeKey& key) const;

    // The event that came last for an attribute; nothing when it did not come.
    std::optional<std::uint8_t> event(const MrpParsedAttributeKey& key) const;

    // The octets of a vector: those of the first value, and the packed events behind it.
    const std::uint8_t* firstValue(const MrpParsedVector& vector) const {
        return octets_.data() + vector.octets;
    }
    const std::uint8_t* threePacked(const MrpParsedVector& vector) const {
        return firstValue(vector) + vector.valueSize;
    }
    // The event that came at a place.
    std::uint8_t eventAt(const MrpParsedPlace& place) const;
    // Writes the value of a place as a database record stores it.
    void copyValue(const MrpParsedPlace& place, std::span<std::uint8_t> octets) const;
    // The attribute that came at a place, with the event and value that came last for it.
    MrpParsedAttribute attribute(const MrpParsedPlace& place) const;

  private:
    bool rangesOverlap() const;
    const MrpParsedIndex& index() const;

    std::vector<MrpParsedVector> vectors_;
    std::vector<std::uint8_t> octets_;
    std::size_t values_ = 0;
    bool ascending_ = true;  // the vectors came in the order of their types and keys
    bool wraps_ = false;     // the keys of a vector do
    mutable std::optional<bool> repeats_;

    // Made when somebody asks for a key, or vectors may name an attribute twice.
    mutable MrpParsedIndex index_;
    mutable std::uint32_t indexed_ = 0;  // how many vectors it knows
};

}  // namespace Mrp
