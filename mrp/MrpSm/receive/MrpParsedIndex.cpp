#include "mrp/MrpSm/receive/MrpParsedIndex.h"

#include <algorithm>
#include <utility>

namespace Mrp {

namespace {
constexpr std::size_t initialSlots = 256;
}

MrpParsedIndex::MrpParsedIndex() : slots_(initialSlots) {}

// The slot that holds the key, or the free one where it belongs.
std::size_t MrpParsedIndex::slotOf(const MrpParsedAttributeKey& key) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = std::hash<MrpParsedAttributeKey>{}(key)&mask;
    while (slots_[at].generation == generation_ && entries_[slots_[at].entry].key != key) {
        at = (at + 1) & mask;
    }
    return at;
}

const MrpParsedPlace* MrpParsedIndex::find(const MrpParsedAttributeKey& key) const {
    const Slot& slot = slots_[slotOf(key)];
    return slot.generation == generation_ ? &entries_[slot.entry].place : nullptr;
}

void MrpParsedIndex::placeIs(const MrpParsedAttributeKey& key, const MrpParsedPlace& place) {
    std::size_t at = slotOf(key);
    if (slots_[at].generation == generation_) {
        entries_[slots_[at].entry].place = place;
        return;
    }
    if (2 * (entries_.size() + 1) > slots_.size()) {
        grow();
        at = slotOf(key);
    }
    entries_.push_back({key, place});
    slots_[at] = {generation_, static_cast<std::uint32_t>(entries_.size() - 1)};
}

void MrpParsedIndex::delAll() {
    if (entries_.empty()) {
        return;
    }
    entries_.clear();
    if (++generation_ == 0) {  // after 2^32 frames old slots would look like new ones
        std::fill(slots_.begin(), slots_.end(), Slot{});
        generation_ = 1;
    }
}

void MrpParsedIndex::grow() {
    const std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(2 * slots_.size()));
    for (const Slot& slot : old) {
        if (slot.generation == generation_) {
            slots_[slotOf(entries_[slot.entry].key)] = slot;
        }
    }
}

}  // namespace Mrp
