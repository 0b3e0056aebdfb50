#include "mrp/MrpSm/database/PendingRecords.h"

namespace Mrp {

std::size_t PendingRecords::size() const {
    std::size_t records = 0;
    for (const auto& [type, ofType] : types_) {
        records += ofType.size();
    }
    return records;
}

const RecordMap* PendingRecords::records(IntfId intfId, AttributeType attributeType) const {
    const auto found = types_.find({intfId, attributeType});
    return found != types_.end() ? &found->second : nullptr;
}

MrpAttrDatabase* PendingRecords::find(const MrpAttribute& attribute) const {
    const RecordMap* ofType = records(attribute.intfId, attribute.attributeType);
    return ofType != nullptr ? ofType->find(attribute.key) : nullptr;
}

void PendingRecords::insert(const MrpAttribute& attribute, Ptr<MrpAttrDatabase> record) {
    types_[{attribute.intfId, attribute.attributeType}].insert(std::move(record));
}

bool PendingRecords::erase(const MrpAttribute& attribute) {
    const auto type = types_.find({attribute.intfId, attribute.attributeType});
    if (type == types_.end() || !type->second.erase(attribute.key)) {
        return false;
    }
    if (type->second.empty()) {
        types_.erase(type);
    }
    return true;
}

MrpAttribute PendingRecords::first() const {
    const auto& [type, records] = *types_.begin();
    return {type.intfId, type.attributeType, *records.keys().begin()};
}

}  // namespace Mrp
