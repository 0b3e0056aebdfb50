#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/base/EthAddr.h"
#include "platform/packet/Pam.h"
#include "platform/packet/SocketFilter.h"
#include "platform/state/Entity.h"

namespace Platform {

// How a device's socket is to be set up.
struct EthDevPamParameters {
    std::uint16_t ethProtocol = 0;  // as in the kernel's if_ether.h; 3 is every protocol
    EthAddr listenAddr;             // the group address that the device joins
    SocketFilter filter;            // in force before the first frame can arrive
    std::size_t maxRxPktData = 0;   // octets of a frame that are taken in; 0 is no limit
};

// An Ethernet device on which packet access can be opened.
class EthDev : public Entity {
  public:
    using Entity::Entity;

    // Opens packet access. Throws std::system_error when the device or the system refuses it.
    virtual Ptr<EthDevPam> open(IntfId intfId, const EthDevPamParameters& parameters) = 0;
};

}  // namespace Platform
