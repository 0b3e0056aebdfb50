#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>

#include "mrp/MrpSm/types/MrpEnums.h"
#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/base/IntfId.h"

namespace Mrp {

// An attribute's key inside its interface and type: the Stream ID (Talker Advertise, Talker Failed,
// Listener), the SR class ID (Domain) or the VLAN ID.
using AttributeKey = std::uint64_t;

// Set once when the library is loaded. Neighbours choose keys, so where a key falls in a hash table
// must not be theirs to compute.
extern const std::uint64_t attributeHashSeed;

// A 64-bit number spread over all bits of a hash.
inline std::size_t mixBits(std::uint64_t number) {
    number ^= attributeHashSeed;
    number = (number ^ number >> 33U) * 0xff51afd7ed558ccdULL;
    number = (number ^ number >> 33U) * 0xc4ceb9fe1a85ec53ULL;
    return static_cast<std::size_t>(number ^ number >> 33U);
}

// The full identity of one attribute of an application.
struct MrpAttribute {
    IntfId intfId;
    AttributeType attributeType = 0;
    AttributeKey key = 0;

    auto operator<=>(const MrpAttribute&) const = default;
};

std::ostream& operator<<(std::ostream& out, const MrpAttribute& attribute);

}  // namespace Mrp

template <>
struct std::hash<Mrp::MrpAttribute> {
    std::size_t operator()(const Mrp::MrpAttribute& attribute) const noexcept {
        return Mrp::mixBits(attribute.key ^
                            Mrp::mixBits(attribute.intfId.value() << 8U | attribute.attributeType));
    }
};
