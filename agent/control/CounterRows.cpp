#include "agent/control/CounterRows.h"

#include <utility>

#include "agent/status/AttributeTable.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

Json eventsJson(const MrpPortCounters::Events& events) {
    // By three-packed code (clause 10.8.2.10.1).
    constexpr const char* names[] = {"New", "JoinIn", "In", "JoinMt", "Mt", "Lv"};
    Json json;
    for (std::size_t code = 0; code < std::size(names); ++code) {
        json[names[code]] = events.values[code];
    }
    json["LeaveAll"] = events.leaveAlls;
    return json;
}

}  // namespace

CounterRows::CounterRows(const ControlNode& node, AttributeFilter filter)
    : node_(node), filter_(std::move(filter)), ports_(filter_.asksForPort()) {}

Json CounterRows::portRow(const MrpInstance& instance) const {
    const MrpPortCounters& counters = instance.mrpSm().portCounters().at(port_);
    return {{"scope", "port"},
            {"application", stringValue(instance.application())},
            {"port", port_.name()},
            {"pdusIn", counters.pdusIn},
            {"pdusOut", counters.pdusOut},
            {"malformed", counters.malformed},
            {"sendFailures", counters.sendFailures},
            {"eventsIn", eventsJson(counters.eventsIn)},
            {"eventsOut", eventsJson(counters.eventsOut)}};
}

bool CounterRows::next(Row& row) {
    const auto instances = node_.instances();
    if (application_ >= instances.size()) {
        application_ = 0;
        return !std::exchange(ports_, true);
    }
    const MrpInstance& instance = *instances[application_];
    if (!filter_.fitsApplication(instance.application())) {
        ++application_;
        return true;
    }
    if (!ports_) {
        Json counters;
        for (const auto& [name, count] : counterTable(instance)) {
            counters[std::string(name)] = count;
        }
        row.json = {{"scope", "application"},
                    {"application", stringValue(instance.application())},
                    {"counters", std::move(counters)}};
        ++application_;
        return true;
    }
    const auto& all = instance.mrpSm().portCounters();
    const auto found = all.upper_bound(port_);
    port_ = found != all.end() ? found->first : IntfId();
    if (port_.empty()) {
        ++application_;
    } else if (filter_.fitsPort(port_.name())) {
        row.json = portRow(instance);
    }
    return true;
}

}  // namespace MrpAgent
