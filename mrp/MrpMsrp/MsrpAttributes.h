#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

#include "mrp/MrpSm/types/MrpEnums.h"
#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/base/BigEndian.h"
#include "platform/base/EthAddr.h"

// The value records of MSRP (IEEE 802.1Q clause 35.2.2.8). They are packed and in network order:
// their bytes are the bytes of a FirstValue, and those stored in a database record.

namespace Mrp {

// How a stream's frames are addressed (clause 35.2.2.8.3).
struct DataFrameParameters {
    EthAddr dmac;
    Be16 vlanId;

    bool operator==(const DataFrameParameters&) const = default;
};

// How much a stream sends in a class measurement interval (clause 35.2.2.8.4).
struct Tspec {
    Be16 maxFrameSize;       // octets
    Be16 maxIntervalFrames;  // frames

    bool operator==(const Tspec&) const = default;
};

// Data frame priority and rank (clause 35.2.2.8.5): bits 7 to 5 and bit 4; bits 3 to 0 reserved.
class PriorityAndRank {
  public:
    PriorityAndRank() = default;
    PriorityAndRank(std::uint8_t priority, std::uint8_t rank)
        : value_(static_cast<std::uint8_t>((priority & 7U) << 5U | (rank & 1U) << 4U)) {}
    // From the wire; the reserved bits are dropped.
    static PriorityAndRank fromOctet(std::uint8_t octet) {
        return {static_cast<std::uint8_t>(octet >> 5U), static_cast<std::uint8_t>(octet >> 4U)};
    }

    std::uint8_t value() const { return value_; }
    std::uint8_t priority() const { return static_cast<std::uint8_t>(value_ >> 5U); }
    std::uint8_t rank() const { return static_cast<std::uint8_t>(value_ >> 4U & 1U); }

    bool operator==(const PriorityAndRank&) const = default;
    bool operator<(const PriorityAndRank& other) const { return value_ < other.value_; }

  private:
    std::uint8_t value_ = 0;
};

// Why and where a stream could not be reserved (clause 35.2.2.8.7).
struct FailureInformation {
    Be64 bridgeId;
    std::uint8_t failureCode = 0;

    bool operator==(const FailureInformation&) const = default;
};

struct MsrpTalkerAdvertiseAttribute {
    Be64 streamId;
    DataFrameParameters frame;
    Tspec tSpec;
    PriorityAndRank priorityAndRank;
    Be32 accumulatedLatency;  // nanoseconds (clause 35.2.2.8.6)

    bool operator==(const MsrpTalkerAdvertiseAttribute&) const = default;
};

struct MsrpTalkerFailedAttribute {
    MsrpTalkerAdvertiseAttribute talkerAdvertiseAttribute;
    FailureInformation failureInformation;

    bool operator==(const MsrpTalkerFailedAttribute&) const = default;
};

// A Listener's FirstValue: the Stream ID alone.
struct MsrpListenerStreamAttribute {
    Be64 streamId;

    bool operator==(const MsrpListenerStreamAttribute&) const = default;
};

// A Listener's record: on the wire the declaration type travels apart, in the four-packed events;
// stored, it follows as a 4-octet number, least significant octet first.
class MsrpListenerAttribute {
  public:
    Be64 streamId;

    MsrpListenerEvent listenerEvent() const;
    void listenerEventIs(MsrpListenerEvent event);

    bool operator==(const MsrpListenerAttribute&) const = default;

  private:
    std::array<std::uint8_t, sizeof(MsrpListenerEvent)> listenerEvent_{};
};

// An SR class (clause 35.2.2.9).
struct MsrpDomainAttribute {
    std::uint8_t srClassId = 0;
    std::uint8_t srClassPriority = 0;
    Be16 srClassVID;

    bool operator==(const MsrpDomainAttribute&) const = default;
};

static_assert(sizeof(DataFrameParameters) == 8 && sizeof(Tspec) == 4);
static_assert(sizeof(FailureInformation) == 9 && sizeof(PriorityAndRank) == 1);
static_assert(sizeof(MsrpTalkerAdvertiseAttribute) == 25);
static_assert(offsetof(MsrpTalkerAdvertiseAttribute, frame) == 8);
static_assert(offsetof(MsrpTalkerAdvertiseAttribute, tSpec) == 16);
static_assert(offsetof(MsrpTalkerAdvertiseAttribute, priorityAndRank) == 20);
static_assert(offsetof(MsrpTalkerAdvertiseAttribute, accumulatedLatency) == 21);
static_assert(sizeof(MsrpTalkerFailedAttribute) == 34);
static_assert(sizeof(MsrpListenerStreamAttribute) == 8);
static_assert(sizeof(MsrpListenerAttribute) == 12);
static_assert(sizeof(MsrpDomainAttribute) == 4);

// The value that follows in a vector: Stream ID + 1 with the carry through all eight octets, and
// destination address + 1 as a 48-bit number; both wrap to zero. All else is the same.
MsrpTalkerAdvertiseAttribute
mrpIncrementTalkerAttribute(const MsrpTalkerAdvertiseAttribute& talker);

// Whether a value may extend an open vector as the n-th behind its first. Stream IDs compare as
// 64-bit, addresses as 48-bit numbers.
bool mrpTalkerValueInSequence(std::uint64_t firstStreamId, std::uint64_t streamId,
                              const EthAddr& firstDmac, const EthAddr& dmac, std::uint16_t n);
// Computed without wrapping at 256: class ID 255 has no successor in a vector.
bool mrpDomainValueInSequence(std::uint8_t firstClassId, std::uint8_t classId,
                              std::uint8_t firstPriority, std::uint8_t priority, std::uint16_t n);

// The records as text, for traces: "Value('Mrp::Tspec', ** {'maxFrameSize': 1, …})".
std::string valueToStrep(const DataFrameParameters& value);
std::string valueToStrep(const Tspec& value);
std::string valueToStrep(const FailureInformation& value);
std::string valueToStrep(const MsrpTalkerAdvertiseAttribute& value);
std::string valueToStrep(const MsrpTalkerFailedAttribute& value);
std::string valueToStrep(const MsrpListenerAttribute& value);
std::string valueToStrep(const MsrpDomainAttribute& value);

std::ostream& operator<<(std::ostream& out, const DataFrameParameters& value);
std::ostream& operator<<(std::ostream& out, const Tspec& value);
std::ostream& operator<<(std::ostream& out, const FailureInformation& value);
std::ostream& operator<<(std::ostream& out, const MsrpTalkerAdvertiseAttribute& value);
std::ostream& operator<<(std::ostream& out, const MsrpTalkerFailedAttribute& value);
std::ostream& operator<<(std::ostream& out, const MsrpListenerAttribute& value);
std::ostream& operator<<(std::ostream& out, const MsrpDomainAttribute& value);

}  // namespace Mrp
