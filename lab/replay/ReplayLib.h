#pragma once

#include <utility>

#include "lab/replay/ReplayOutput.h"
#include "lab/replay/Step.h"
#include "mrp/MrpSm/root/MrpLib.h"

namespace MrpLab {

// The application of a replay: tells its indications, and discards the joins that it is told to.
class ReplayLib final : public Mrp::MrpLib {
  public:
    // The output outlives it.
    explicit ReplayLib(ReplayOutput& output) : output_(output) {}

    bool mrpJoinIndication(const Mrp::MrpParameters& parameters) override;
    void mrpLeaveIndication(const Mrp::MrpParameters& parameters) override;

    // From now on joins of these are discarded, on every interface, and no others.
    void discardIs(DiscardStep discard) { discard_ = std::move(discard); }

  private:
    ReplayOutput& output_;
    DiscardStep discard_;
};

}  // namespace MrpLab
