#pragma once

#include <cstdint>

#include "mrp/MrpMsrp/MsrpAttributes.h"
#include "platform/base/BigEndian.h"

// How MSRP messages and vectors begin on the wire (IEEE 802.1Q clauses 10.8.2 and 35.2.2).

namespace Mrp {

struct MsrpMessageHeader {
    AttributeType attributeType = 0;
    std::uint8_t attributeLength = 0;
    Be16 attributeListLength;  // octets that follow in the message, its EndMark included
};

struct MsrpTalkerVector {
    Be16 vectorHeader;
    MsrpTalkerAdvertiseAttribute firstValue;
};

struct MsrpTalkerFailedVector {
    Be16 vectorHeader;
    MsrpTalkerFailedAttribute firstValue;
};

struct MsrpListenerVector {
    Be16 vectorHeader;
    MsrpListenerStreamAttribute firstValue;
};

struct MsrpDomainVector {
    Be16 vectorHeader;
    MsrpDomainAttribute firstValue;
};

static_assert(sizeof(MsrpMessageHeader) == 4);
static_assert(sizeof(MsrpTalkerVector) == 27 && sizeof(MsrpTalkerFailedVector) == 36);
static_assert(sizeof(MsrpListenerVector) == 10 && sizeof(MsrpDomainVector) == 6);

}  // namespace Mrp
