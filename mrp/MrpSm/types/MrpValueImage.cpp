#include "mrp/MrpSm/types/MrpValueImage.h"

#include <type_traits>

namespace Mrp {

namespace {

template <class Record>
std::span<std::uint8_t> octetsOf(Record& record) {
    static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) == 1);
    return {reinterpret_cast<std::uint8_t*>(&record), sizeof(Record)};
}

// Adds to the number of so many octets that stands there in network order; it wraps to zero.
void addTo(std::span<std::uint8_t> octets, std::uint32_t n) {
    std::uint64_t carry = n;
    for (std::size_t i = octets.size(); i-- > 0 && carry != 0;) {
        carry += octets[i];
        octets[i] = static_cast<std::uint8_t>(carry);
        carry >>= 8U;
    }
}

}  // namespace

std::span<std::uint8_t> MrpValueImage::octets(AttributeType attributeType,
                                              MrpApplication application) {
    if (application == MrpApplication::mvrp) {
        return attributeType == vlanType ? octetsOf(vlan) : std::span<std::uint8_t>();
    }
    if (application != MrpApplication::msrp) {
        return {};
    }
    switch (attributeType) {
    case talkerAdvertiseType:
        return octetsOf(talkerAdvertise);
    case talkerFailedType:
        return octetsOf(talkerFailed);
    case listenerType:
        return octetsOf(listener);
    case domainType:
        return octetsOf(domain);
    default:
        return {};
    }
}

std::span<const std::uint8_t> MrpValueImage::octets(AttributeType attributeType,
                                                    MrpApplication application) const {
    return const_cast<MrpValueImage*>(this)->octets(attributeType, application);
}

AttributeKey MrpValueImage::key(AttributeType attributeType, MrpApplication application) const {
    if (application == MrpApplication::mvrp) {
        return attributeType == vlanType ? static_cast<AttributeKey>(vlan.vlanId) : 0;
    }
    if (application != MrpApplication::msrp) {
        return 0;
    }
    switch (attributeType) {
    case talkerAdvertiseType:
        return talkerAdvertise.streamId;
    case talkerFailedType:
        return talkerFailed.talkerAdvertiseAttribute.streamId;
    case listenerType:
        return listener.streamId;
    case domainType:
        return domain.srClassId;
    default:
        return 0;
    }
}

void mrpAdvanceValue(std::span<std::uint8_t> octets, AttributeType attributeType,
                     MrpApplication application, std::uint32_t n) {
    if (application == MrpApplication::mvrp) {
        addTo(octets, n);
        return;
    }
    if (attributeType == domainType) {
        addTo(octets.subspan(offsetof(MsrpDomainAttribute, srClassId), 1), n);
        addTo(octets.subspan(offsetof(MsrpDomainAttribute, srClassPriority), 1), n);
        return;
    }
    addTo(octets.first(sizeof(MsrpListenerStreamAttribute)), n);
    if (attributeType != listenerType) {
        addTo(octets.subspan(offsetof(MsrpTalkerAdvertiseAttribute, frame), sizeof(EthAddr)), n);
    }
}

}  // namespace Mrp
