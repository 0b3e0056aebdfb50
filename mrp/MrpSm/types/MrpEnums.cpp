#include "mrp/MrpSm/types/MrpEnums.h"

#include <charconv>
#include <ostream>
#include <string>
#include <type_traits>

#include "mrp/MrpSm/types/MrpTrace.h"

namespace Mrp {

TraceSource mrpSmTrace("MrpSm");

namespace {

template <std::size_t N>
using Names = std::array<std::string_view, N>;

constexpr Names<5> msrpAttrTypeNames{"invalidAttribute", "talkerAdvertise", "talkerFailed",
                                     "listenerVector", "domainVector"};
constexpr Names<2> mvrpAttrTypeNames{"invalidAttr", "vlanVector"};
constexpr Names<4> listenerEventNames{"ignore", "askingFailed", "ready", "readyFailed"};
constexpr Names<3> applicationNames{"none", "msrp", "mvrp"};
constexpr Names<applicantStates> applicantStateNames{"VO", "VP", "VN", "AN", "AA", "QA",
                                                     "LA", "AO", "QO", "AP", "QP", "LO"};
constexpr Names<applicantEvents> applicantEventNames{
    "New!", "Join!",    "Lv!",  "Re-declare!", "Flush!", "rNew!", "rJoinIn!",
    "rIn!", "rJoinMt!", "rMt!", "rLv!",        "rLA!",   "txLA!", "none"};
constexpr Names<registrarStates> registrarStateNames{"IN", "LV", "MT"};
constexpr Names<registrarEvents> registrarEventNames{
    "rNew!", "rJoinIn!",    "rJoinMt!", "rLv!",        "rLA!",
    "txLA!", "Re-declare!", "Flush!",   "leavetimer!", "none"};
constexpr Names<3> parseStatusNames{"parseContinue", "parseEndOfPdu", "parseMalformed"};

// The tables above name every enumerator: the last one of each sits at the last index.
static_assert(static_cast<std::size_t>(MsrpAttrType::domainVector) + 1 == msrpAttrTypeNames.size());
static_assert(static_cast<std::size_t>(MvrpAttrType::vlanVector) + 1 == mvrpAttrTypeNames.size());
static_assert(static_cast<std::size_t>(MsrpListenerEvent::readyFailed) + 1 ==
              listenerEventNames.size());
static_assert(static_cast<std::size_t>(MrpApplicantState::LO) + 1 == applicantStates &&
              applicantStateNames[static_cast<std::size_t>(MrpApplicantState::QA)] == "QA" &&
              applicantStateNames[static_cast<std::size_t>(MrpApplicantState::LO)] == "LO");
static_assert(static_cast<std::size_t>(MrpApplicantEvent::none) + 1 == applicantEvents &&
              applicantEventNames[static_cast<std::size_t>(MrpApplicantEvent::rxLvAll)] == "rLA!");
static_assert(static_cast<std::size_t>(MrpRegistrarState::MT) + 1 == registrarStates);
static_assert(static_cast<std::size_t>(MrpRegistrarEvent::none) + 1 == registrarEvents &&
              registrarEventNames[static_cast<std::size_t>(MrpRegistrarEvent::leaveTimer)] ==
                  "leavetimer!");

template <std::size_t N, class Enum>
std::string_view nameIn(const Names<N>& names, Enum value) {
    const auto index = static_cast<std::size_t>(value);
    return index < N ? names[index] : std::string_view("?");
}

template <class Enum, std::size_t N>
std::optional<Enum> instance(const Names<N>&, unsigned number) {
    return number < N ? std::optional<Enum>(static_cast<Enum>(number)) : std::nullopt;
}

template <class Enum, std::size_t N>
std::optional<Enum> instance(const Names<N>& names, std::string_view text) {
    for (std::size_t i = 0; i < N; ++i) {
        if (names[i] == text) {
            return static_cast<Enum>(i);
        }
    }
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole ? instance<Enum>(names, number) : std::nullopt;
}

template <class Enum, std::size_t N>
std::ostream& print(std::ostream& out, const Names<N>& names, Enum value) {
    const auto number = static_cast<std::underlying_type_t<Enum>>(value);
    if (number < N) {
        return out << names[number];
    }
    return out << +number;
}

}  // namespace

std::string_view stringValue(MsrpAttrType type) {
    return nameIn(msrpAttrTypeNames, type);
}
std::string_view stringValue(MvrpAttrType type) {
    return nameIn(mvrpAttrTypeNames, type);
}
std::string_view stringValue(MsrpListenerEvent event) {
    return nameIn(listenerEventNames, event);
}
std::string_view stringValue(MrpApplication application) {
    return nameIn(applicationNames, application);
}
std::string_view stringValue(MrpApplicantState state) {
    return nameIn(applicantStateNames, state);
}
std::string_view stringValue(MrpApplicantEvent event) {
    return nameIn(applicantEventNames, event);
}
std::string_view stringValue(MrpRegistrarState state) {
    return nameIn(registrarStateNames, state);
}
std::string_view stringValue(MrpRegistrarEvent event) {
    return nameIn(registrarEventNames, event);
}
std::string_view stringValue(MrpParseStatus status) {
    return nameIn(parseStatusNames, status);
}

std::string_view attributeTypeName(AttributeType type, MrpApplication application) {
    switch (application) {
    case MrpApplication::msrp:
        return stringValue(static_cast<MsrpAttrType>(type));
    case MrpApplication::mvrp:
        return stringValue(static_cast<MvrpAttrType>(type));
    default:
        return "?";
    }
}

std::optional<MsrpAttrType> MsrpAttrTypeInstance(std::string_view text) {
    return instance<MsrpAttrType>(msrpAttrTypeNames, text);
}
std::optional<MsrpAttrType> MsrpAttrTypeInstance(unsigned number) {
    return instance<MsrpAttrType>(msrpAttrTypeNames, number);
}
std::optional<MvrpAttrType> MvrpAttrTypeInstance(unsigned number) {
    return instance<MvrpAttrType>(mvrpAttrTypeNames, number);
}
std::optional<MsrpListenerEvent> MsrpListenerEventInstance(unsigned number) {
    return instance<MsrpListenerEvent>(listenerEventNames, number);
}
std::optional<MvrpAttrType> MvrpAttrTypeInstance(std::string_view text) {
    return instance<MvrpAttrType>(mvrpAttrTypeNames, text);
}
std::optional<MsrpListenerEvent> MsrpListenerEventInstance(std::string_view text) {
    return instance<MsrpListenerEvent>(listenerEventNames, text);
}
std::optional<MrpApplicantState> MrpApplicantStateInstance(std::string_view text) {
    return instance<MrpApplicantState>(applicantStateNames, text);
}
std::optional<MrpRegistrarState> MrpRegistrarStateInstance(std::string_view text) {
    return instance<MrpRegistrarState>(registrarStateNames, text);
}

std::ostream& operator<<(std::ostream& out, MsrpAttrType type) {
    return print(out, msrpAttrTypeNames, type);
}
std::ostream& operator<<(std::ostream& out, MvrpAttrType type) {
    return print(out, mvrpAttrTypeNames, type);
}
std::ostream& operator<<(std::ostream& out, MsrpListenerEvent event) {
    return print(out, listenerEventNames, event);
}
std::ostream& operator<<(std::ostream& out, MrpApplication application) {
    return print(out, applicationNames, application);
}
std::ostream& operator<<(std::ostream& out, MrpApplicantState state) {
    return print(out, applicantStateNames, state);
}
std::ostream& operator<<(std::ostream& out, MrpApplicantEvent event) {
    return print(out, applicantEventNames, event);
}
std::ostream& operator<<(std::ostream& out, MrpRegistrarState state) {
    return print(out, registrarStateNames, state);
}
std::ostream& operator<<(std::ostream& out, MrpRegistrarEvent event) {
    return print(out, registrarEventNames, event);
}
std::ostream& operator<<(std::ostream& out, MrpParseStatus status) {
    return print(out, parseStatusNames, status);
}

std::uint8_t mrpSizeOfMsrpAttribute(AttributeType attributeType) {
    switch (attributeType) {
    case 0:
        return 0;
    case talkerAdvertiseType:
        return 25;
    case talkerFailedType:
        return 34;
    case listenerType:
        return 8;
    case domainType:
        return 4;
    default:
        MRP_TRACE(8, " Invalid attribute type: " << +attributeType);
        return 0;
    }
}

std::uint8_t mrpSizeOfMvrpAttribute(AttributeType attributeType) {
    switch (attributeType) {
    case 0:
        return 0;
    case vlanType:
        return 2;
    default:
        MRP_TRACE(8, " Invalid attribute type: " << +attributeType);
        return 0;
    }
}

std::uint8_t mrpSizeOfAttribute(AttributeType attributeType, MrpApplication application) {
    switch (application) {
    case MrpApplication::msrp:
        return mrpSizeOfMsrpAttribute(attributeType);
    case MrpApplication::mvrp:
        return mrpSizeOfMvrpAttribute(attributeType);
    default:
        MRP_TRACE(8, " Invalid application type: " << static_cast<std::uint32_t>(application));
        return 0;
    }
}

std::size_t mrpSizeOfStoredValue(AttributeType attributeType, MrpApplication application) {
    if (attributeType == 0 || attributeType > mrpMaxAttrTypes(application)) {
        return 0;
    }
    const bool listener = application == MrpApplication::msrp && attributeType == listenerType;
    const std::size_t declarationType = listener ? sizeof(MsrpListenerEvent) : 0;
    return mrpSizeOfAttribute(attributeType, application) + declarationType;
}

std::uint8_t mrpMaxAttrTypes(MrpApplication application) {
    switch (application) {
    case MrpApplication::msrp:
        return 4;
    case MrpApplication::mvrp:
        return 1;
    default:
        return 0;
    }
}

}  // namespace Mrp
