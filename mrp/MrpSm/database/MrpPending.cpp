#include <utility>

#include "mrp/MrpSm/root/MrpSm.h"

// Pending database changes and the iteration sets. What the protocol decides is queued here and
// applied by the reviews, in batches; queueing one side cancels the other.

namespace Mrp {

void MrpSm::addPendingAttrIs(const MrpAttribute& attribute, Ptr<MrpAttrDatabase> record) {
    addPendingAttr_.insert(attribute, std::move(record));
    databaseChanged();
}

void MrpSm::addPendingAttrDel(const MrpAttribute& attribute) {
    if (addPendingAttr_.erase(attribute)) {
        databaseChanged();
    }
}

void MrpSm::deletePendingAttrIs(const MrpAttribute& attribute, Ptr<MrpAttrDatabase> record) {
    deletePendingAttr_.insert(attribute, std::move(record));
    databaseChanged();
}

void MrpSm::deletePendingAttrDel(const MrpAttribute& attribute) {
    deletePendingAttr_.erase(attribute);
    databaseChanged();
}

Ptr<MrpAttrDatabase> MrpSm::addAttrToAddPending(const MrpAttribute& attribute) {
    if (MrpAttrDatabase* committed = mrpGetAttrFromDatabase(
            attribute.intfId, attribute.attributeType, attribute.key, false)) {
        return Ptr<MrpAttrDatabase>(committed);
    }
    if (MrpAttrDatabase* pending = addPendingAttr_.find(attribute)) {
        return Ptr<MrpAttrDatabase>(pending);
    }
    Ptr<MrpAttrDatabase> record = MrpAttrDatabase::make(
        attribute.key, mrpSizeOfStoredValue(attribute.attributeType, mrpLib_->application()));
    addToAttrIter(attribute.intfId, attribute.attributeType, attribute.key);
    addPendingAttrIs(attribute, record);
    deletePendingAttrDel(attribute);
    mrpDatabaseAddSm_->doUpdateReviewTimer();
    return record;
}

void MrpSm::removeAttrFromAddPending(const MrpAttribute& attribute) {
    const bool committed = mrpGetAttrFromDatabase(attribute.intfId, attribute.attributeType,
                                                  attribute.key, false) != nullptr;
    if (!committed && addPendingAttr_.contains(attribute)) {
        removeFromAttrIter(attribute.intfId, attribute.attributeType, attribute.key);
    }
    addPendingAttrDel(attribute);
}

void MrpSm::addAttrToDeletePending(const MrpAttribute& attribute) {
    MrpAttrDatabase* committed =
        mrpGetAttrFromDatabase(attribute.intfId, attribute.attributeType, attribute.key, false);
    if (committed == nullptr) {
        // One that was never committed is simply forgotten.
        if (addPendingAttr_.contains(attribute)) {
            removeAttrFromAddPending(attribute);
        }
        return;
    }
    deletePendingAttrIs(attribute, Ptr<MrpAttrDatabase>(committed));
    removeAttrFromAddPending(attribute);
    mrpDatabaseDeleteSm_->doUpdateReviewTimer();
}

// --- The reviews, entry by entry ---

bool MrpDatabaseAddSm::pendingEmpty() const {
    return mrpSm().addPendingAttr().empty();
}

void MrpDatabaseAddSm::reviewFirst() {
    const MrpAttribute attribute = mrpSm().addPendingAttr().first();
    const Ptr<MrpAttrDatabase> pending(mrpSm().addPendingAttr().find(attribute));
    mrpSm().createEntryInDatabase(attribute, pending);
    mrpSm().addPendingAttrDel(attribute);
}

bool MrpDatabaseDeleteSm::pendingEmpty() const {
    return mrpSm().deletePendingAttr().empty();
}

void MrpDatabaseDeleteSm::reviewFirst() {
    const MrpAttribute attribute = mrpSm().deletePendingAttr().first();
    mrpSm().committedRecordDel(attribute);
    mrpSm().removeFromAttrIter(attribute.intfId, attribute.attributeType, attribute.key);
    mrpSm().deletePendingAttrDel(attribute);
}

// --- Iteration sets ---

Ptr<MrpAttrIter> MrpSm::mrpAttrIter(const MrpAttrIter::Key& key) const {
    const auto found = mrpAttrIter_.find(key);
    return found != mrpAttrIter_.end() ? found->second : nullptr;
}

Ptr<MrpAttrIter> MrpSm::mrpAttrIterIs(const MrpAttrIter::Key& key) {
    Ptr<MrpAttrIter> iter = mrpAttrIter(key);
    if (!iter) {
        iter = makePtr<MrpAttrIter>(key);
        mrpAttrIter_[key] = iter;
    }
    return iter;
}

void MrpSm::addToAttrIter(IntfId intfId, AttributeType attributeType, AttributeKey key) {
    mrpAttrIterIs({intfId, attributeType})->attributeKeyIs(key);
}

void MrpSm::removeFromAttrIter(IntfId intfId, AttributeType attributeType, AttributeKey key) {
    const auto found = mrpAttrIter_.find({intfId, attributeType});
    if (found == mrpAttrIter_.end()) {
        return;
    }
    found->second->attributeKeyDel(key);
    if (found->second->attributeKey().empty()) {
        mrpAttrIter_.erase(found);
    }
}

}  // namespace Mrp
