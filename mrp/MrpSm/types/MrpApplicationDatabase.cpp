#include "mrp/MrpSm/types/MrpApplicationDatabase.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "platform/base/Assert.h"

namespace Mrp {

namespace {

template <class Map, class Key>
auto* entryIn(const Map& level, Key key) {
    const auto found = level.find(key);
    return found != level.end() ? found->second.get() : nullptr;
}

}  // namespace

Ptr<MrpAttrDatabase> MrpAttrDatabase::make(AttributeKey key, std::size_t valueSize) {
    require(valueSize <= maxValueSize, "a value has 65 octets at the most");
    void* memory = ::operator new(sizeof(MrpAttrDatabase) + valueSize, std::nothrow);
    if (memory == nullptr) {
        throw std::range_error("null ValidPtr");
    }
    auto* record = ::new (memory) MrpAttrDatabase(key, static_cast<std::uint8_t>(valueSize));
    std::ranges::fill(record->value(), std::uint8_t{0});
    return Ptr<MrpAttrDatabase>(record);
}

void MrpAttrDatabase::attributeValueIs(ValueIndex first, std::span<const std::uint8_t> octets) {
    if (octets.empty()) {
        return;
    }
    const std::size_t last = first.value() + octets.size() - 1;
    static_cast<void>(ValueIndex(static_cast<unsigned>(last)));  // throws when it is out of range
    if (last >= valueSize_) {
        throw std::range_error("the record has no room for such a value");
    }
    const auto stored = value().subspan(first.value(), octets.size());
    if (home_ == nullptr || !std::equal(octets.begin(), octets.end(), stored.begin())) {
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

MrpIntfTypeApplicant::MrpIntfTypeApplicant(MrpApplicationDatabase& database, IntfId intfId,
                                           AttributeType attributeType)
    : database_(&database),
      intfId_(intfId),
      attributeType_(attributeType),
      valueSize_(mrpSizeOfStoredValue(attributeType, database.application())) {}

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

Ptr<MrpAttrDatabase> MrpIntfTypeApplicant::mrpAttributeIs(AttributeKey key) {
    if (MrpAttrDatabase* found = records_.find(key)) {
        return Ptr<MrpAttrDatabase>(found);
    }
    Ptr<MrpAttrDatabase> record = MrpAttrDatabase::make(key, valueSize_);
    insert(record);
    return record;
}

void MrpIntfTypeApplicant::mrpAttributeIs(const Ptr<MrpAttrDatabase>& record) {
    if (MrpAttrDatabase* found = insert(record)) {
        found->copyFrom(*record);
        return;
    }
    record->changed();
}

// Adds the record, unless there is one of its key: returns that one, or null.
MrpAttrDatabase* MrpIntfTypeApplicant::insert(const Ptr<MrpAttrDatabase>& record) {
    if (MrpAttrDatabase* found = records_.insert(record)) {
        return found;
    }
    require(record->home_ == nullptr, "the record is in no database");
    record->home_ = this;
    if (database_ != nullptr) {
        ++database_->recordCount_;
    }
    return nullptr;
}

void MrpIntfTypeApplicant::mrpAttributeDel(AttributeKey key) {
    const Ptr<MrpAttrDatabase> erased = records_.erase(key);
    if (!erased) {
        return;
    }
    erased->home_ = nullptr;
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

MrpIntfTypeApplicant* MrpApplicationDatabase::type(IntfId intfId,
                                                   AttributeType attributeType) const {
    if (last_ == nullptr || last_->intfId_ != intfId || last_->attributeType_ != attributeType) {
        const MrpIntfApplicant* intf = attrDatabase(intfId);
        MrpIntfTypeApplicant* found =
            intf != nullptr ? intf->intfTypeApplicant(attributeType) : nullptr;
        if (found == nullptr) {
            return nullptr;
        }
        last_ = found;
    }
    return last_;
}

Ptr<MrpIntfTypeApplicant> MrpApplicationDatabase::typeIs(IntfId intfId,
                                                         AttributeType attributeType) {
    MrpIntfTypeApplicant* found = type(intfId, attributeType);
    return found != nullptr ? Ptr<MrpIntfTypeApplicant>(found)
                            : attrDatabaseIs(intfId)->intfTypeApplicantIs(attributeType);
}

MrpAttrDatabase* MrpApplicationDatabase::record(IntfId intfId, AttributeType attributeType,
                                                AttributeKey key) const {
    const MrpIntfTypeApplicant* found = type(intfId, attributeType);
    return found != nullptr ? found->mrpAttribute(key) : nullptr;
}

}  // namespace Mrp
