#pragma once

#include <compare>
#include <map>

#include "mrp/MrpSm/types/MrpAttrDatabase.h"
#include "mrp/MrpSm/types/RecordMap.h"
#include "platform/base/Seconds.h"
#include "platform/state/Entity.h"
#include "platform/state/Notification.h"

namespace Mrp {

class MrpApplicationDatabase;

// The committed records of one attribute type on one interface, ordered by key.
class MrpIntfTypeApplicant final : public Entity {
  public:
    MrpIntfTypeApplicant(MrpApplicationDatabase& database, IntfId intfId,
                         AttributeType attributeType);
    ~MrpIntfTypeApplicant() override;

    const RecordMap& mrpAttribute() const { return records_; }
    // Null when there is no record of the key.
    MrpAttrDatabase* mrpAttribute(AttributeKey key) const { return records_.find(key); }
    // Makes the record, or returns the one that is there. A new record is told of when something is
    // first written to it.
    Ptr<MrpAttrDatabase> mrpAttributeIs(AttributeKey key);
    // Takes over a record that is in no database, and tells of it. One of its key that is there
    // already takes over what it says.
    void mrpAttributeIs(const Ptr<MrpAttrDatabase>& record);
    // So many records are going to be added.
    void reserveMore(std::size_t records) { records_.reserveMore(records); }
    void mrpAttributeDel(AttributeKey key);

  private:
    friend class MrpAttrDatabase;
    friend class MrpApplicationDatabase;

    void tell(AttributeKey key, const MrpAttrDatabase* record) const;
    MrpAttrDatabase* insert(const Ptr<MrpAttrDatabase>& record);

    MrpApplicationDatabase* database_;  // null when it has gone
    IntfId intfId_;
    AttributeType attributeType_;
    std::size_t valueSize_;
    RecordMap records_;
};

// The attribute types of one interface.
class MrpIntfApplicant final : public Entity {
  public:
    using Types = std::map<AttributeType, Ptr<MrpIntfTypeApplicant>>;

    MrpIntfApplicant(MrpApplicationDatabase& database, IntfId intfId)
        : database_(database), intfId_(intfId) {}

    const Types& intfTypeApplicant() const { return types_; }
    MrpIntfTypeApplicant* intfTypeApplicant(AttributeType attributeType) const;
    Ptr<MrpIntfTypeApplicant> intfTypeApplicantIs(AttributeType attributeType);

  private:
    MrpApplicationDatabase& database_;
    IntfId intfId_;
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

    explicit MrpApplicationDatabase(MrpApplication application) : application_(application) {}
    ~MrpApplicationDatabase() override;

    // Told within every change of a record: the attribute, and the record, null when it was
    // removed. Who reacts does nothing to the database or its engine.
    Notification<const MrpAttribute&, const MrpAttrDatabase*>& recordChanged() {
        return recordChanged_;
    }
    // Told when a LeaveAll time is written with another value, or removed.
    Notification<const LeaveAllKey&>& leaveAllTimeChanged() { return leaveAllTimeChanged_; }

    MrpApplication application() const { return application_; }

    const Interfaces& attrDatabase() const { return interfaces_; }
    MrpIntfApplicant* attrDatabase(IntfId intfId) const;
    Ptr<MrpIntfApplicant> attrDatabaseIs(IntfId intfId);

    // How many records there are.
    std::size_t recordCount() const { return recordCount_; }
    // The records of an interface and type; null where there are none, made by `…Is`.
    MrpIntfTypeApplicant* type(IntfId intfId, AttributeType attributeType) const;
    Ptr<MrpIntfTypeApplicant> typeIs(IntfId intfId, AttributeType attributeType);
    // The committed record; null where a level is missing.
    MrpAttrDatabase* record(IntfId intfId, AttributeType attributeType, AttributeKey key) const;

    const std::map<LeaveAllKey, Seconds>& leaveAllTime() const { return leaveAllTime_; }
    void leaveAllTimeIs(const LeaveAllKey& key, Seconds time);
    void leaveAllTimeDel(const LeaveAllKey& key);

  private:
    friend class MrpIntfTypeApplicant;

    MrpApplication application_;
    Interfaces interfaces_;
    // The type of the last look-up: the next one is mostly of the same. Types stay as long as the
    // database does.
    mutable MrpIntfTypeApplicant* last_ = nullptr;
    std::size_t recordCount_ = 0;
    std::map<LeaveAllKey, Seconds> leaveAllTime_;
    Notification<const MrpAttribute&, const MrpAttrDatabase*> recordChanged_;
    Notification<const LeaveAllKey&> leaveAllTimeChanged_;
};

}  // namespace Mrp
