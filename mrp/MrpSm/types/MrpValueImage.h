#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "mrp/MrpMsrp/MsrpAttributes.h"
#include "mrp/MrpMvrp/MvrpAttributes.h"
#include "mrp/MrpSm/types/MrpAttribute.h"

namespace Mrp {

// One value of each attribute type. An MrpLib holds two: the received image, in which the parser
// walks through a vector, and the transmit image, from which values are encoded.
struct MrpValueImage {
    MsrpTalkerAdvertiseAttribute talkerAdvertise;
    MsrpTalkerFailedAttribute talkerFailed;
    MsrpListenerAttribute listener;
    MsrpDomainAttribute domain;
    MvrpVlanAttribute vlan;

    // The octets of the type's slot, as a database record stores them; empty for an unknown type.
    std::span<std::uint8_t> octets(AttributeType attributeType, MrpApplication application);
    std::span<const std::uint8_t> octets(AttributeType attributeType,
                                         MrpApplication application) const;

    // The key of the type's slot; 0 for an unknown type.
    AttributeKey key(AttributeType attributeType, MrpApplication application) const;
};

// Makes the octets of a value, as a database record stores them, those of the n-th behind it in a
// vector; a Listener's declaration type stays. The type is one that the application has.
void mrpAdvanceValue(std::span<std::uint8_t> octets, AttributeType attributeType,
                     MrpApplication application, std::uint32_t n);

}  // namespace Mrp
