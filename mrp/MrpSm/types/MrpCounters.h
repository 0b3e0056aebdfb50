#pragma once

#include <cstdint>

#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/state/Entity.h"

namespace Mrp {

// The counters of one application's engine; there is one entity an application, not an interface.
class MrpCounters final : public Entity {
  public:
    using Count = std::uint64_t;

    using Entity::Entity;

// Each counter has a reader, a setter and an incrementer named after it.
#define MRP_COUNTER(name)                                                                          \
  public:                                                                                          \
    Count name() const {                                                                           \
        return name##_;                                                                            \
    }                                                                                              \
    void name##Is(Count count) {                                                                   \
        name##_ = count;                                                                           \
    }                                                                                              \
    void name##Inc(Count amount) {                                                                 \
        name##_ += amount;                                                                         \
    }                                                                                              \
                                                                                                   \
  private:                                                                                         \
    Count name##_ = 0

    MRP_COUNTER(numOfIncorrectPduVersion);
    MRP_COUNTER(numOfUnknownAttributeType);
    MRP_COUNTER(numOfMalformedPkts);
    MRP_COUNTER(numOfUnknownApplication);
    MRP_COUNTER(numOfIncorrectDmac);
    MRP_COUNTER(numOfIncorrectEtype);
    MRP_COUNTER(numOfPktsProcessed);
    MRP_COUNTER(numOfPktsTransmitted);
    MRP_COUNTER(numOfJoinIndications);
    MRP_COUNTER(numOfLeaveIndications);
#undef MRP_COUNTER
};

}  // namespace Mrp
