#pragma once

#include <algorithm>
#include <cstddef>
#include <span>

#include "mrp/MrpSm/types/RecordMap.h"

namespace Mrp {

// Finds one record after the other, and those of a run by their neighbourhood in the table. Ends
// like an iterator.
class RecordMap::Cursor {
  public:
    Cursor() : slots_(&none) {}
    explicit Cursor(const RecordMap& records)
        : slots_(records.slots_.empty() ? &none : records.slots_.data()),
          mask_(records.slots_.empty() ? 0 : records.slots_.size() - 1) {}

    // Null when there is no record of the key.
    MrpAttrDatabase* find(AttributeKey key) {
        const Slot* slot = &slots_[at_];
        if (slot->key != key || !slot->record) {
            at_ = slotOf(key, home(key, mask_), slots_, mask_);
            slot = &slots_[at_];
        }
        at_ = (at_ + 1) & mask_;
        return slot->record.get();
    }
    // The records of the key and of those that follow it, until there is none of one. How many.
    std::size_t find(AttributeKey key, std::span<const MrpAttrDatabase*> found) {
        std::size_t count = 0;
        while (count < found.size() && (found[count] = find(key + count)) != nullptr) {
            ++count;
            const Slot* slot = slots_ + at_;
            const Slot* const end = slot + std::min(found.size() - count, mask_ + 1 - at_);
            for (; slot != end && slot->key == key + count && slot->record; ++slot) {
                found[count++] = slot->record.get();
            }
            at_ = static_cast<std::size_t>(slot - slots_) & mask_;
        }
        return count;
    }

    // Who is going to look for many keys has the memory of each fetched in two steps, between which
    // he does the same for others. Then he looks for the key.
    void aim(AttributeKey key) {
        at_ = home(key, mask_);
        __builtin_prefetch(&slots_[at_]);
    }
    void settle(AttributeKey key) {
        at_ = slotOf(key, at_, slots_, mask_);
        __builtin_prefetch(slots_[at_].record.get());
    }

  private:
    static const Slot none;

    const Slot* slots_;
    std::size_t mask_ = 0;
    std::size_t at_ = 0;
};

}  // namespace Mrp
