#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "mrp/MrpSm/types/KeySet.h"
#include "mrp/MrpSm/types/MrpAttribute.h"

namespace Mrp {

// The keys that wait for a leave timer. Most timers serve a single attribute: one key takes no
// memory of its own.
class MrpLeaveKeys {
  public:
    std::size_t size() const { return one_ ? 1 : (many_ ? many_->size() : 0); }
    bool empty() const { return size() == 0; }
    bool contains(AttributeKey key) const {
        return one_ ? *one_ == key : many_ && many_->contains(key);
    }
    // False when the key is there already.
    bool insert(AttributeKey key) {
        if (many_ && !many_->empty()) {
            return many_->insert(key);
        }
        if (!one_) {
            one_ = key;
            return true;
        }
        makeRoom();
        return many_->insert(key);
    }
    void erase(AttributeKey key) {
        if (one_ == key) {
            one_.reset();
        } else if (many_) {
            many_->erase(key);
        }
    }
    // Removes all keys from one to another.
    void erase(AttributeKey first, AttributeKey last) {
        if (one_ && first <= *one_ && *one_ <= last) {
            one_.reset();
        }
        if (many_) {
            many_->erase(first, last);
        }
    }
    void clear() {
        one_.reset();
        many_.reset();
    }
    // The lowest key, above the given one if there is one; nothing when there is none.
    std::optional<AttributeKey> next(std::optional<AttributeKey> after) const {
        if (one_) {
            return !after || *one_ > *after ? one_ : std::nullopt;
        }
        if (!many_) {
            return std::nullopt;
        }
        const auto found = after ? many_->upper_bound(*after) : many_->begin();
        return found != many_->end() ? std::optional(*found) : std::nullopt;
    }

  private:
    void makeRoom() {
        if (!many_) {
            many_ = std::make_unique<KeySet>();
        }
        if (one_) {
            many_->insert(*one_);
            one_.reset();
        }
    }

    std::optional<AttributeKey> one_;
    std::unique_ptr<KeySet> many_;  // empty, or not there, while there is but one
};

}  // namespace Mrp
