#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
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
// database every change is told of there. Its value stands behind it in one piece of memory, as
// there may be a million.
class MrpAttrDatabase final : public RefCounted {
  public:
    static constexpr std::size_t maxValueSize = ValueIndex::max + 1;

    // In the default states: Very anxious Observer, and Empty (clauses 10.7.6.2, 10.7.8), with room
    // for that many octets of value, all zero. Throws std::range_error "null ValidPtr" when there
    // is no memory for it.
    static Ptr<MrpAttrDatabase> make(AttributeKey key, std::size_t valueSize = maxValueSize);
    MrpAttrDatabase(const MrpAttrDatabase&) = delete;
    MrpAttrDatabase& operator=(const MrpAttrDatabase&) = delete;
    static void operator delete(void* record) { ::operator delete(record); }

    AttributeKey key() const { return key_; }
    MrpApplicantState applicantState() const { return applicantState_; }
    MrpRegistrarState registrarState() const { return registrarState_; }
    // The octets of the value record as on the wire; those that were never written are zero.
    std::span<const std::uint8_t> attributeValue() const {
        return {reinterpret_cast<const std::uint8_t*>(this + 1), valueSize_};
    }

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
    // The octets from the index on, in one change. Throws std::range_error where there is no room
    // for them.
    void attributeValueIs(ValueIndex first, std::span<const std::uint8_t> octets);

    // Whether it is committed and waits for its deletion: look-ups do not show it.
    bool deletionPending() const { return deletionPending_; }
    void deletionPendingIs(bool pending) { deletionPending_ = pending; }

    // Takes over states and value of another record of the same key, and of the value as much as
    // there is room for. Told of in any case: a record that was just made has not been told of
    // before.
    void copyFrom(const MrpAttrDatabase& other) {
        const auto octets =
            other.attributeValue().first(std::min<std::size_t>(valueSize_, other.valueSize_));
        std::fill(std::copy(octets.begin(), octets.end(), value().begin()), value().end(),
                  std::uint8_t{0});
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
    static constexpr std::uint8_t maxValueSizeBits = 0x7f;
    static_assert(maxValueSize <= maxValueSizeBits);

    void changed() {
        if (home_ != nullptr) {
            tellHome();
        }
    }
    void tellHome();

    MrpAttrDatabase(AttributeKey key, std::uint8_t valueSize)
        : valueSize_(valueSize & maxValueSizeBits), deletionPending_(false), key_(key) {}
    std::span<std::uint8_t> value() {
        return {reinterpret_cast<std::uint8_t*>(this + 1), valueSize_};
    }

    MrpApplicantState applicantState_ = MrpApplicantState::VO;
    MrpRegistrarState registrarState_ = MrpRegistrarState::MT;
    Telling telling_ = Telling::atOnce;
    std::uint8_t valueSize_ : 7;
    bool deletionPending_ : 1;
    AttributeKey key_;
    MrpIntfTypeApplicant* home_ = nullptr;  // null while the record is in no database
};

}  // namespace Mrp
