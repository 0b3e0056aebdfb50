#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "mrp/MrpSm/types/ArrayQueue.h"
#include "mrp/MrpSm/types/MrpAttribute.h"

namespace Mrp {

// An attribute of the PDU in hand. All of them are of the interface that received it.
struct MrpParsedAttributeKey {
    AttributeType attributeType = 0;
    AttributeKey attributeKey = 0;

    auto operator<=>(const MrpParsedAttributeKey&) const = default;
};

// What the PDU in hand says of an attribute: the last event seen and the value that came with it.
class MrpParsedAttribute {
  public:
    explicit MrpParsedAttribute(const MrpParsedAttributeKey& key) : key_(key) {}

    const MrpParsedAttributeKey& key() const { return key_; }
    std::uint8_t attributeEvent() const { return attributeEvent_; }
    void attributeEventIs(std::uint8_t event) { attributeEvent_ = event; }

    const ArrayQueue& attributeValue() const { return attributeValue_; }
    ArrayQueue& attributeValue() { return attributeValue_; }
    const ArrayQueue::Metadata& attributeValueMetadata() const {
        return attributeValue_.metadata();
    }
    void attributeValueIs(ValueIndex index, std::uint8_t octet) {
        attributeValue_.octetIs(index, octet);
    }
    void attributeValueEnq(std::uint8_t octet) { attributeValue_.enq(octet); }
    void attributeValueDeq() { attributeValue_.deq(); }
    void attributeValueDel(ValueIndex index) { attributeValue_.del(index); }
    void attributeValueDelAll() { attributeValue_.delAll(); }

  private:
    MrpParsedAttributeKey key_;
    std::uint8_t attributeEvent_ = 0;
    ArrayQueue attributeValue_;
};

}  // namespace Mrp

template <>
struct std::hash<Mrp::MrpParsedAttributeKey> {
    std::size_t operator()(const Mrp::MrpParsedAttributeKey& key) const noexcept {
        // The same stream may come under several types: those go to different places too.
        return Mrp::mixBits(key.attributeKey + key.attributeType * 0x9e3779b97f4a7c15ULL);
    }
};
