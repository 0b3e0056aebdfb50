#pragma once

#include <cstdint>

#include "mrp/MrpSm/types/MrpAttribute.h"
#include "platform/state/Entity.h"

namespace Mrp {

// The attribute in hand, on which all state machine events act, and the state of the PDU that is
// being parsed. One an engine. It is a record that several rooms write: its fields are plain, each
// with the setter of its name.
class MrpParseContext final : public Entity {
  public:
    using Entity::Entity;

    IntfId intfId() const { return intfId_; }
    void intfIdIs(IntfId intfId) { intfId_ = intfId; }
    AttributeType attributeType() const { return attributeType_; }
    void attributeTypeIs(AttributeType type) { attributeType_ = type; }
    // The wire event of the value in hand.
    std::uint8_t attributeEvent() const { return attributeEvent_; }
    void attributeEventIs(std::uint8_t event) { attributeEvent_ = event; }
    AttributeKey attributeKey() const { return attributeKey_; }
    void attributeKeyIs(AttributeKey key) { attributeKey_ = key; }
    // The AttributeLength of the message in hand.
    std::uint8_t attributeLength() const { return attributeLength_; }
    void attributeLengthIs(std::uint8_t length) { attributeLength_ = length; }
    // What is left of an MSRP message's AttributeListLength. Counts modulo 2^16: a list that is
    // longer than it said ends at a number other than 2 and is malformed.
    std::uint16_t attributeListBytesLeft() const { return attributeListBytesLeft_; }
    void attributeListBytesLeftIs(std::uint16_t bytes) { attributeListBytesLeft_ = bytes; }
    void attributeListBytesLeftDec(std::size_t bytes) {
        attributeListBytesLeft_ = static_cast<std::uint16_t>(attributeListBytesLeft_ - bytes);
    }
    // The NumberOfValues of the vector in hand.
    std::uint16_t numberOfValues() const { return numberOfValues_; }
    void numberOfValuesIs(std::uint16_t values) { numberOfValues_ = values; }
    // 1 when the vector in hand carries the LeaveAll event.
    std::uint8_t leaveAll() const { return leaveAll_; }
    void leaveAllIs(std::uint8_t leaveAll) { leaveAll_ = leaveAll; }
    // Events handed on so far.
    std::uint32_t eventsCounter() const { return eventsCounter_; }
    void eventsCounterIs(std::uint32_t events) { eventsCounter_ = events; }
    void eventsCounterInc(std::uint32_t events) { eventsCounter_ += events; }
    // A LeaveAll that the next new vector is to carry, whatever its interface.
    bool sendTxLvAll() const { return sendTxLvAll_; }
    void sendTxLvAllIs(bool send) { sendTxLvAll_ = send; }

    MrpAttribute attribute() const { return {intfId_, attributeType_, attributeKey_}; }
    void attributeIs(const MrpAttribute& attribute) {
        intfId_ = attribute.intfId;
        attributeType_ = attribute.attributeType;
        attributeKey_ = attribute.key;
    }

  private:
    IntfId intfId_;
    AttributeKey attributeKey_ = 0;
    std::uint32_t eventsCounter_ = 0;
    std::uint16_t attributeListBytesLeft_ = 0;
    std::uint16_t numberOfValues_ = 0;
    AttributeType attributeType_ = 0;
    std::uint8_t attributeEvent_ = 0;
    std::uint8_t attributeLength_ = 0;
    std::uint8_t leaveAll_ = 0;
    bool sendTxLvAll_ = false;
};

}  // namespace Mrp
