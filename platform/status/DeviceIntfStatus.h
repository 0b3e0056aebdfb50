#pragma once

#include "platform/packet/EthDev.h"
#include "platform/state/Directory.h"

namespace Platform {

// The devices behind interfaces, as one user of packet access sees them.
using DeviceIntfStatusDir = IntfDirectory<Ptr<EthDev>>;

}  // namespace Platform
