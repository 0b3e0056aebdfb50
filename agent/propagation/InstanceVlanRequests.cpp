#include "agent/propagation/InstanceVlanRequests.h"

#include <array>

#include "platform/base/Assert.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

void InstanceVlanRequests::declare(IntfId port, std::uint16_t vlan, bool isNew) {
    request(port, vlan, isNew ? AttributeEvent::newEvent : AttributeEvent::joinIn);
}

void InstanceVlanRequests::withdraw(IntfId port, std::uint16_t vlan) {
    request(port, vlan, AttributeEvent::lv);
}

void InstanceVlanRequests::forget(IntfId port, std::uint16_t vlan) {
    request(port, vlan, AttributeEvent::internalLeave);
}

void InstanceVlanRequests::request(IntfId port, std::uint16_t vlan, std::uint8_t event) {
    const std::array value{static_cast<std::uint8_t>(vlan >> 8U), static_cast<std::uint8_t>(vlan)};
    const bool accepted = instance_.request(port, vlanType, event, value);
    require(accepted, "requests for VLANs are made of an MVRP instance");
}

}  // namespace MrpAgent
