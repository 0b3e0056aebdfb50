#include "mrp/MrpSm/database/PendingRecords.h"

namespace Mrp {

std::size_t PendingRecords::size() const {
    std::size_t records = 0;
    for (const auto& [type, ofType] : types_) {
        records += ofType.size();
    }
    return records;
}

PendingRecords::Types::value_type* PendingRecords::type(const MrpAttrIter::Key& key) const {
    if (last_ == nullptr || last_->first != key) {
        const auto found = types_.find(key);
        if (found == types_.end()) {
            return nullptr;
        }
        last_ = &*found;
    }
    return last_;
}

const PendingOfType* PendingRecords::records(IntfId intfId, AttributeType attributeType) const {
    const auto* found = type({intfId, attributeType});
    return found != nullptr ? &found->second : nullptr;
}

MrpAttrDatabase* PendingRecords::find(const MrpAttribute& attribute) const {
    const PendingOfType* ofType = records(attribute.intfId, attribute.attributeType);
    return ofType != nullptr ? ofType->find(attribute.key) : nullptr;
}

void PendingRecords::insert(const MrpAttribute& attribute, Ptr<MrpAttrDatabase> record) {
    const MrpAttrIter::Key key{attribute.intfId, attribute.attributeType};
    if (auto* found = type(key)) {
        found->second.insert(std::move(record));
        return;
    }
    PendingOfType records;
    records.insert(std::move(record));
    types_.emplace(key, std::move(records));
}

bool PendingRecords::erase(const MrpAttribute& attribute) {
    auto* found = type({attribute.intfId, attribute.attributeType});
    if (found == nullptr || !found->second.erase(attribute.key)) {
        return false;
    }
    if (found->second.empty()) {
        last_ = nullptr;
        types_.erase(types_.find(found->first));
    }
    return true;
}

PendingRecords::Entry PendingRecords::first() const {
    const auto& [type, records] = *types_.begin();
    const auto [key, record] = *records.begin();
    return {{type.intfId, type.attributeType, key}, Ptr<MrpAttrDatabase>(record)};
}

}  // namespace Mrp
