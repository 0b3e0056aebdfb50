#include "mrp/MrpSm/database/PendingOfType.h"

#include <utility>

namespace Mrp {

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
    std::vector<std::pair<AttributeKey, std::uint32_t>> order;  // which are quick to move
    order.reserve(entries_.size());
    for (const Entry& entry : entries_) {
        order.emplace_back(entry.key, static_cast<std::uint32_t>(order.size()));
    }
    std::ranges::sort(order, {}, &std::pair<AttributeKey, std::uint32_t>::first);
    Entries sorted;
    sorted.reserve(entries_.size());
    for (const auto& [key, index] : order) {
        sorted.push_back(std::move(entries_[index]));
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
