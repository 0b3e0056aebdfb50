#pragma once

#include <cstdint>
#include <iosfwd>

#include "mrp/MrpSm/types/MrpEnums.h"
#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/base/IntfId.h"

namespace Mrp {

// What is asked of the transmit path, and what an indication tells: one event of one attribute
// type on one interface. The attribute itself is the one in hand (MrpParseContext).
struct MrpParameters {
    IntfId intfId;
    AttributeType attributeType = 0;
    std::uint8_t attributeEvent = 0;  // AttributeEvent, a wire code or one of the requests
    bool last = false;                // the last request of a batch

    bool operator==(const MrpParameters&) const = default;
};

std::ostream& operator<<(std::ostream& out, const MrpParameters& parameters);

}  // namespace Mrp
