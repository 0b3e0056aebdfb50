#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "mrp/MrpSm/types/MrpAttribute.h"
#include "mrp/MrpSm/types/MrpParameters.h"
#include "platform/base/EthAddr.h"
#include "platform/base/Seconds.h"

// The steps of a scenario, as docs/mrp-lab.md describes them. What a step may leave out and has no
// default is optional here.

namespace MrpLab {

using Octets = std::vector<std::uint8_t>;

struct ConfigStep {
    // Nothing for an entry that is to go.
    using IntfTimes = std::map<Platform::IntfId, std::optional<Platform::Seconds>>;

    std::optional<Platform::Seconds> leaveTime;
    std::optional<Platform::Seconds> leaveAllTime;
    std::optional<Platform::Seconds> txLeaveAllExpiryTime;
    std::optional<bool> mrpFlooding;
    std::optional<bool> timersEnabled;
    IntfTimes intfLeaveTime;
    IntfTimes intfLeaveAllTime;
};

struct StartStep {
    struct Interface {
        Platform::IntfId intfId;
        std::optional<Platform::EthAddr> mac;
        std::optional<std::size_t> frameSizeLimit;
        std::optional<std::uint16_t> nativeVlan;
    };

    Mrp::MrpApplication application = Mrp::MrpApplication::none;
    bool standby = false;
    Platform::EthAddr bridgeMac;
    std::vector<Interface> interfaces;
    std::optional<int> stpMode;
    bool log = false;
    bool randomize = false;
    ConfigStep config;
};

struct EnableStep {
    Platform::IntfId intfId;
};

struct DisableStep {
    Platform::IntfId intfId;
};

struct ReceiveStep {
    Platform::IntfId intfId;
    Octets frame;
    bool notify = true;
};

struct RequestStep {
    std::vector<Platform::IntfId> queue;
    Mrp::MrpParameters parameters;
    std::optional<Octets> value;
};

struct TransmitAllLeaveAllStep {
    Platform::IntfId intfId;
};

struct RoleStep {
    std::string port;
    std::string msti;
    std::string instance;
    int role = 0;
};

struct ActiveStep {};

struct DiscardStep {
    std::set<std::pair<Mrp::AttributeType, Mrp::AttributeKey>> attributes;
};

struct CleanUpStep {
    Mrp::MrpAttribute attribute;
};

struct ClogStep {
    bool clogged = false;
};

struct RecycledStep {
    bool recycled = false;
};

struct StateStep {
    Mrp::MrpAttribute attribute;
    std::optional<Mrp::MrpApplicantState> applicant;
    std::optional<Mrp::MrpRegistrarState> registrar;
};

struct DumpStep {};

struct EndStep {};

struct Step {
    using Action =
        std::variant<StartStep, EnableStep, DisableStep, ReceiveStep, RequestStep,
                     TransmitAllLeaveAllStep, RoleStep, ConfigStep, ActiveStep, DiscardStep,
                     CleanUpStep, ClogStep, RecycledStep, StateStep, DumpStep, EndStep>;

    Platform::Seconds at = 0;
    Action action;
};

}  // namespace MrpLab
