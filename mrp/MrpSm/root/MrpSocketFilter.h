#pragma once

#include <cstdint>

#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/base/EthAddr.h"
#include "platform/packet/SocketFilter.h"

namespace Mrp {

// The socket filter that passes only frames sent to the address whose EtherType is the given one,
// untagged or behind one 802.1Q tag: eleven instructions.
//
// An engine installs the filter of the process's first engine. An agent that runs several
// applications in one process sets each later engine's own on its packet-access manager
// (MrpSm::pamMan, filterIs) before it enables an interface.
SocketFilter mrpSocketFilter(const EthAddr& destinationAddr, std::uint16_t ethType);

}  // namespace Mrp
