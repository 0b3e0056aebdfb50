#include "mrp/MrpSm/types/MrpValueImage.h"

#include <type_traits>

namespace Mrp {

namespace {

template <class Record>
std::span<std::uint8_t> octetsOf(Record& record) {
    static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) == 1);
    return {reinterpret_cast<std::uint8_t*>(&record), sizeof(Record)};
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

}  // namespace Mrp
