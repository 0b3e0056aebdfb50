#include "mrp/MrpSm/types/RecordMap.h"

#include <algorithm>

#include "mrp/MrpSm/types/RecordCursor.h"

namespace Mrp {

namespace {
constexpr std::size_t minSlots = 8;
}  // namespace

const RecordMap::Slot RecordMap::Cursor::none;

void RecordMap::place(Slot entry) {
    Slot& slot = slots_[slotOf(entry.key)];
    slot = std::move(entry);
}

void RecordMap::slotsAre(std::size_t count) {
    std::vector<Slot> before(count);
    before.swap(slots_);
    for (Slot& entry : before) {
        if (entry.record) {
            place(std::move(entry));
        }
    }
}

// Five eighths of the slots are in use at the most, so that runs find their place close to home.
void RecordMap::reserveMore(std::size_t records) {
    std::size_t count = std::max(minSlots, slots_.size());
    while ((size() + records) * 8 > count * 5) {
        count *= 2;
    }
    if (count != slots_.size()) {
        slotsAre(count);
    }
}

MrpAttrDatabase* RecordMap::insert(const Ptr<MrpAttrDatabase>& record) {
    reserveMore(1);
    const AttributeKey key = record->key();
    Slot& slot = slots_[slotOf(key)];
    if (slot.record) {
        return slot.record.get();
    }
    keys_.insert(key);
    slot = {key, record};
    return nullptr;
}

// What stood behind the record moves up, unless it would get in front of its home.
Ptr<MrpAttrDatabase> RecordMap::erase(AttributeKey key) {
    std::size_t free = slots_.empty() ? 0 : slotOf(key);
    if (slots_.empty() || !slots_[free].record) {
        return nullptr;
    }
    Ptr<MrpAttrDatabase> erased = std::move(slots_[free].record);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t next = behind(free); slots_[next].record; next = behind(next)) {
        const std::size_t distance = (next - home(slots_[next].key)) & mask;
        if (distance >= ((next - free) & mask)) {
            slots_[free] = std::move(slots_[next]);
            free = next;
        }
    }
    keys_.erase(key);
    if (slots_.size() > minSlots && size() * 8 < slots_.size()) {
        slotsAre(slots_.size() / 2);
    }
    return erased;
}

RecordMap::const_iterator RecordMap::begin() const {
    return {*this, keys_.begin()};
}

RecordMap::const_iterator RecordMap::end() const {
    return {*this, keys_.end()};
}

RecordMap::const_iterator RecordMap::lower_bound(AttributeKey key) const {
    return {*this, keys_.lower_bound(key)};
}

RecordMap::const_iterator RecordMap::upper_bound(AttributeKey key) const {
    return {*this, keys_.upper_bound(key)};
}

}  // namespace Mrp
