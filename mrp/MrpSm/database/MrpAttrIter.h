#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "mrp/MrpSm/types/KeySet.h"
#include "mrp/MrpSm/types/MrpAttribute.h"
#include "platform/base/Ptr.h"

namespace Mrp {

// The attributes known of one type on one interface, committed or pending addition, in key order.
class MrpAttrIter final : public RefCounted {
  public:
    struct Key {
        IntfId intfId;
        AttributeType attributeType = 0;

        auto operator<=>(const Key&) const = default;
    };

    explicit MrpAttrIter(const Key& key) : key_(key) {}

    const Key& key() const { return key_; }
    const KeySet& attributeKey() const { return attributeKey_; }
    void attributeKeyIs(AttributeKey key) { attributeKey_.insert(key); }
    void attributeKeysAre(const KeySet& keys) { attributeKey_ = keys; }
    void attributeKeyDel(AttributeKey key) { attributeKey_.erase(key); }
    void attributeKeyDelAll() { attributeKey_.clear(); }

    // The keys as they are now, ascending, for walks whose body changes the set.
    std::vector<AttributeKey> snapshot() const {
        return {attributeKey_.begin(), attributeKey_.end()};
    }

  private:
    Key key_;
    KeySet attributeKey_;
};

// Jenkins' one-at-a-time hash over the eight bytes of the interface in memory order, then the type
// as one more step.
std::uint32_t hashOf(const MrpAttrIter::Key& key);

std::string valueToStrep(const MrpAttrIter::Key& key);

}  // namespace Mrp

template <>
struct std::hash<Mrp::MrpAttrIter::Key> {
    std::size_t operator()(const Mrp::MrpAttrIter::Key& key) const noexcept {
        return Mrp::hashOf(key);
    }
};
