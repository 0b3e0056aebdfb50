#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string_view>

namespace Mrp {

// Which MRP application an engine runs (IEEE 802.1Q clause 10). Other numbers are possible values
// of the type and stand for an application that is not supported.
enum class MrpApplication : std::uint32_t { none = 0, msrp = 1, mvrp = 2 };

// The first octet of a message: what its values are (clauses 35.2.2.4 and 11.2.3.1.6). Kept as a
// plain octet outside of these, because a neighbour may send any.
using AttributeType = std::uint8_t;

enum class MsrpAttrType : AttributeType {
    invalidAttribute = 0,
    talkerAdvertise = 1,
    talkerFailed = 2,
    listenerVector = 3,
    domainVector = 4,
};

enum class MvrpAttrType : AttributeType { invalidAttr = 0, vlanVector = 1 };

// The same as plain octets, for switches and comparisons.
inline constexpr AttributeType talkerAdvertiseType = 1;
inline constexpr AttributeType talkerFailedType = 2;
inline constexpr AttributeType listenerType = 3;
inline constexpr AttributeType domainType = 4;
inline constexpr AttributeType vlanType = 1;

// What a listener declares of a stream: the four-packed codes of clause 35.2.2.7.2. Held in four
// octets, least significant first, because that is how a listener's record is stored.
enum class MsrpListenerEvent : std::uint32_t {
    ignore = 0,
    askingFailed = 1,
    ready = 2,
    readyFailed = 3
};

// Attribute events on the wire: the three-packed codes of clause 10.8.2.10.1. A received octet can
// decode to 6 or 7 too, which no state machine answers.
namespace AttributeEvent {
inline constexpr std::uint8_t newEvent = 0;
inline constexpr std::uint8_t joinIn = 1;
inline constexpr std::uint8_t in = 2;
inline constexpr std::uint8_t joinMt = 3;
inline constexpr std::uint8_t mt = 4;
inline constexpr std::uint8_t lv = 5;
inline constexpr std::uint8_t leaveAll = 6;       // in requests only: send a LeaveAll vector
inline constexpr std::uint8_t internalLeave = 7;  // in requests only: forget the attribute silently
}  // namespace AttributeEvent

// Applicant states (clause 10.7.6.2, table 10-3), in the order of their values.
enum class MrpApplicantState : std::uint8_t { VO, VP, VN, AN, AA, QA, LA, AO, QO, AP, QP, LO };
inline constexpr std::size_t applicantStates = 12;

enum class MrpApplicantEvent : std::uint8_t {
    newEvent,
    join,
    lv,
    redeclare,
    flush,
    rxNew,
    rxJoinIn,
    rxIn,
    rxJoinMt,
    rxMt,
    rxLv,
    rxLvAll,
    txLvAll,
    none,
};
inline constexpr std::size_t applicantEvents = 14;

// Registrar states (clause 10.7.8, table 10-4).
enum class MrpRegistrarState : std::uint8_t { IN, LV, MT };
inline constexpr std::size_t registrarStates = 3;

enum class MrpRegistrarEvent : std::uint8_t {
    rxNew,
    rxJoinIn,
    rxJoinMt,
    rxLv,
    rxLvAll,
    txLvAll,
    redeclare,
    flush,
    leaveTimer,
    none,
};
inline constexpr std::size_t registrarEvents = 10;

// What a step of the parser says.
enum class MrpParseStatus : std::uint8_t {
    parseContinue = 0,   // the step took its part; parsing goes on
    parseEndOfPdu = 1,   // the PDU's EndMark was seen
    parseMalformed = 2,  // malformed, and counted as such
};

// The enumerators' names, as logs and traces print them: "talkerAdvertise", "ready", "QA", "IN",
// "rJoinIn!". A value that is none of the type's has the name "?"; streamed, it prints as its
// number.
std::string_view stringValue(MsrpAttrType type);
std::string_view stringValue(MvrpAttrType type);
std::string_view stringValue(MsrpListenerEvent event);
std::string_view stringValue(MrpApplication application);
std::string_view stringValue(MrpApplicantState state);
std::string_view stringValue(MrpApplicantEvent event);
std::string_view stringValue(MrpRegistrarState state);
std::string_view stringValue(MrpRegistrarEvent event);
std::string_view stringValue(MrpParseStatus status);

// The name of an attribute type of an application.
std::string_view attributeTypeName(AttributeType type, MrpApplication application);

// A number or an enumerator's name turned into the enumerator; nothing for any other text.
std::optional<MsrpAttrType> MsrpAttrTypeInstance(std::string_view text);
std::optional<MsrpAttrType> MsrpAttrTypeInstance(unsigned number);
std::optional<MvrpAttrType> MvrpAttrTypeInstance(std::string_view text);
std::optional<MvrpAttrType> MvrpAttrTypeInstance(unsigned number);
std::optional<MsrpListenerEvent> MsrpListenerEventInstance(std::string_view text);
std::optional<MsrpListenerEvent> MsrpListenerEventInstance(unsigned number);
std::optional<MrpApplicantState> MrpApplicantStateInstance(std::string_view text);
std::optional<MrpRegistrarState> MrpRegistrarStateInstance(std::string_view text);

std::ostream& operator<<(std::ostream& out, MsrpAttrType type);
std::ostream& operator<<(std::ostream& out, MvrpAttrType type);
std::ostream& operator<<(std::ostream& out, MsrpListenerEvent event);
std::ostream& operator<<(std::ostream& out, MrpApplication application);
std::ostream& operator<<(std::ostream& out, MrpApplicantState state);
std::ostream& operator<<(std::ostream& out, MrpApplicantEvent event);
std::ostream& operator<<(std::ostream& out, MrpRegistrarState state);
std::ostream& operator<<(std::ostream& out, MrpRegistrarEvent event);
std::ostream& operator<<(std::ostream& out, MrpParseStatus status);

// The length in octets of a value on the wire (the AttributeLength of its message). An unknown type
// or application answers 0 after a trace.
std::uint8_t mrpSizeOfAttribute(AttributeType attributeType, MrpApplication application);
std::uint8_t mrpSizeOfMsrpAttribute(AttributeType attributeType);
std::uint8_t mrpSizeOfMvrpAttribute(AttributeType attributeType);

// The number of value octets in a database record: as on the wire, but for a Listener, which also
// stores its declaration type. 0 for an unknown type or application; traces nothing.
std::size_t mrpSizeOfStoredValue(AttributeType attributeType, MrpApplication application);

// The number of attribute types of the application; its types are 1 to this number.
std::uint8_t mrpMaxAttrTypes(MrpApplication application);

}  // namespace Mrp
