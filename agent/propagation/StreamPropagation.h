#pragma once

#include <map>
#include <set>
#include <vector>

#include "agent/propagation/Propagation.h"
#include "platform/time/ActivityManager.h"

namespace MrpAgent {

// The room of MSRP's propagation (clause 35.2.4). What is there: Domains and what else the node
// declares by itself are declared on every port that they concern, whether it forwards or not (a
// Domain is between neighbours, clause 35.2.1.4). Talkers and listeners of neighbours stay where
// they are registered.
class StreamPropagation final : public Propagation {
  public:
    // The instance outlives it.
    StreamPropagation(Platform::ActivityManager& activityManager, MrpInstance& instance);
    ~StreamPropagation() override;

    void portIs(Platform::IntfId port) override;
    void portDel(Platform::IntfId port) override;
    void forwardingIs(Platform::IntfId port, bool forwarding, bool topologyChange) override;
    void declarationsAre(const std::vector<Declaration>& declarations) override;
    bool joinIndicated(const Mrp::MrpAttribute& attribute, bool isNew) override;
    void leaveIndicated(const Mrp::MrpAttribute& attribute) override;
    void resume(const MrpInstance& instance, Platform::Seconds patience) override;
};

}  // namespace MrpAgent
