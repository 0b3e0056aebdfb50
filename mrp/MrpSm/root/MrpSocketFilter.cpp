#include "mrp/MrpSm/root/MrpSocketFilter.h"

namespace Mrp {

SocketFilter mrpSocketFilter(const EthAddr& destinationAddr, std::uint16_t ethType) {
    using namespace SocketFilterCode;
    constexpr std::uint32_t taggedEtherType = 0x8100;
    constexpr std::uint32_t acceptedOctets = 65535;
    const auto dmacUpper = static_cast<std::uint32_t>(destinationAddr.number() >> 32U);
    const auto dmacLower = static_cast<std::uint32_t>(destinationAddr.number());
    return {
        {loadWord, 0, 0, 2},                 // 0: the last four octets of the destination
        {jumpEqual, 0, 8, dmacLower},        // 1: else drop
        {loadHalfWord, 0, 0, 0},             // 2: its first two
        {jumpEqual, 0, 6, dmacUpper},        // 3: else drop
        {loadHalfWord, 0, 0, 12},            // 4: the EtherType
        {jumpEqual, 3, 0, ethType},          // 5: ours: accept
        {jumpEqual, 0, 3, taggedEtherType},  // 6: else, without a tag, drop
        {loadHalfWord, 0, 0, 16},            // 7: the EtherType behind the tag
        {jumpEqual, 0, 1, ethType},          // 8: else drop
        {accept, 0, 0, acceptedOctets},      // 9
        {accept, 0, 0, 0},                   // 10: drop
    };
}

}  // namespace Mrp
