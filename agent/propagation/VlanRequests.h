#pragma once

#include <cstdint>

#include "platform/base/IntfId.h"

namespace MrpAgent {

// Requests for VLANs, made of an MVRP engine or of a stand-in (MAD_Join.request and
// MAD_Leave.request, clause 10.2).
class VlanRequests {
  public:
    VlanRequests() = default;
    VlanRequests(const VlanRequests&) = delete;
    VlanRequests& operator=(const VlanRequests&) = delete;
    virtual ~VlanRequests() = default;

    virtual void declare(Platform::IntfId port, std::uint16_t vlan, bool isNew) = 0;
    virtual void withdraw(Platform::IntfId port, std::uint16_t vlan) = 0;
    // Ends a registration without a word to anybody; what the neighbour says of the VLAN next is a
    // join like the first.
    virtual void forget(Platform::IntfId port, std::uint16_t vlan) = 0;
};

}  // namespace MrpAgent
