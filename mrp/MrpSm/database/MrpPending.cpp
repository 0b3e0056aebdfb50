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
    MrpAttrDatabase& marked = *record;
    deletePendingAttr_.insert(attribute, std::move(record));
    marked.deletionPendingIs(true);
    databaseChanged();
}

void MrpSm::deletePendingAttrDel(const MrpAttribute& attribute) {
    if (MrpAttrDatabase* record = deletePendingAttr_.find(attribute)) {
        record->deletionPendingIs(false);
        deletePendingAttr_.erase(attribute);
        databaseChanged();
    }
}

void MrpSm::deletePendingAttrDelAll() {
    deletePendingAttr_.delAll([](MrpAttrDatabase& record) { record.deletionPendingIs(false); });
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
    return newRecord(attribute);
}

// A record of an attribute that look-ups do not show; and the one in hand from now on.
Ptr<MrpAttrDatabase> MrpSm::newRecord(const MrpAttribute& attribute) {
    Ptr<MrpAttrDatabase> record = MrpAttrDatabase::make(
        attribute.key, mrpSizeOfStoredValue(attribute.attributeType, mrpLib_->application()));
    addToAttrIter(attribute.intfId, attribute.attributeType, attribute.key);
    addPendingAttrIs(attribute, record);
    if (deletePending(attribute)) {
        deletePendingAttrDel(attribute);
    }
    recordInHand_ = {attribute, record, databaseGeneration_};
    mrpDatabaseAddSm_->doUpdateReviewTimer();
    return record;
}

void MrpSm::removeAttrFromAddPending(const MrpAttribute& attribute) {
    if (!addPendingAttr_.contains(attribute)) {
        return;
    }
    const bool committed = mrpGetAttrFromDatabase(attribute.intfId, attribute.attributeType,
                                                  attribute.key, false) != nullptr;
    if (!committed) {
        removeFromAttrIter(attribute.intfId, attribute.attributeType, attribute.key);
    }
    addPendingAttrDel(attribute);
}

void MrpSm::addAttrToDeletePending(const MrpAttribute& attribute) {
    MrpAttrDatabase* committed =
        mrpGetAttrFromDatabase(attribute.intfId, attribute.attributeType, attribute.key, false);
    if (committed == nullptr) {
        removeAttrFromAddPending(attribute);  // one that was never committed is simply forgotten
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
    const auto [attribute, pending] = mrpSm().addPendingAttr().first();
    mrpSm().createEntryInDatabase(attribute, pending);
    mrpSm().addPendingAttrDel(attribute);
}

bool MrpDatabaseDeleteSm::pendingEmpty() const {
    return mrpSm().deletePendingAttr().empty();
}

void MrpDatabaseDeleteSm::reviewFirst() {
    const MrpAttribute attribute = mrpSm().deletePendingAttr().first().attribute;
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
    if (!lastAttrIter_ || lastAttrIter_->key() != MrpAttrIter::Key{intfId, attributeType}) {
        lastAttrIter_ = mrpAttrIterIs({intfId, attributeType});
    }
    lastAttrIter_->attributeKeyIs(key);
}

void MrpSm::removeFromAttrIter(IntfId intfId, AttributeType attributeType, AttributeKey key) {
    const MrpAttrIter::Key iterKey{intfId, attributeType};
    if (!lastAttrIter_ || lastAttrIter_->key() != iterKey) {
        lastAttrIter_ = mrpAttrIter(iterKey);
    }
    if (!lastAttrIter_) {
        return;
    }
    lastAttrIter_->attributeKeyDel(key);
    if (lastAttrIter_->attributeKey().empty()) {
        mrpAttrIterDel(iterKey);
    }
}

}  // namespace Mrp
