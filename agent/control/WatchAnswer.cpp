#include "agent/control/WatchAnswer.h"

#include <algorithm>
#include <utility>

#include "agent/control/AttributeRows.h"
#include "agent/control/PortRows.h"
#include "platform/base/Text.h"
#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

WatchAnswer::WatchAnswer(ControlNode& node, AttributeFilter filter,
                         std::optional<std::uint64_t> limit, WallClock wallClock,
                         AnswerOutput& output)
    : node_(node),
      filter_(std::move(filter)),
      limit_(limit),
      wallClock_(std::move(wallClock)),
      output_(output),
      ports_(node.ports()) {
    for (const auto& instance : node.instances()) {
        const MrpApplication application = instance->application();
        MrpApplicationDatabase* database = instance->mrpSm().applicationDatabase();
        if (database != nullptr && filter_.fitsApplication(application)) {
            reactors_.push_back(database->recordChanged().react(
                [this, application](const MrpAttribute& attribute, const MrpAttrDatabase* record) {
                    handleRecord(application, attribute, record);
                }));
        }
    }
    if (!filter_.asksForAttributes()) {
        reactors_.push_back(node.portsChanged().react([this] {
            portsDue_ = true;
            output_.workSoon();
        }));
    }
}

// Within a change of the engine's, which has nothing to do with those who watch.
template <class Fill>
void WatchAnswer::tell(const char* change, Fill fill) {
    if (done()) {
        return;
    }
    if (lost_ > 0 || output_.waiting() >= queueLimit) {
        ++lost_;
        return;
    }
    try {
        Json row = {{"time", wallTimeText(wallClock_())}, {"change", change}};
        fill(row);
        output_.rowIs(row);
        ++told_;
    } catch (const std::exception& error) {
        DispatchErrors::add(error);
        ++lost_;
    }
}

void WatchAnswer::handleRecord(MrpApplication application, const MrpAttribute& attribute,
                               const MrpAttrDatabase* record) {
    if (!filter_.fits(application, attribute) ||
        (record != nullptr ? !filter_.fitsState(*record) : filter_.asksForState())) {
        return;
    }
    tell(record != nullptr ? "changed" : "removed", [&](Json& row) {
        row.update(attributeName(application, attribute));
        if (record != nullptr) {
            const auto octets = recordOctets(application, attribute.attributeType, *record);
            row.update(recordStates(*record));
            row["value"] = hexBytes(octets);
            row.update(valueJson(application, attribute.attributeType, octets));
        }
    });
}

void WatchAnswer::tellPorts() {
    const std::vector<ControlNode::Port> now = node_.ports();
    const auto find = [](const std::vector<ControlNode::Port>& ports, const std::string& name) {
        return std::find_if(ports.begin(), ports.end(),
                            [&](const auto& port) { return port.name == name; });
    };
    const auto concerns = [this](const ControlNode::Port& port) {
        return filter_.fitsPort(port.name);
    };
    for (const ControlNode::Port& port : ports_) {
        if (concerns(port) && find(now, port.name) == now.end()) {
            tell("portRemoved", [&](Json& row) { row["port"] = port.name; });
        }
    }
    for (const ControlNode::Port& port : now) {
        const auto before = find(ports_, port.name);
        if (concerns(port) && (before == ports_.end() || *before != port)) {
            tell("port", [&](Json& row) { row.update(portJson(port)); });
        }
    }
    ports_ = now;
}

Answer::State WatchAnswer::work() {
    if (lost_ > 0 && !done()) {
        output_.rowIs({{"time", wallTimeText(wallClock_())},
                       {"change", "lost"},
                       {"rows", std::exchange(lost_, 0)}});
        ++told_;
    }
    if (std::exchange(portsDue_, false)) {
        tellPorts();
    }
    return done() ? State::done : State::waits;
}

}  // namespace MrpAgent
