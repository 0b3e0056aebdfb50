#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "mrp/MrpSm/types/MrpParsedAttribute.h"

namespace Mrp {

// The parsed attributes of the PDU in hand, a hash map by key. One frame can carry thousands, and
// they all go when it has been processed: so the attributes lie in one array that is kept, found
// through an open-addressed index, and deleting all costs the same for any number. Pointers to
// attributes hold until the next one is added or deleted.
class MrpParsedAttributes {
  public:
    MrpParsedAttributes();

    std::size_t size() const { return live_; }
    // Null when the key is not there.
    const MrpParsedAttribute* find(const MrpParsedAttributeKey& key) const;
    // The attribute of the key, made when it is missing.
    MrpParsedAttribute& attributeIs(const MrpParsedAttributeKey& key);
    void attributeDel(const MrpParsedAttributeKey& key);
    void attributeDelAll();

  private:
    // A slot of the index is in use when it carries the current generation.
    struct Slot {
        std::uint32_t generation = 0;
        std::uint32_t place = 0;  // in `attributes_`; `deleted` for a removed one
    };
    static constexpr std::uint32_t deleted = UINT32_MAX;

    std::size_t slotOf(const MrpParsedAttributeKey& key) const;
    void grow();

    std::vector<MrpParsedAttribute> attributes_;
    std::vector<Slot> index_;  // a power of two, at most half in use
    std::uint32_t generation_ = 1;
    std::size_t live_ = 0;
    // Behind the last one found: attributes are mostly asked for in the order in which they came.
    mutable std::size_t next_ = 0;
};

}  // namespace Mrp
