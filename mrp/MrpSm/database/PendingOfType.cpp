#include "mrp/MrpSm/database/PendingOfType.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace Mrp {

namespace {

// Of an entry; quick to move.
struct Place {
    AttributeKey key;
    std::uint32_t index;
};

// Many are dealt out by one octet of their keys after the other, from the lowest up.
void sortByKey(std::vector<Place>& places) {
    constexpr std::size_t few = 256;
    if (places.size() < few) {
        std::ranges::sort(places, {}, &Place::key);
        return;
    }
    constexpr unsigned octetBits = 8;
    std::vector<Place> dealt(places.size());
    for (unsigned shift = 0; shift < sizeof(AttributeKey) * octetBits; shift += octetBits) {
        const auto octet = [shift](const Place& place) {
            return static_cast<std::uint8_t>(place.key >> shift);
        };
        std::array<std::size_t, UINT8_MAX + 1> ends{};
        for (const Place& place : places) {
            ++ends[octet(place)];
        }
        if (ends[octet(places.front())] == places.size()) {
            continue;  // it is the same in all
        }
        std::exclusive_scan(ends.begin(), ends.end(), ends.begin(), std::size_t{0});
        for (const Place& place : places) {
            dealt[ends[octet(place)]++] = place;
        }
        places.swap(dealt);
    }
}

}  // namespace

void PendingOfType::insert(Ptr<MrpAttrDatabase> record) {
    constexpr std::size_t fewGone = 64;
    if (entries_.size() >= 2 * size_ + fewGone) {
        dropGone();
    }
    const AttributeKey key = record->key();
    const bool behindAll = entries_.empty() || key > entries_.back().key;
    entries_.push_back({key, std::move(record)});
    ascending_ = ascending_ && behindAll;
    ++size_;
}

bool PendingOfType::erase(AttributeKey key) {
    const std::size_t index = indexOf(key);
    if (index == entries_.size()) {
        return false;
    }
    entries_[index].record = nullptr;
    --size_;
    while (first_ < entries_.size() && !entries_[first_].record) {
        ++first_;
    }
    return true;
}

std::vector<AttributeKey> PendingOfType::keys() const {
    std::vector<AttributeKey> keys;
    keys.reserve(size_);
    for (const RecordMap::Entry& entry : *this) {
        keys.push_back(entry.key);
    }
    return keys;
}

PendingOfType::const_iterator PendingOfType::begin() const {
    sort();
    return {entries_.begin() + static_cast<std::ptrdiff_t>(first_), entries_.end()};
}

PendingOfType::const_iterator PendingOfType::end() const {
    return {entries_.end(), entries_.end()};
}

PendingOfType::const_iterator PendingOfType::lower_bound(AttributeKey key) const {
    sort();
    return {std::ranges::lower_bound(entries_, key, {}, &Entry::key), entries_.end()};
}

void PendingOfType::sort() const {
    if (ascending_) {
        return;
    }
    dropGone();
    std::vector<Place> order;
    order.reserve(entries_.size());
    for (const Entry& entry : entries_) {
        order.push_back({entry.key, static_cast<std::uint32_t>(order.size())});
    }
    sortByKey(order);
    Entries sorted;
    sorted.reserve(entries_.size());
    for (const Place& place : order) {
        sorted.push_back(std::move(entries_[place.index]));
    }
    entries_.swap(sorted);
    ascending_ = true;
}

void PendingOfType::dropGone() const {
    std::erase_if(entries_, [](const Entry& entry) { return !entry.record; });
    first_ = 0;
    indexed_ = 0;
    slots_.clear();
}

// --- The index: linear probing; at most half of the slots are in use ---

MrpAttrDatabase* PendingOfType::findIndexed(AttributeKey key) const {
    const std::size_t index = indexOf(key);
    return index != entries_.size() ? entries_[index].record.get() : nullptr;
}

std::size_t PendingOfType::indexOf(AttributeKey key) const {
    if (empty()) {
        return entries_.size();
    }
    for (const std::size_t index : {first_, entries_.size() - 1}) {
        if (entries_[index].key == key && entries_[index].record) {
            return index;
        }
    }
    indexIs();
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t slot = mixBits(key) & mask; slots_[slot] != 0; slot = (slot + 1) & mask) {
        const std::size_t index = slots_[slot] - 1;
        if (entries_[index].key == key && entries_[index].record) {
            return index;
        }
    }
    return entries_.size();
}

void PendingOfType::indexIs() const {
    constexpr std::size_t minSlots = 16;
    if (2 * entries_.size() > slots_.size()) {
        std::size_t count = std::max(minSlots, slots_.size());
        while (2 * entries_.size() > count) {
            count *= 2;
        }
        slots_.assign(count, 0);
        indexed_ = 0;
    }
    const std::size_t mask = slots_.size() - 1;
    for (; indexed_ < entries_.size(); ++indexed_) {
        std::size_t slot = mixBits(entries_[indexed_].key) & mask;
        while (slots_[slot] != 0) {
            slot = (slot + 1) & mask;
        }
        slots_[slot] = static_cast<std::uint32_t>(indexed_ + 1);
    }
}

}  // namespace Mrp
