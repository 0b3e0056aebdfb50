#pragma once

#include <cstdint>
#include <iosfwd>

#include "mrp/MrpSm/types/MrpEnums.h"
#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/base/BigEndian.h"
#include "platform/base/VlanId.h"

// The value record of MVRP and how its messages and vectors begin (IEEE 802.1Q clause 11.2.3.1).
// Packed and in network order, like those of MSRP.

namespace Mrp {

// A VLAN. No range is checked here: a neighbour may declare any 16-bit number.
struct MvrpVlanAttribute {
    Be16 vlanId;

    // The VLAN for a bridge to carry. Throws std::range_error outside 1 to 4094.
    VlanId bridgingVlanId() const { return VlanId(vlanId); }

    bool operator==(const MvrpVlanAttribute&) const = default;
};

struct MvrpMessageHeader {
    AttributeType attributeType = 0;
    std::uint8_t attributeLength = 0;
};

struct MvrpVlanVector {
    Be16 vectorHeader;
    MvrpVlanAttribute firstValue;
};

static_assert(sizeof(MvrpVlanAttribute) == 2);
static_assert(sizeof(MvrpMessageHeader) == 2 && sizeof(MvrpVlanVector) == 4);

// The VLAN ID in decimal.
std::ostream& operator<<(std::ostream& out, const MvrpVlanAttribute& value);

}  // namespace Mrp
