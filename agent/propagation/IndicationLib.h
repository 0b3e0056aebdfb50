#pragma once

#include "agent/propagation/Propagation.h"
#include "mrp/MrpSm/root/MrpLib.h"

namespace MrpAgent {

// The library object of an application whose indications go to its propagation.
class IndicationLib final : public Mrp::MrpLib {
  public:
    // Not owned; null while there is none, and then nothing is discarded.
    void propagationIs(Propagation* propagation) { propagation_ = propagation; }

    bool mrpJoinIndication(const Mrp::MrpParameters& parameters) override;
    void mrpLeaveIndication(const Mrp::MrpParameters& parameters) override;

  private:
    Propagation* propagation_ = nullptr;
};

}  // namespace MrpAgent
