#pragma once

#include <set>
#include <string>
#include <vector>

namespace MrpLab {

// What is to be seen on one port: VLANs as people write them, "10-14,30".
struct PortExpectation {
    const char* node;
    const char* port;
    const char* registered;  // that a neighbour declares
    const char* declared;
    const char* fixed = "";
    const char* forbidden = "";
};

// What is to be seen of a network at the end of a stage of its story. It is written down port by
// port, as IEEE 802.1Q clause 10.3 has it (what is registered on one port is declared on the
// others), and not calculated from what the nodes are told.
struct Stage {
    const char* name;
    const char* title;
    std::vector<PortExpectation> ports;
    // "node port": where the neighbour's SR class is registered.
    std::set<std::string> classes;
};

// Three bridges in a line, a station at either end, in memory: all is well, a link is broken, it is
// healed, some is withdrawn.
const std::vector<Stage>& lineStages();

// Three bridges in a ring, of which a spanning tree blocks one port, and two stations: all is well,
// a link that was in use is cut, it is healed.
const std::vector<Stage>& ringStages();

}  // namespace MrpLab
