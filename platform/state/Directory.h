#pragma once

#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "platform/base/IntfId.h"
#include "platform/state/Entity.h"
#include "platform/state/Notification.h"

namespace Platform {

// A directory of values by key, in key order. Reactors learn of every entry that is added, changed
// or removed; setting an equal value tells nobody.
template <class Key, class Value>
class Directory : public Entity {
  public:
    using Entity::Entity;

    // The key's entry, or nothing.
    std::optional<Value> value(const Key& key) const {
        const auto found = values_.find(key);
        return found != values_.end() ? std::optional<Value>(found->second) : std::nullopt;
    }
    bool has(const Key& key) const { return values_.contains(key); }
    const std::map<Key, Value>& values() const { return values_; }

    // A snapshot, for walks whose body changes the directory.
    std::vector<Key> keys() const {
        std::vector<Key> result;
        result.reserve(values_.size());
        for (const auto& [key, value] : values_) {
            result.push_back(key);
        }
        return result;
    }

    void valueIs(const Key& key, Value value) {
        const auto found = values_.find(key);
        if (found != values_.end() && found->second == value) {
            return;
        }
        values_.insert_or_assign(key, std::move(value));
        changed_.notify(key);
    }

    void valueDel(const Key& key) {
        // The old key and value live on until the reactors are done with them.
        if (const auto old = values_.extract(key)) {
            changed_.notify(old.key());
        }
    }

    Notification<Key>& changed() const { return changed_; }

  private:
    std::map<Key, Value> values_;
    mutable Notification<Key> changed_;
};

template <class Value>
using IntfDirectory = Directory<IntfId, Value>;

}  // namespace Platform
