#pragma once

#include <cstdint>
#include <map>
#include <memory>
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
    // Both outlive it.
    StreamPropagation(Platform::ActivityManager& activityManager, MrpInstance& instance);
    ~StreamPropagation() override;

    void portIs(Platform::IntfId port) override;
    void portDel(Platform::IntfId port) override;
    void forwardingIs(Platform::IntfId port, bool forwarding, bool topologyChange) override;
    void declarationsAre(const std::vector<Declaration>& declarations) override;
    bool joinIndicated(const Mrp::MrpAttribute& attribute, bool isNew) override;
    void leaveIndicated(const Mrp::MrpAttribute& attribute) override;
    void flushed(Platform::IntfId, const MrpInstance&) override {}
    void resume(const MrpInstance& instance, Platform::Seconds patience) override;

  private:
    using Wanted = std::map<Mrp::MrpAttribute, const Declaration*>;

    void resumeType(const MrpInstance& instance, Platform::IntfId port, Mrp::AttributeType type);
    void postWork();
    void work();
    Wanted wanted() const;
    void request(const Mrp::MrpAttribute& attribute, std::uint8_t event,
                 const std::vector<std::uint8_t>& value);

    Platform::ActivityManager& activityManager_;
    MrpInstance& instance_;
    std::set<Platform::IntfId> ports_;
    std::vector<Declaration> declarations_;
    std::map<Mrp::MrpAttribute, std::vector<std::uint8_t>> declared_;  // with the value requested
    bool posted_ = false;
    bool patient_ = false;  // nothing that nobody asks for is withdrawn
    Platform::Alarm patienceAlarm_;
    // By which posted work finds out that the propagation is gone.
    std::shared_ptr<StreamPropagation*> self_ = std::make_shared<StreamPropagation*>(this);
};

}  // namespace MrpAgent
