#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "mrp/MrpSm/types/MrpParsedAttribute.h"

namespace Mrp {

// Which value of the PDU in hand: a vector, in the order in which they came, and a value of it.
struct MrpParsedPlace {
    std::uint32_t vector = 0;
    std::uint32_t value = 0;
};

// The places of attributes by key: an array in the order in which the attributes came first, found
// through open addressing. It is kept from frame to frame, and deleting all costs the same for any
// number.
class MrpParsedIndex {
  public:
    MrpParsedIndex();

    std::size_t size() const { return entries_.size(); }
    // Null when the attribute is not there. Holds until something is set or deleted.
    const MrpParsedPlace* find(const MrpParsedAttributeKey& key) const;
    void placeIs(const MrpParsedAttributeKey& key, const MrpParsedPlace& place);
    void delAll();

  private:
    struct Entry {
        MrpParsedAttributeKey key;
        MrpParsedPlace place;
    };
    // In use when it carries the current generation.
    struct Slot {
        std::uint32_t generation = 0;
        std::uint32_t entry = 0;
    };

    std::size_t slotOf(const MrpParsedAttributeKey& key) const;
    void grow();

    std::vector<Entry> entries_;
    std::vector<Slot> slots_;  // a power of two, at most half in use
    std::uint32_t generation_ = 1;
};

}  // namespace Mrp
