#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "mrp/MrpSm/types/MrpAttribute.h"
#include "mrp/MrpSm/types/MrpEnums.h"
#include "mrp/MrpSm/types/ValueIndex.h"
#include "platform/base/Ptr.h"

namespace Mrp {

// The record of one attribute: its value and the states of its applicant and registrar. Shared: it
// stays alive while somebody holds it, also after it has left the database.
class MrpAttrDatabase final : public RefCounted {
  public:
    using Value = std::array<std::uint8_t, ValueIndex::max + 1>;

    // In the default states: Very anxious Observer, and Empty (clauses 10.7.6.2, 10.7.8).
    explicit MrpAttrDatabase(AttributeKey key) : key_(key) {}

    AttributeKey key() const { return key_; }
    MrpApplicantState applicantState() const { return applicantState_; }
    MrpRegistrarState registrarState() const { return registrarState_; }
    // The octets of the value record as on the wire; those behind its end are zero.
    const Value& attributeValue() const { return attributeValue_; }

    void applicantStateIs(MrpApplicantState state) { applicantState_ = state; }
    void registrarStateIs(MrpRegistrarState state) { registrarState_ = state; }
    void attributeValueIs(ValueIndex index, std::uint8_t octet) {
        attributeValue_[index.value()] = octet;
    }

    // Takes over value and states of another record of the same key.
    void copyFrom(const MrpAttrDatabase& other) {
        attributeValue_ = other.attributeValue_;
        applicantState_ = other.applicantState_;
        registrarState_ = other.registrarState_;
    }

  private:
    AttributeKey key_;
    Value attributeValue_{};
    MrpApplicantState applicantState_ = MrpApplicantState::VO;
    MrpRegistrarState registrarState_ = MrpRegistrarState::MT;
};

}  // namespace Mrp
