#include "agent/control/WatchAnswer.h"

#include <algorithm>
#include <utility>

#include "agent/control/PortRows.h"

namespace MrpAgent {

namespace {

// What a slice may cost, in changes that are looked at.
constexpr std::size_t sliceCost = 1000;
constexpr std::size_t rowCost = 30;

}  // namespace

WatchAnswer::WatchAnswer(RecordChanges& changes, ControlNode& node, AttributeFilter filter,
                         std::optional<std::uint64_t> limit, WallClock wallClock,
                         AnswerOutput& output)
    : Reader(changes),
      node_(node),
      filter_(std::move(filter)),
      limit_(limit),
      wallClock_(std::move(wallClock)),
      output_(output),
      ports_(node.ports()) {
    if (!filter_.asksForAttributes()) {
        portsReactor_ = node.portsChanged().react([this] {
            portsDue_ = true;
            output_.workSoon();
        });
    }
}

void WatchAnswer::tell(const char* change, const Json& members) {
    if (!done()) {
        Json row = {{"time", wallTimeText(wallClock_())}, {"change", change}};
        row.update(members);
        output_.rowIs(row);
        ++told_;
    }
}

// Whether it is one for the client.
bool WatchAnswer::tellChange(const RecordChanges::Change& change) {
    if (!filter_.fits(change.application, change.attribute)) {
        return false;
    }
    const RecordChanges::Change& now = made();
    if (now.removed ? filter_.asksForState() : !filter_.fitsStates(now.applicant, now.registrar)) {
        return false;
    }
    output_.rowLineIs(now.row);
    ++told_;
    return true;
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
            tell("portRemoved", {{"port", port.name}});
        }
    }
    for (const ControlNode::Port& port : now) {
        const auto before = find(ports_, port.name);
        if (concerns(port) && (before == ports_.end() || *before != port)) {
            tell("port", portJson(port));
        }
    }
    ports_ = now;
}

Answer::State WatchAnswer::work() {
    if (const std::uint64_t lost = takeLost(); lost > 0) {
        tell("lost", {{"rows", lost}});
    }
    if (std::exchange(portsDue_, false)) {
        tellPorts();
    }
    for (std::size_t cost = 0; !done(); ++cost) {
        if (cost >= sliceCost || output_.waiting() >= AnswerOutput::enough) {
            return State::more;
        }
        const RecordChanges::Change* const change = next();
        if (change == nullptr) {
            return State::waits;
        }
        cost += tellChange(*change) ? rowCost : 0;
        pass();
    }
    return State::done;
}

}  // namespace MrpAgent
