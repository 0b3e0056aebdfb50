#include "mrp/MrpSm/types/MrpApplicationDatabase.h"

#include <iterator>

namespace Mrp {

namespace {

// The entry of a level, made when it is missing.
template <class Map, class Key>
typename Map::mapped_type entryIs(Map& level, Key key) {
    const auto found = level.find(key);
    if (found != level.end()) {
        return found->second;
    }
    using Entry = std::remove_reference_t<decltype(*std::declval<typename Map::mapped_type>())>;
    return level.emplace(key, makePtr<Entry>()).first->second;
}

template <class Map, class Key>
auto* entryIn(const Map& level, Key key) {
    const auto found = level.find(key);
    return found != level.end() ? found->second.get() : nullptr;
}

}  // namespace

MrpAttrDatabase* MrpIntfTypeApplicant::mrpAttribute(AttributeKey key) const {
    if (last_ != records_.end()) {
        if (last_->first == key) {
            return last_->second.get();
        }
        const auto next = std::next(last_);
        if (next != records_.end() && next->first == key) {
            last_ = next;
            return next->second.get();
        }
    }
    const auto found = records_.find(key);
    if (found == records_.end()) {
        return nullptr;
    }
    last_ = found;
    return found->second.get();
}

Ptr<MrpAttrDatabase> MrpIntfTypeApplicant::mrpAttributeIs(AttributeKey key) {
    const auto place = records_.lower_bound(key);
    if (place != records_.end() && place->first == key) {
        return place->second;
    }
    return records_.emplace_hint(place, key, makePtr<MrpAttrDatabase>(key))->second;
}

void MrpIntfTypeApplicant::mrpAttributeDel(AttributeKey key) {
    const auto found = records_.find(key);
    if (found == records_.end()) {
        return;
    }
    if (last_ == found) {
        last_ = records_.end();
    }
    records_.erase(found);
}

MrpIntfTypeApplicant* MrpIntfApplicant::intfTypeApplicant(AttributeType attributeType) const {
    return entryIn(types_, attributeType);
}

Ptr<MrpIntfTypeApplicant> MrpIntfApplicant::intfTypeApplicantIs(AttributeType attributeType) {
    return entryIs(types_, attributeType);
}

MrpIntfApplicant* MrpApplicationDatabase::attrDatabase(IntfId intfId) const {
    return entryIn(interfaces_, intfId);
}

Ptr<MrpIntfApplicant> MrpApplicationDatabase::attrDatabaseIs(IntfId intfId) {
    return entryIs(interfaces_, intfId);
}

MrpAttrDatabase* MrpApplicationDatabase::record(IntfId intfId, AttributeType attributeType,
                                                AttributeKey key) const {
    const MrpIntfApplicant* intf = attrDatabase(intfId);
    const MrpIntfTypeApplicant* type =
        intf != nullptr ? intf->intfTypeApplicant(attributeType) : nullptr;
    return type != nullptr ? type->mrpAttribute(key) : nullptr;
}

}  // namespace Mrp
