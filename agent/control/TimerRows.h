#pragma once

#include <optional>

#include "agent/control/AttributeCursor.h"
#include "agent/control/RowSource.h"

namespace MrpAgent {

// `show timers`: a row a timer of an engine that runs. By interface and type first the LeaveAll
// timer, then the shared leave timer, then those of single attributes.
class TimerRows final : public RowSource {
  public:
    // The node outlives it.
    TimerRows(const ControlNode& node, AttributeFilter filter);

    bool next(Row& row) override;

  private:
    // Where it stands within an interface and type.
    enum class Place { leaveAll, sharedLeave, explicitLeaves };

    bool nextType();
    Json leaveAllRow(const Mrp::MrpSm& mrpSm) const;
    Json leaveRow(const Mrp::MrpSm& mrpSm, const Mrp::MrpRegistrarSm::LeaveSms& timers,
                  Mrp::AttributeKey key) const;
    Json timerRow(const Mrp::MrpSm& mrpSm, const char* timer, Platform::Seconds expiry,
                  Json attributes) const;

    const ControlNode& node_;
    AttributeFilter filter_;
    std::size_t application_ = 0;
    Platform::IntfId intfId_;
    Mrp::AttributeType type_ = 0;
    Place place_ = Place::explicitLeaves;
    std::optional<Mrp::AttributeKey> after_;
};

}  // namespace MrpAgent
