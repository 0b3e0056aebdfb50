#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <utility>

#include "mrp/MrpSm/types/MrpAttribute.h"
#include "mrp/MrpSm/types/MrpEnums.h"
#include "mrp/MrpSm/types/ValueIndex.h"
#include "platform/base/Ptr.h"

namespace Mrp {

class MrpIntfTypeApplicant;

// The record of one attribute: its value and the states of its applicant and registrar. Shared: it
// stays alive while somebody holds it, also after it has left the database. While it is in the
// database every change is told of there.
class MrpAttrDatabase final : public RefCounted {
  public:
    using Value = std::array<std::uint8_t, ValueIndex::max + 1>;

    // In the default states: Very anxious Observer, and Empty (clauses 10.7.6.2, 10.7.8).
    explicit MrpAttrDatabase(AttributeKey key) : key_(key) {}
    MrpAttrDatabase(const MrpAttrDatabase&) = delete;
    MrpAttrDatabase& operator=(const MrpAttrDatabase&) = delete;

    AttributeKey key() const { return key_; }
    MrpApplicantState applicantState() const { return applicantState_; }
    MrpRegistrarState registrarState() const { return registrarState_; }
    // The octets of the value record as on the wire; those behind its end are zero.
    const Value& attributeValue() const { return attributeValue_; }

    void applicantStateIs(MrpApplicantState state) {
        if (applicantState_ != state) {
            applicantState_ = state;
            changed();
        }
    }
    void registrarStateIs(MrpRegistrarState state) {
        if (registrarState_ != state) {
            registrarState_ = state;
            changed();
        }
    }
    void attributeValueIs(ValueIndex index, std::uint8_t octet) {
        attributeValueIs(index, std::span(&octet, 1));
    }
    // The octets from the index on, in one change.
    void attributeValueIs(ValueIndex first, std::span<const std::uint8_t> octets);

    // Takes over value and states of another record of the same key. Told of in any case: a record
    // that was just made has not been told of before.
    void copyFrom(const MrpAttrDatabase& other) {
        attributeValue_ = other.attributeValue_;
        applicantState_ = other.applicantState_;
        registrarState_ = other.registrarState_;
        changed();
    }

    // Shows another registrar state as long as it lives, of which nobody is told. What else changes
    // meanwhile is told of at its end, with the true state.
    class AssumedRegistrarState {
      public:
        AssumedRegistrarState(Ptr<MrpAttrDatabase> record, MrpRegistrarState state)
            : record_(std::move(record)), before_(record_->registrarState_) {
            record_->registrarState_ = state;
            record_->telling_ = Telling::later;
        }
        AssumedRegistrarState(const AssumedRegistrarState&) = delete;
        AssumedRegistrarState& operator=(const AssumedRegistrarState&) = delete;
        ~AssumedRegistrarState() {
            record_->registrarState_ = before_;
            if (std::exchange(record_->telling_, Telling::atOnce) == Telling::due) {
                record_->changed();
            }
        }

      private:
        Ptr<MrpAttrDatabase> record_;
        MrpRegistrarState before_;
    };

  private:
    friend class MrpIntfTypeApplicant;
    enum class Telling : std::uint8_t { atOnce, later, due };

    void changed() {
        if (home_ != nullptr) {
            tellHome();
        }
    }
    void tellHome();

    AttributeKey key_;
    MrpIntfTypeApplicant* home_ = nullptr;  // null while the record is in no database
    Value attributeValue_{};
    MrpApplicantState applicantState_ = MrpApplicantState::VO;
    MrpRegistrarState registrarState_ = MrpRegistrarState::MT;
    Telling telling_ = Telling::atOnce;
};

}  // namespace Mrp
