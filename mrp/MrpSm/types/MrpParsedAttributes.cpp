#include "mrp/MrpSm/types/MrpParsedAttributes.h"

#include <algorithm>
#include <utility>

namespace Mrp {

namespace {
constexpr std::size_t initialSlots = 256;
}

MrpParsedAttributes::MrpParsedAttributes() : index_(initialSlots) {}

// The slot that holds the key, or the free one where it belongs.
std::size_t MrpParsedAttributes::slotOf(const MrpParsedAttributeKey& key) const {
    const std::size_t mask = index_.size() - 1;
    std::size_t at = std::hash<MrpParsedAttributeKey>{}(key)&mask;
    while (index_[at].generation == generation_ &&
           (index_[at].place == deleted || attributes_[index_[at].place].key() != key)) {
        at = (at + 1) & mask;
    }
    return at;
}

const MrpParsedAttribute* MrpParsedAttributes::find(const MrpParsedAttributeKey& key) const {
    const bool noneDeleted = live_ == attributes_.size();
    if (noneDeleted && next_ < live_ && attributes_[next_].key() == key) {
        return &attributes_[next_++];
    }
    const Slot& slot = index_[slotOf(key)];
    if (slot.generation != generation_) {
        return nullptr;
    }
    next_ = slot.place + std::size_t{1};
    return &attributes_[slot.place];
}

MrpParsedAttribute& MrpParsedAttributes::attributeIs(const MrpParsedAttributeKey& key) {
    std::size_t at = slotOf(key);
    if (index_[at].generation == generation_) {
        return attributes_[index_[at].place];
    }
    if (2 * (attributes_.size() + 1) > index_.size()) {
        grow();
        at = slotOf(key);
    }
    MrpParsedAttribute& attribute = attributes_.emplace_back(key);
    index_[at] = {generation_, static_cast<std::uint32_t>(attributes_.size() - 1)};
    ++live_;
    return attribute;
}

void MrpParsedAttributes::attributeDel(const MrpParsedAttributeKey& key) {
    Slot& slot = index_[slotOf(key)];
    if (slot.generation == generation_) {
        slot.place = deleted;
        --live_;
    }
}

void MrpParsedAttributes::attributeDelAll() {
    attributes_.clear();
    live_ = 0;
    next_ = 0;
    if (++generation_ == 0) {  // after 2^32 frames old slots would look like new ones
        std::fill(index_.begin(), index_.end(), Slot{});
        generation_ = 1;
    }
}

void MrpParsedAttributes::grow() {
    const std::vector<Slot> old = std::exchange(index_, std::vector<Slot>(2 * index_.size()));
    for (const Slot& slot : old) {
        if (slot.generation == generation_ && slot.place != deleted) {
            index_[slotOf(attributes_[slot.place].key())] = slot;
        }
    }
}

}  // namespace Mrp
