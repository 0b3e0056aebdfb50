#include <algorithm>
#include <iterator>
#include <utility>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"

// The database room: records are found, made, filled and compared here. The committed tree lives in
// the status entity and changes only in the reviews; what is pending is seen through the look-up.

namespace Mrp {

MrpApplicationDatabase* MrpSm::applicationDatabase() const {
    return mrpStatus_->applicationDatabase(mrpLib_->application());
}

void MrpSm::leaveAllTimeIs(IntfId intfId, AttributeType attributeType, Seconds time) {
    if (MrpApplicationDatabase* database = applicationDatabase()) {
        database->leaveAllTimeIs({intfId, attributeType}, time);
    }
}

void MrpSm::leaveAllTimeDel(IntfId intfId, AttributeType attributeType) {
    if (MrpApplicationDatabase* database = applicationDatabase()) {
        database->leaveAllTimeDel({intfId, attributeType});
    }
}

// --- Keys ---

AttributeKey MrpSm::mrpGetTxAttributeKey() const {
    return mrpLib_->txImage().key(parseContext_->attributeType(), mrpLib_->application());
}

AttributeKey MrpSm::mrpGetRxAttributeKey() const {
    return mrpLib_->rxImage().key(parseContext_->attributeType(), mrpLib_->application());
}

// --- Look-up ---

MrpAttrDatabase* MrpSm::committedRecord(const MrpAttribute& attribute) const {
    const MrpApplicationDatabase* database = applicationDatabase();
    return database != nullptr
               ? database->record(attribute.intfId, attribute.attributeType, attribute.key)
               : nullptr;
}

MrpAttrDatabase* MrpSm::mrpGetAttrFromDatabase(IntfId intfId, AttributeType attributeType,
                                               AttributeKey key, bool lookInAddPending) const {
    const MrpAttribute attribute{intfId, attributeType, key};
    if (lookInAddPending) {
        const auto pending = addPendingAttr_.find(attribute);
        if (pending != addPendingAttr_.end() && pending->second) {
            return pending->second.get();
        }
    }
    MrpAttrDatabase* record = committedRecord(attribute);
    return record != nullptr && !deletePending(attribute) ? record : nullptr;
}

std::vector<AttributeKey> MrpSm::visibleKeys(IntfId intfId, AttributeType attributeType) const {
    std::vector<AttributeKey> committed;
    const MrpApplicationDatabase* database = applicationDatabase();
    const MrpIntfApplicant* intf = database != nullptr ? database->attrDatabase(intfId) : nullptr;
    if (const auto* type = intf != nullptr ? intf->intfTypeApplicant(attributeType) : nullptr) {
        committed.reserve(type->mrpAttribute().size());
        for (const auto& [key, record] : type->mrpAttribute()) {
            if (!deletePending({intfId, attributeType, key})) {
                committed.push_back(key);
            }
        }
    }
    std::vector<AttributeKey> pending;
    for (auto entry = addPendingAttr_.lower_bound({intfId, attributeType, 0});
         entry != addPendingAttr_.end() && entry->first.intfId == intfId &&
         entry->first.attributeType == attributeType;
         ++entry) {
        pending.push_back(entry->first.key);
    }
    std::vector<AttributeKey> keys;
    keys.reserve(committed.size() + pending.size());
    std::set_union(committed.begin(), committed.end(), pending.begin(), pending.end(),
                   std::back_inserter(keys));
    return keys;
}

Ptr<MrpAttrDatabase> MrpSm::mrpGetAttribute(bool create) {
    const MrpAttribute attribute = parseContext_->attribute();
    RecordInHand& inHand = recordInHand_;
    if (inHand.generation == databaseGeneration_ && inHand.attribute == attribute) {
        return inHand.record;
    }
    MrpAttrDatabase* found =
        mrpGetAttrFromDatabase(attribute.intfId, attribute.attributeType, attribute.key, true);
    Ptr<MrpAttrDatabase> record(found);
    if (!record && create && applicationDatabase() != nullptr) {
        record =
            mrpAddAttrToDatabase(attribute.intfId, attribute.attributeType, attribute.key, false);
    }
    if (record) {
        inHand = {attribute, record, databaseGeneration_};
    }
    return record;
}

// --- Making and removing ---

Ptr<MrpAttrDatabase> MrpSm::mrpAddAttrToDatabase(IntfId intfId, AttributeType attributeType,
                                                 AttributeKey key, bool fromTxImage) {
    Ptr<MrpAttrDatabase> record = addAttrToAddPending({intfId, attributeType, key});
    record->applicantStateIs(MrpApplicantState::VO);
    record->registrarStateIs(MrpRegistrarState::MT);
    mrpPopulateValueInDatabase(*record, fromTxImage);
    return record;
}

Ptr<MrpAttrDatabase> MrpSm::createEntryInDatabase(IntfId intfId, AttributeType attributeType,
                                                  AttributeKey key) {
    MrpApplicationDatabase* database = applicationDatabase();
    if (database == nullptr) {
        return nullptr;
    }
    return database->attrDatabaseIs(intfId)
        ->intfTypeApplicantIs(attributeType)
        ->mrpAttributeIs(key);
}

void MrpSm::committedRecordDel(const MrpAttribute& attribute) {
    databaseChanged();
    const MrpApplicationDatabase* database = applicationDatabase();
    const MrpIntfApplicant* intf =
        database != nullptr ? database->attrDatabase(attribute.intfId) : nullptr;
    if (auto* type = intf != nullptr ? intf->intfTypeApplicant(attribute.attributeType) : nullptr) {
        type->mrpAttributeDel(attribute.key);
    }
}

void MrpSm::mrpDeleteAttrFromDatabase() {
    addAttrToDeletePending(parseContext_->attribute());
}

// --- Values ---

void MrpSm::mrpPopulateValueInDatabase(MrpAttrDatabase& record, bool fromTxImage) const {
    const MrpValueImage& image = fromTxImage ? mrpLib_->txImage() : mrpLib_->rxImage();
    unsigned index = 0;
    for (const std::uint8_t octet :
         image.octets(parseContext_->attributeType(), mrpLib_->application())) {
        record.attributeValueIs(index++, octet);
    }
}

bool MrpSm::mrpRxVectorSameAsDatabaseAttr() {
    switch (mrpLib_->application()) {
    case MrpApplication::msrp:
        return msrpRxVectorSameAsDatabaseAttr();
    case MrpApplication::mvrp:
        return mvrpRxVectorSameAsDatabaseAttr();
    default:
        return false;
    }
}

bool MrpSm::msrpRxVectorSameAsDatabaseAttr() {
    const auto octets = std::as_const(*mrpLib_).rxImage().octets(parseContext_->attributeType(),
                                                                 MrpApplication::msrp);
    const Ptr<MrpAttrDatabase> record = mrpGetAttribute(false);
    return record && !octets.empty() &&
           std::equal(octets.begin(), octets.end(), record->attributeValue().begin());
}

bool MrpSm::mvrpRxVectorSameAsDatabaseAttr() const {
    return parseContext_->attributeType() == vlanType &&
           mrpLib_->rxImage().vlan.vlanId == parseContext_->attributeKey();
}

void MrpSm::mrpFillContextFromDatabase(const MrpAttribute& attribute) {
    parseContext_->attributeIs(attribute);
    const auto rx = mrpLib_->rxImage().octets(attribute.attributeType, mrpLib_->application());
    const auto tx = mrpLib_->txImage().octets(attribute.attributeType, mrpLib_->application());
    if (rx.empty()) {
        MRP_TRACE(8, " valueSize = 0!! ");
        return;
    }
    if (const Ptr<MrpAttrDatabase> record = mrpGetAttribute(false)) {
        std::copy_n(record->attributeValue().begin(), rx.size(), rx.begin());
    } else {
        std::fill(rx.begin(), rx.end(), std::uint8_t{0});
    }
    std::copy(rx.begin(), rx.end(), tx.begin());
}

void MrpSm::fillMrpLibFromSavedValue(IntfId intfId, const MrpParsedAttribute& parsed) {
    const AttributeType type = parsed.key().attributeType;
    const auto rx = mrpLib_->rxImage().octets(type, mrpLib_->application());
    const auto tx = mrpLib_->txImage().octets(type, mrpLib_->application());
    if (rx.empty()) {
        MRP_TRACE(8, " valueSize = 0!! ");
        return;
    }
    parsed.attributeValue().copyTo(rx);
    std::copy(rx.begin(), rx.end(), tx.begin());
    if (mrpLib_->application() == MrpApplication::msrp && type == domainType) {
        const MrpAttrDatabase* record =
            mrpGetAttrFromDatabase(intfId, type, parsed.key().attributeKey, true);
        if (record != nullptr) {
            std::copy_n(record->attributeValue().begin(), tx.size(), tx.begin());
        }
    }
}

Seconds MrpSm::mrpGetLeaveTime(IntfId intfId) const {
    return MrpConfig::overrideOf(mrpConfig_->intfLeaveTime(), intfId)
        .value_or(mrpConfig_->leaveTime());
}

}  // namespace Mrp
