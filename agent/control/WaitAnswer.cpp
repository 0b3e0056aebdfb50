#include "agent/control/WaitAnswer.h"

#include <algorithm>
#include <utility>

#include "agent/config/IdText.h"
#include "agent/control/RequestError.h"
#include "agent/control/VisibleRecords.h"
#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

constexpr double defaultTimeout = 10;
constexpr double longestTimeout = 86400;

// What waits to enter or to leave the database is seen, and nobody is told of it.
constexpr Seconds lookAgainAfter = 0.05;

AttributeKey vlanOf(const Json& member) {
    const bool number =
        member.is_number_unsigned() && member >= VlanId::min && member <= VlanId::max;
    const std::string text = number               ? member.dump()
                             : member.is_string() ? member.get<std::string>()
                                                  : "";
    const auto vlans = vlansOf(text);
    if (!vlans || vlans->count() != 1) {
        RequestMembers::fault("vlan", "expected a VLAN from 1 to 4094");
    }
    AttributeKey vlan = VlanId::min;
    while (!vlans->test(vlan)) {
        ++vlan;
    }
    return vlan;
}

std::vector<AttributeType> streamTypes(RequestMembers& members) {
    std::vector<AttributeType> types{talkerAdvertiseType, talkerFailedType, listenerType};
    if (const AttributeFilter filter(members, AttributeFilter::type); filter.asksForAttributes()) {
        std::erase_if(types, [&](AttributeType type) {
            return !filter.fitsType(MrpApplication::msrp, type);
        });
        if (types.empty()) {
            RequestMembers::fault("type", "expected a type of talkers or listeners");
        }
    }
    return types;
}

}  // namespace

WaitAnswer::Goal WaitAnswer::goalOf(RequestMembers& members) {
    Goal goal;
    const Json* vlan = members.find("vlan");
    const auto stream = members.text("stream", "a Stream ID");
    if ((vlan != nullptr) == stream.has_value()) {
        RequestMembers::fault("vlan", "expected a VLAN or a stream to wait for, one of these");
    }
    if (stream) {
        const auto id = idOf(*stream);
        if (!id) {
            RequestMembers::fault("stream", "expected eight octets like "
                                            "\"02:00:00:00:00:aa:00:01\"");
        }
        goal.application = MrpApplication::msrp;
        goal.types = streamTypes(members);
        goal.key = *id;
    } else {
        goal.application = MrpApplication::mvrp;
        goal.types = {vlanType};
        goal.key = vlanOf(*vlan);
    }
    goal.port = members.text("port", "the name of a port");
    const std::string expected =
        "a state of an applicant or a registrar, registered, declared or absent";
    const auto state = members.text("state", expected);
    if (state != "absent" && !goal.states.emplace().add(state.value_or(""))) {
        RequestMembers::fault("state", "expected " + expected);
    }
    return goal;
}

WaitAnswer::WaitAnswer(ControlNode& node, RequestMembers& members, Clock& clock,
                       AnswerOutput& output)
    : node_(node),
      goal_(goalOf(members)),
      output_(output),
      deadline_(clock,
                [this] {
                    late_ = true;
                    output_.workSoon();
                }),
      again_(clock, [this] { output_.workSoon(); }) {
    const double timeout = members.number("timeout", 0, longestTimeout).value_or(defaultTimeout);
    members.finish();
    const MrpInstance* found = instance();
    if (found == nullptr) {
        throw RequestError(RequestError::refused, "expected \"" +
                                                      std::string(stringValue(goal_.application)) +
                                                      "\" among the applications");
    }
    deadline_.expiryIs(clock.now() + timeout);
    if (MrpApplicationDatabase* database = found->mrpSm().applicationDatabase()) {
        reactor_ = database->recordChanged().react(
            [this](const MrpAttribute& attribute, const MrpAttrDatabase*) {
                if (attribute.key == goal_.key) {
                    dispatch([this] { output_.workSoon(); });
                }
            });
    }
}

const MrpInstance* WaitAnswer::instance() const {
    for (const auto& instance : node_.instances()) {
        if (instance->application() == goal_.application) {
            return instance.get();
        }
    }
    return nullptr;
}

bool WaitAnswer::reached() const {
    const MrpInstance* found = instance();
    if (found == nullptr) {
        return false;
    }
    const MrpSm& mrpSm = found->mrpSm();
    for (IntfId port = nextInterface(mrpSm, {}); !port.empty(); port = nextInterface(mrpSm, port)) {
        if (goal_.port && *goal_.port != port.name()) {
            continue;
        }
        for (const AttributeType type : goal_.types) {
            const MrpAttrDatabase* record =
                mrpSm.mrpGetAttrFromDatabase(port, type, goal_.key, true);
            if (record != nullptr &&
                (!goal_.states ||
                 goal_.states->fits(record->applicantState(), record->registrarState()))) {
                return goal_.states.has_value();
            }
        }
    }
    return !goal_.states;
}

Answer::State WaitAnswer::work() {
    if (reached()) {
        return State::done;
    }
    if (late_) {
        throw RequestError(RequestError::timeout, "the state was not reached in time");
    }
    again_.expiryIs(again_.clock().now() + lookAgainAfter);
    return State::waits;
}

}  // namespace MrpAgent
