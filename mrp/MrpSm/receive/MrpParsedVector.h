#pragma once

#include <cstdint>

#include "mrp/MrpSm/types/MrpAttribute.h"

namespace Mrp {

// A vector of the PDU in hand, as it was filed. Its octets lie in the array of the collection as on
// the wire: the first value, the packed events, and the packed declaration types of Listeners.
struct MrpParsedVector {
    AttributeKey firstKey = 0;
    AttributeKey keyMask = 0;  // keys wrap where their field does
    MrpApplication application = MrpApplication::none;
    std::uint32_t octets = 0;  // where they begin
    std::uint16_t values = 0;
    std::uint8_t valueSize = 0;  // on the wire
    AttributeType attributeType = 0;

    // One of the type, of no values yet.
    static MrpParsedVector of(AttributeType attributeType, MrpApplication application);

    AttributeKey key(std::uint32_t value) const { return (firstKey + value) & keyMask; }
    AttributeKey lastKey() const { return key(values - std::uint32_t{1}); }
    bool isDomain() const {
        return application == MrpApplication::msrp && attributeType == domainType;
    }
    bool isListener() const {
        return application == MrpApplication::msrp && attributeType == listenerType;
    }
};

}  // namespace Mrp
