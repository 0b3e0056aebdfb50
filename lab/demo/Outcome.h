#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "lab/demo/NodeTable.h"
#include "lab/demo/Scenario.h"

namespace MrpLab {

// What both nodes held at one moment, as the JSON of mrp-agent.
struct NodePair {
    MrpAgent::Json one;
    MrpAgent::Json two;
};

// What both nodes are to have registered of each other: at first, after the withdrawals, and after
// a standby has taken over from node two.
enum class Stage { declared, withdrawn, takenOver };

// The nodes at the end of each stage.
struct Stages {
    NodePair declared;
    NodePair withdrawn;
    NodePair takenOver;
};

// Where the nodes differ from what the stage asks for; empty when it is complete.
std::vector<std::string> missing(const Scenario& scenario, Stage stage, const NodePair& nodes);

void printNodes(std::ostream& out, const std::string& title, const NodePair& nodes);

// Says what is missing in any stage, and the final line, with what was registered in the first
// stage and no more in the second. Returns the program's exit status: 0 when nothing is missing.
int printOutcome(std::ostream& out, const Scenario& scenario, const Stages& stages);

}  // namespace MrpLab
