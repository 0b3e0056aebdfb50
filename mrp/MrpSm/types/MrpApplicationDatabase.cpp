#include "mrp/MrpSm/types/MrpApplicationDatabase.h"

#include <algorithm>
#include <iterator>

namespace Mrp {

namespace {

template <class Map, class Key>
auto* entryIn(const Map& level, Key key) {
    const auto found = level.find(key);
    return found != level.end() ? found->second.get() : nullptr;
}

}  // namespace

void MrpAttrDatabase::attributeValueIs(ValueIndex first, std::span<const std::uint8_t> octets) {
    if (octets.empty()) {
        return;
    }
    const std::size_t last = first.value() + octets.size() - 1;
    static_cast<void>(ValueIndex(static_cast<unsigned>(last)));  // throws when it is out of range
    const auto stored = std::span(attributeValue_).subspan(first.value(), octets.size());
    if (!std::equal(octets.begin(), octets.end(), stored.begin())) {
        std::copy(octets.begin(), octets.end(), stored.begin());
        changed();
    }
}

void MrpAttrDatabase::tellHome() {
    if (telling_ == Telling::atOnce) {
        home_->tell(key_, this);
    } else {
        telling_ = Telling::due;
    }
}

MrpIntfTypeApplicant::~MrpIntfTypeApplicant() {
    for (const auto& [key, record] : records_) {
        record->home_ = nullptr;
    }
}

void MrpIntfTypeApplicant::tell(AttributeKey key, const MrpAttrDatabase* record) const {
    if (database_ != nullptr && !database_->recordChanged().empty()) {
        database_->recordChanged().notify({intfId_, attributeType_, key}, record);
    }
}

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
    const auto made = records_.emplace_hint(place, key, makePtr<MrpAttrDatabase>(key));
    made->second->home_ = this;
    if (database_ != nullptr) {
        ++database_->recordCount_;
    }
    return made->second;
}

void MrpIntfTypeApplicant::mrpAttributeDel(AttributeKey key) {
    const auto found = records_.find(key);
    if (found == records_.end()) {
        return;
    }
    if (last_ == found) {
        last_ = records_.end();
    }
    found->second->home_ = nullptr;
    records_.erase(found);
    if (database_ != nullptr) {
        --database_->recordCount_;
    }
    tell(key, nullptr);
}

MrpIntfTypeApplicant* MrpIntfApplicant::intfTypeApplicant(AttributeType attributeType) const {
    return entryIn(types_, attributeType);
}

Ptr<MrpIntfTypeApplicant> MrpIntfApplicant::intfTypeApplicantIs(AttributeType attributeType) {
    Ptr<MrpIntfTypeApplicant>& type = types_[attributeType];
    if (!type) {
        type = makePtr<MrpIntfTypeApplicant>(database_, intfId_, attributeType);
    }
    return type;
}

MrpApplicationDatabase::~MrpApplicationDatabase() {
    for (const auto& [intfId, intf] : interfaces_) {
        for (const auto& [type, records] : intf->intfTypeApplicant()) {
            records->database_ = nullptr;
        }
    }
}

void MrpApplicationDatabase::leaveAllTimeIs(const LeaveAllKey& key, Seconds time) {
    const auto [entry, added] = leaveAllTime_.try_emplace(key, time);
    if (!added && entry->second == time) {
        return;
    }
    entry->second = time;
    leaveAllTimeChanged_.notify(key);
}

void MrpApplicationDatabase::leaveAllTimeDel(const LeaveAllKey& key) {
    if (leaveAllTime_.erase(key) != 0) {
        leaveAllTimeChanged_.notify(key);
    }
}

MrpIntfApplicant* MrpApplicationDatabase::attrDatabase(IntfId intfId) const {
    return entryIn(interfaces_, intfId);
}

Ptr<MrpIntfApplicant> MrpApplicationDatabase::attrDatabaseIs(IntfId intfId) {
    Ptr<MrpIntfApplicant>& intf = interfaces_[intfId];
    if (!intf) {
        intf = makePtr<MrpIntfApplicant>(*this, intfId);
    }
    return intf;
}

MrpAttrDatabase* MrpApplicationDatabase::record(IntfId intfId, AttributeType attributeType,
                                                AttributeKey key) const {
    const MrpIntfApplicant* intf = attrDatabase(intfId);
    const MrpIntfTypeApplicant* type =
        intf != nullptr ? intf->intfTypeApplicant(attributeType) : nullptr;
    return type != nullptr ? type->mrpAttribute(key) : nullptr;
}

}  // namespace Mrp
