#include "agent/control/ControlRequests.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "agent/control/AttributeRows.h"
#include "agent/control/CounterRows.h"
#include "agent/control/DeclarationRequests.h"
#include "agent/control/LogRows.h"
#include "agent/control/PortRows.h"
#include "agent/control/RequestError.h"
#include "agent/control/StreamRows.h"
#include "agent/control/TableAnswer.h"
#include "agent/control/TimerRows.h"
#include "agent/control/VlanRows.h"
#include "agent/control/WaitAnswer.h"
#include "agent/control/WatchAnswer.h"

namespace MrpAgent {

using namespace Mrp;

namespace {

// A few rows that are known at once.
class ReadyRows final : public RowSource {
  public:
    explicit ReadyRows(std::vector<Json> rows) : rows_(std::move(rows)) {}

    bool next(Row& row) override {
        if (next_ == rows_.size()) {
            return false;
        }
        row.json = std::move(rows_[next_++]);
        return true;
    }

  private:
    std::vector<Json> rows_;
    std::size_t next_ = 0;
};

// Reads the filters, and that there is nothing else.
AttributeFilter filterOf(RequestMembers& members, unsigned kinds) {
    AttributeFilter filter(members, kinds);
    members.finish();
    return filter;
}

void refuseFor(const std::optional<std::string>& obstacle) {
    if (obstacle) {
        throw RequestError(RequestError::refused, *obstacle);
    }
}

}  // namespace

ControlRequests::ControlRequests(Parts parts)
    : parts_(std::move(parts)), changes_(parts_.node, parts_.wallClock, parts_.changeLimit) {}

std::unique_ptr<Answer> ControlRequests::answer(const Json& request, ControlAccess access,
                                                AnswerOutput& output) {
    struct Known {
        const char* name;
        Act act;
        bool changes;
    };
    static constexpr Known all[] = {
        {"show", &ControlRequests::show, false},
        {"watch", &ControlRequests::watch, false},
        {"wait", &ControlRequests::wait, false},
        {"declare", &ControlRequests::declare, true},
        {"withdraw", &ControlRequests::withdraw, true},
        {"clear", &ControlRequests::clear, true},
        {"activate", &ControlRequests::activate, true},
        {"doctor", &ControlRequests::doctor, false},
    };
    RequestMembers members(request);
    const auto name = members.text("request", "the name of a request");
    const auto* const known = std::find_if(std::begin(all), std::end(all),
                                           [&](const Known& each) { return name == each.name; });
    if (known == std::end(all)) {
        std::string expected;
        for (const Known& each : all) {
            expected += (expected.empty() ? "" : ", ") + std::string(each.name);
        }
        RequestMembers::fault("request", "expected one of: " + expected);
    }
    if (known->changes && access == ControlAccess::readOnly) {
        throw RequestError(RequestError::readOnly, "this socket takes no request that changes "
                                                   "something");
    }
    request_ = &request;
    return (this->*known->act)(members, output);
}

std::unique_ptr<Answer> ControlRequests::show(RequestMembers& members, AnswerOutput& output) {
    using Filter = AttributeFilter;
    using Source = std::unique_ptr<RowSource>;
    const ControlNode& node = parts_.node;
    const AttributeAges& ages = parts_.ages;
    const std::string what = members.text("what", "the name of a table").value_or("");
    Source rows;
    if (what == "agent") {
        members.finish();
        Json agent = node.agentJson();
        agent["version"] = parts_.version;
        agent["control"] = parts_.status();
        rows = std::make_unique<ReadyRows>(std::vector<Json>{std::move(agent)});
    } else if (what == "ports") {
        rows = std::make_unique<PortRows>(node, filterOf(members, Filter::port));
    } else if (what == "vlans") {
        rows = std::make_unique<VlanRows>(
            node, filterOf(members, Filter::port | Filter::vlan | Filter::state));
    } else if (what == "attributes") {
        rows = std::make_unique<AttributeRows>(node, ages, filterOf(members, Filter::all),
                                               AttributeRows::Table::attributes);
    } else if (what == "streams") {
        rows = std::make_unique<StreamRows>(
            node, ages,
            filterOf(members, Filter::port | Filter::stream | Filter::type | Filter::state));
    } else if (what == "domain") {
        Filter filter = filterOf(members, Filter::port | Filter::state);
        filter.domainOnly();
        rows = std::make_unique<AttributeRows>(node, ages, std::move(filter),
                                               AttributeRows::Table::domain);
    } else if (what == "counters") {
        rows = std::make_unique<CounterRows>(node,
                                             filterOf(members, Filter::application | Filter::port));
    } else if (what == "timers") {
        rows = std::make_unique<TimerRows>(node,
                                           filterOf(members, Filter::application | Filter::port));
    } else if (what == "log") {
        const auto limit = members.count("limit");
        members.finish();
        rows = std::make_unique<LogRows>(parts_.log, limit);
    } else {
        RequestMembers::fault("what", "expected one of: agent, ports, vlans, attributes, streams, "
                                      "domain, counters, timers, log");
    }
    return std::make_unique<TableAnswer>(std::move(rows), output);
}

std::unique_ptr<Answer> ControlRequests::watch(RequestMembers& members, AnswerOutput& output) {
    const auto limit = members.count("limit");
    AttributeFilter filter = filterOf(members, AttributeFilter::all);
    return std::make_unique<WatchAnswer>(changes_, parts_.node, std::move(filter), limit,
                                         parts_.wallClock, output);
}

std::unique_ptr<Answer> ControlRequests::wait(RequestMembers& members, AnswerOutput& output) {
    return std::make_unique<WaitAnswer>(parts_.node, members, parts_.clock, output);
}

std::unique_ptr<Answer> ControlRequests::declare(RequestMembers&, AnswerOutput&) {
    refuseFor(parts_.node.declare(declarationsOf(*request_, parts_.node)));
    return nullptr;
}

std::unique_ptr<Answer> ControlRequests::withdraw(RequestMembers&, AnswerOutput&) {
    refuseFor(parts_.node.withdraw(withdrawalsOf(*request_, parts_.node)));
    return nullptr;
}

std::unique_ptr<Answer> ControlRequests::clear(RequestMembers& members, AnswerOutput&) {
    if (members.text("what", "\"counters\"") != "counters") {
        RequestMembers::fault("what", "expected \"counters\"");
    }
    const AttributeFilter filter = filterOf(members, AttributeFilter::application);
    for (const auto& instance : parts_.node.instances()) {
        if (filter.fitsApplication(instance->application())) {
            instance->mrpSm().countersDel();
        }
    }
    return nullptr;
}

std::unique_ptr<Answer> ControlRequests::activate(RequestMembers& members, AnswerOutput&) {
    members.finish();
    refuseFor(parts_.node.activate());
    return nullptr;
}

std::unique_ptr<Answer> ControlRequests::doctor(RequestMembers& members, AnswerOutput& output) {
    members.finish();
    constexpr const char* severities[] = {"ok", "warning", "problem"};
    std::vector<Json> rows;
    for (const ControlNode::Finding& finding : parts_.node.examine()) {
        rows.push_back({{"severity", severities[static_cast<std::size_t>(finding.severity)]},
                        {"text", finding.text},
                        {"advice", finding.advice.empty() ? Json() : Json(finding.advice)}});
    }
    return std::make_unique<TableAnswer>(std::make_unique<ReadyRows>(std::move(rows)), output);
}

}  // namespace MrpAgent
