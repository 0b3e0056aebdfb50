#pragma once

#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "platform/base/IntfId.h"
#include "platform/state/Entity.h"
#include "platform/state/Notification.h"

namespace Platform {

// A directory of values by interface, in interface order. Reactors learn of every entry that is
// added, changed or removed; setting an equal value tells nobody.
template <class Value>
class IntfDirectory : public Entity {
  public:
    using Entity::Entity;

    // The interface's entry, or nothing.
    std::optional<Value> value(IntfId intfId) const {
        const auto found = values_.find(intfId);
        return found != values_.end() ? std::optional<Value>(found->second) : std::nullopt;
    }
    bool has(IntfId intfId) const { return values_.contains(intfId); }
    const std::map<IntfId, Value>& values() const { return values_; }

    // A snapshot, for walks whose body changes the directory.
    std::vector<IntfId> interfaces() const {
        std::vector<IntfId> result;
        result.reserve(values_.size());
        for (const auto& [intfId, value] : values_) {
            result.push_back(intfId);
        }
        return result;
    }

    void valueIs(IntfId intfId, Value value) {
        const auto found = values_.find(intfId);
        if (found != values_.end() && found->second == value) {
            return;
        }
        values_.insert_or_assign(intfId, std::move(value));
        changed_.notify(intfId);
    }

    void valueDel(IntfId intfId) {
        // The old value lives on until the reactors are done with it.
        if (const auto old = values_.extract(intfId)) {
            changed_.notify(intfId);
        }
    }

    Notification<IntfId>& changed() { return changed_; }

  private:
    std::map<IntfId, Value> values_;
    Notification<IntfId> changed_;
};

}  // namespace Platform
