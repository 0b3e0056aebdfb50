#include <algorithm>
#include <iterator>
#include <utility>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"

// The database room: records are found, made, filled and compared here. The committed tree lives in
// the status entity and changes only in the reviews; what is pending is seen through the look-up.

namespace Mrp {

// Once there it stays.
MrpApplicationDatabase* MrpSm::applicationDatabase() const {
    if (applicationDatabase_ == nullptr) {
        applicationDatabase_ = mrpStatus_->applicationDatabase(mrpLib_->application());
    }
    return applicationDatabase_;
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
    switch (mrpLib_->application()) {
    case MrpApplication::msrp:
        return msrpGetTxAttributeKey();
    case MrpApplication::mvrp:
        return mvrpGetTxAttributeKey();
    default:
        return 0;
    }
}

AttributeKey MrpSm::msrpGetTxAttributeKey() const {
    return mrpLib_->txImage().key(parseContext_->attributeType(), MrpApplication::msrp);
}

AttributeKey MrpSm::mvrpGetTxAttributeKey() const {
    return mrpLib_->txImage().key(parseContext_->attributeType(), MrpApplication::mvrp);
}

AttributeKey MrpSm::mrpGetRxAttributeKey() const {
    switch (mrpLib_->application()) {
    case MrpApplication::msrp:
        return msrpGetRxAttributeKey();
    case MrpApplication::mvrp:
        return mvrpGetRxAttributeKey();
    default:
        return 0;
    }
}

AttributeKey MrpSm::msrpGetRxAttributeKey() const {
    return mrpLib_->rxImage().key(parseContext_->attributeType(), MrpApplication::msrp);
}

AttributeKey MrpSm::mvrpGetRxAttributeKey() const {
    return mrpLib_->rxImage().key(parseContext_->attributeType(), MrpApplication::mvrp);
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
    RecordInHand& inHand = recordInHand_;
    if (lookInAddPending) {
        if (inHand.generation == databaseGeneration_ && inHand.attribute == attribute) {
            return inHand.record.get();
        }
        if (MrpAttrDatabase* pending = addPendingAttr_.find(attribute)) {
            inHand = {attribute, Ptr<MrpAttrDatabase>(pending), databaseGeneration_};
            return pending;
        }
    }
    MrpAttrDatabase* record = committedRecord(attribute);
    if (record == nullptr || deletePending(attribute, *record)) {
        return nullptr;
    }
    if (lookInAddPending && active_) {  // a standby's database is written by others too
        inHand = {attribute, Ptr<MrpAttrDatabase>(record), databaseGeneration_};
    }
    return record;
}

std::vector<AttributeKey> MrpSm::visibleKeys(IntfId intfId, AttributeType attributeType) const {
    std::vector<AttributeKey> committed;
    const MrpApplicationDatabase* database = applicationDatabase();
    const MrpIntfApplicant* intf = database != nullptr ? database->attrDatabase(intfId) : nullptr;
    if (const auto* type = intf != nullptr ? intf->intfTypeApplicant(attributeType) : nullptr) {
        const PendingOfType* deleted = deletePendingAttr_.records(intfId, attributeType);
        committed.reserve(type->mrpAttribute().size());
        std::ranges::set_difference(type->mrpAttribute().keys(),
                                    deleted != nullptr ? deleted->keys()
                                                       : std::vector<AttributeKey>(),
                                    std::back_inserter(committed));
    }
    const PendingOfType* added = addPendingAttr_.records(intfId, attributeType);
    if (added == nullptr) {
        return committed;
    }
    std::vector<AttributeKey> keys;
    keys.reserve(committed.size() + added->size());
    std::ranges::set_union(committed, added->keys(), std::back_inserter(keys));
    return keys;
}

Ptr<MrpAttrDatabase> MrpSm::mrpGetAttribute(bool create) {
    const MrpAttribute attribute = parseContext_->attribute();
    MrpAttrDatabase* found =
        mrpGetAttrFromDatabase(attribute.intfId, attribute.attributeType, attribute.key, true);
    if (found != nullptr || !create || applicationDatabase() == nullptr) {
        return Ptr<MrpAttrDatabase>(found);
    }
    Ptr<MrpAttrDatabase> record = newRecord(attribute);
    mrpPopulateValueInDatabase(*record, false);
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

void MrpSm::createEntryInDatabase(const MrpAttribute& attribute,
                                  const Ptr<MrpAttrDatabase>& record) {
    if (MrpApplicationDatabase* database = applicationDatabase()) {
        const Ptr<MrpIntfTypeApplicant> type =
            database->typeIs(attribute.intfId, attribute.attributeType);
        if (const auto* more = addPendingAttr_.records(attribute.intfId, attribute.attributeType)) {
            type->reserveMore(more->size());
        }
        type->mrpAttributeIs(record);
    }
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
    switch (mrpLib_->application()) {
    case MrpApplication::msrp:
        mrpPopulateMsrpValueInDatabase(record, fromTxImage);
        break;
    case MrpApplication::mvrp:
        mrpPopulateMvrpValueInDatabase(record, fromTxImage);
        break;
    default:
        break;
    }
}

void MrpSm::mrpPopulateMsrpValueInDatabase(MrpAttrDatabase& record, bool fromTxImage) const {
    populateValue(record, fromTxImage, MrpApplication::msrp);
}

void MrpSm::mrpPopulateMvrpValueInDatabase(MrpAttrDatabase& record, bool fromTxImage) const {
    populateValue(record, fromTxImage, MrpApplication::mvrp);
}

void MrpSm::populateValue(MrpAttrDatabase& record, bool fromTxImage,
                          MrpApplication application) const {
    const MrpValueImage& image = fromTxImage ? mrpLib_->txImage() : mrpLib_->rxImage();
    record.attributeValueIs(ValueIndex(0),
                            image.octets(parseContext_->attributeType(), application));
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
           std::ranges::equal(octets, record->attributeValue().first(octets.size()));
}

bool MrpSm::mvrpRxVectorSameAsDatabaseAttr() const {
    return parseContext_->attributeType() == vlanType &&
           mrpLib_->rxImage().vlan.vlanId == parseContext_->attributeKey();
}

void MrpSm::mrpFillContextFromDatabase(const MrpAttribute& attribute) {
    parseContext_->attributeIs(attribute);
    switch (mrpLib_->application()) {
    case MrpApplication::msrp:
        mrpFillMsrpContextFromDatabase(attribute);
        break;
    case MrpApplication::mvrp:
        mrpFillMvrpContextFromDatabase(attribute);
        break;
    default:
        break;
    }
}

void MrpSm::mrpFillMsrpContextFromDatabase(const MrpAttribute& attribute) {
    fillImages(attribute, MrpApplication::msrp);
}

void MrpSm::mrpFillMvrpContextFromDatabase(const MrpAttribute& attribute) {
    fillImages(attribute, MrpApplication::mvrp);
}

// Loads the stored value of the attribute in hand, zeros without a record, into both images.
void MrpSm::fillImages(const MrpAttribute& attribute, MrpApplication application) {
    const auto rx = mrpLib_->rxImage().octets(attribute.attributeType, application);
    const auto tx = mrpLib_->txImage().octets(attribute.attributeType, application);
    if (rx.empty()) {
        MRP_TRACE(8, " valueSize = 0!! ");
        return;
    }
    if (const Ptr<MrpAttrDatabase> record = mrpGetAttribute(false)) {
        std::ranges::copy(record->attributeValue().first(rx.size()), rx.begin());
    } else {
        std::fill(rx.begin(), rx.end(), std::uint8_t{0});
    }
    std::copy(rx.begin(), rx.end(), tx.begin());
}

void MrpSm::fillMrpLibFromSavedValue(IntfId intfId, const MrpParsedAttribute& parsed) {
    switch (mrpLib_->application()) {
    case MrpApplication::msrp:
        fillMsrpLibFromSavedValue(intfId, parsed);
        break;
    case MrpApplication::mvrp:
        fillMvrpLibFromSavedValue(intfId, parsed);
        break;
    default:
        break;
    }
}

void MrpSm::fillMsrpLibFromSavedValue(IntfId intfId, const MrpParsedAttribute& parsed) {
    const MrpParsedAttributeKey& key = parsed.key();
    if (!fillImages(parsed, MrpApplication::msrp) || key.attributeType != domainType) {
        return;
    }
    const MrpAttrDatabase* record =
        mrpGetAttrFromDatabase(intfId, domainType, key.attributeKey, true);
    if (record != nullptr) {
        const auto tx = mrpLib_->txImage().octets(domainType, MrpApplication::msrp);
        std::ranges::copy(record->attributeValue().first(tx.size()), tx.begin());
    }
}

void MrpSm::fillMvrpLibFromSavedValue(IntfId, const MrpParsedAttribute& parsed) {
    fillImages(parsed, MrpApplication::mvrp);
}

// Loads a parsed value into both images. False for a type without values.
bool MrpSm::fillImages(const MrpParsedAttribute& parsed, MrpApplication application) {
    const AttributeType type = parsed.key().attributeType;
    const auto rx = mrpLib_->rxImage().octets(type, application);
    const auto tx = mrpLib_->txImage().octets(type, application);
    if (rx.empty()) {
        MRP_TRACE(8, " valueSize = 0!! ");
        return false;
    }
    parsed.attributeValue().copyTo(rx);
    std::copy(rx.begin(), rx.end(), tx.begin());
    return true;
}

Seconds MrpSm::mrpGetLeaveTime(IntfId intfId) const {
    return MrpConfig::overrideOf(mrpConfig_->intfLeaveTime(), intfId)
        .value_or(mrpConfig_->leaveTime());
}

}  // namespace Mrp
