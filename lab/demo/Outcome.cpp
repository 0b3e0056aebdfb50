#include "lab/demo/Outcome.h"

#include <algorithm>
#include <ostream>

namespace MrpLab {

namespace {

std::size_t goneFrom(const AttributeSet& before, const AttributeSet& after) {
    return static_cast<std::size_t>(
        std::count_if(before.begin(), before.end(),
                      [&](const auto& entry) { return !after.contains(entry.first); }));
}

// The leave indications that a node has given.
std::uint64_t leavesSeenBy(const MrpAgent::Json& node) {
    std::uint64_t leaves = 0;
    for (const MrpAgent::Json& application : node.at("applications")) {
        leaves += application.at("counters").at("numOfLeaveIndications").get<std::uint64_t>();
    }
    return leaves;
}

}  // namespace

std::vector<std::string> missing(const Scenario& scenario, Stage stage, const NodePair& nodes) {
    const auto& one = stage == Stage::declared ? scenario.one : scenario.oneLater;
    auto result = differences("two", registeredIn(nodes.two), declaredBy(one));
    for (std::string& line :
         differences("one", registeredIn(nodes.one), declaredBy(scenario.two))) {
        result.push_back(std::move(line));
    }
    return result;
}

void printNodes(std::ostream& out, const std::string& title, const NodePair& nodes) {
    out << title << "\n";
    printNode(out, "one", nodes.one);
    printNode(out, "two", nodes.two);
    out << "\n";
}

int printOutcome(std::ostream& out, const Scenario& scenario, const Stages& stages) {
    auto faults = missing(scenario, Stage::declared, stages.declared);
    for (std::string& line : missing(scenario, Stage::withdrawn, stages.withdrawn)) {
        faults.push_back("after the withdrawals " + line);
    }
    for (std::string& line : missing(scenario, Stage::takenOver, stages.takenOver)) {
        faults.push_back("after the takeover " + line);
    }
    if (leavesSeenBy(stages.takenOver.one) != leavesSeenBy(stages.withdrawn.one)) {
        faults.emplace_back("node one has withdrawn something while its neighbour was taken over");
    }
    for (const std::string& line : faults) {
        out << "missing: " << line << "\n";
    }
    const AttributeSet one = registeredIn(stages.declared.one);
    const AttributeSet two = registeredIn(stages.declared.two);
    const std::size_t gone = goneFrom(one, registeredIn(stages.withdrawn.one)) +
                             goneFrom(two, registeredIn(stages.withdrawn.two));
    out << "demo: " << one.size() + two.size() << " registered, " << gone << " withdrawn, "
        << faults.size() << " missing" << std::endl;
    return faults.empty() ? 0 : 1;
}

}  // namespace MrpLab
