#pragma once

#include <cstddef>
#include <map>
#include <utility>

#include "mrp/MrpSm/database/MrpAttrIter.h"
#include "mrp/MrpSm/database/PendingOfType.h"
#include "mrp/MrpSm/types/MrpAttribute.h"
#include "platform/base/Ptr.h"

namespace Mrp {

// Records of attributes of any interface and type that wait for a review, in the order of their
// attributes.
class PendingRecords {
  public:
    // None of them is empty.
    using Types = std::map<MrpAttrIter::Key, PendingOfType>;

    struct Entry {
        MrpAttribute attribute;
        Ptr<MrpAttrDatabase> record;
    };

    PendingRecords() = default;
    PendingRecords(const PendingRecords&) = delete;
    PendingRecords& operator=(const PendingRecords&) = delete;

    bool empty() const { return types_.empty(); }
    std::size_t size() const;
    bool contains(const MrpAttribute& attribute) const { return find(attribute) != nullptr; }
    // Null when the attribute has no record here.
    MrpAttrDatabase* find(const MrpAttribute& attribute) const;
    // Adds a record of an attribute that has none here.
    void insert(const MrpAttribute& attribute, Ptr<MrpAttrDatabase> record);
    // False when the attribute has no record here.
    bool erase(const MrpAttribute& attribute);
    // Calls `act` with each record, in no order, and forgets them. Needs no memory.
    template <class Act>
    void delAll(Act act) {
        for (const auto& [type, records] : types_) {
            records.forEach(act);
        }
        types_.clear();
        last_ = nullptr;
    }

    // The first attribute and its record; there is one.
    Entry first() const;
    const Types& types() const { return types_; }
    // Null when there is none of the interface and type.
    const PendingOfType* records(IntfId intfId, AttributeType attributeType) const;
    // Calls `act` with each attribute and its record. It does not change what is here.
    template <class Act>
    void forEach(Act act) const {
        for (const auto& [type, records] : types_) {
            for (const auto& [key, record] : records) {
                act(MrpAttribute{type.intfId, type.attributeType, key}, *record);
            }
        }
    }

  private:
    Types::value_type* type(const MrpAttrIter::Key& key) const;

    mutable Types types_;
    // The one that was asked for last: the next one is mostly the same.
    mutable Types::value_type* last_ = nullptr;
};

}  // namespace Mrp
