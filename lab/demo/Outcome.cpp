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

int printOutcome(std::ostream& out, const Scenario& scenario, const NodePair& declared,
                 const NodePair& withdrawn) {
    auto faults = missing(scenario, Stage::declared, declared);
    for (std::string& line : missing(scenario, Stage::withdrawn, withdrawn)) {
        faults.push_back("after the withdrawals " + line);
    }
    for (const std::string& line : faults) {
        out << "missing: " << line << "\n";
    }
    const AttributeSet one = registeredIn(declared.one);
    const AttributeSet two = registeredIn(declared.two);
    const std::size_t gone =
        goneFrom(one, registeredIn(withdrawn.one)) + goneFrom(two, registeredIn(withdrawn.two));
    out << "demo: " << one.size() + two.size() << " registered, " << gone << " withdrawn, "
        << faults.size() << " missing" << std::endl;
    return faults.empty() ? 0 : 1;
}

}  // namespace MrpLab
