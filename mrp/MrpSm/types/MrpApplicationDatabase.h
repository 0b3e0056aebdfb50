#pragma once

#include <compare>
#include <map>
#include <vector>

#include "mrp/MrpSm/types/MrpAttrDatabase.h"
#include "platform/base/Seconds.h"
#include "platform/state/Entity.h"

namespace Mrp {

// The committed records of one attribute type on one interface, ordered by key.
class MrpIntfTypeApplicant final : public Entity {
  public:
    using Records = std::map<AttributeKey, Ptr<MrpAttrDatabase>>;

    const Records& mrpAttribute() const { return records_; }
    // Null when there is no record of the key.
    MrpAttrDatabase* mrpAttribute(AttributeKey key) const;
    // Makes the record, or returns the one that is there.
    Ptr<MrpAttrDatabase> mrpAttributeIs(AttributeKey key);
    void mrpAttributeDel(AttributeKey key);

  private:
    Records records_;
    // Where the last look-up ended. Neighbours declare keys in runs, so the next one asked for is
    // mostly the one behind it.
    mutable Records::const_iterator last_ = records_.end();
};

// The attribute types of one interface.
class MrpIntfApplicant final : public Entity {
  public:
    using Types = std::map<AttributeType, Ptr<MrpIntfTypeApplicant>>;

    const Types& intfTypeApplicant() const { return types_; }
    MrpIntfTypeApplicant* intfTypeApplicant(AttributeType attributeType) const;
    Ptr<MrpIntfTypeApplicant> intfTypeApplicantIs(AttributeType attributeType);

  private:
    Types types_;
};

// The committed database of one application, by interface; and the LeaveAll times, by interface and
// type. A LeaveAll time holds what its writer says: a period where a timer was started here, the
// absolute expiry where it was restarted by a neighbour's LeaveAll or by
// MrpPamSm::transmitAllLeaveAll.
class MrpApplicationDatabase final : public Entity {
  public:
    struct LeaveAllKey {
        IntfId intfId;
        AttributeType attributeType = 0;

        auto operator<=>(const LeaveAllKey&) const = default;
    };
    using Interfaces = std::map<IntfId, Ptr<MrpIntfApplicant>>;

    const Interfaces& attrDatabase() const { return interfaces_; }
    MrpIntfApplicant* attrDatabase(IntfId intfId) const;
    Ptr<MrpIntfApplicant> attrDatabaseIs(IntfId intfId);

    // The committed record; null where a level is missing.
    MrpAttrDatabase* record(IntfId intfId, AttributeType attributeType, AttributeKey key) const;

    const std::map<LeaveAllKey, Seconds>& leaveAllTime() const { return leaveAllTime_; }
    void leaveAllTimeIs(const LeaveAllKey& key, Seconds time) { leaveAllTime_[key] = time; }
    void leaveAllTimeDel(const LeaveAllKey& key) { leaveAllTime_.erase(key); }

  private:
    Interfaces interfaces_;
    std::map<LeaveAllKey, Seconds> leaveAllTime_;
};

}  // namespace Mrp
