#include "lab/demo/Expectation.h"

namespace MrpLab {

// Station s1 declares 10-14 and 30, station s2 14, 20-22 and 30. VLAN 40 is fixed on one port of
// the middle bridge, and 30 forbidden on its other one: it reaches the bridge from both sides and
// passes on neither. All but s2 have the SR class.
const std::vector<Stage>& lineStages() {
    static const std::vector<PortExpectation> well{
        {"s1", "eth0", "14,20-22,40", "10-14,30"},
        {"b1", "eth1", "10-14,30", "14,20-22,40"},
        {"b1", "eth2", "14,20-22,40", "10-14,30"},
        {"b2", "eth1", "10-14,30", "14,20-22,40", "40"},
        {"b2", "eth2", "14,20-22", "10-14,40", "", "30"},
        {"b3", "eth1", "10-14,40", "14,20-22,30"},
        {"b3", "eth2", "14,20-22,30", "10-14,40"},
        {"s2", "eth0", "10-14,40", "14,20-22,30"},
    };
    static const std::set<std::string> classes{"s1 eth0", "b1 eth1", "b1 eth2", "b2 eth1",
                                               "b2 eth2", "b3 eth1", "s2 eth0"};
    static const std::vector<Stage> stages{
        {"declared", "Every station and bridge declares what it knows", well, classes},
        {"broken",
         "The link between b2 and b3 is broken",
         {
             {"s1", "eth0", "40", "10-14,30"},
             {"b1", "eth1", "10-14,30", "40"},
             {"b1", "eth2", "40", "10-14,30"},
             {"b2", "eth1", "10-14,30", "40", "40"},
             {"b3", "eth2", "14,20-22,30", ""},
             {"s2", "eth0", "", "14,20-22,30"},
         },
         {"s1 eth0", "b1 eth1", "b1 eth2", "b2 eth1", "s2 eth0"}},
        {"healed", "The link is healed", well, classes},
        {"withdrawn",
         "Station s1 withdraws 10-14, of which s2 goes on declaring 14",
         {
             {"s1", "eth0", "14,20-22,40", "30"},
             {"b1", "eth1", "30", "14,20-22,40"},
             {"b1", "eth2", "14,20-22,40", "30"},
             {"b2", "eth1", "30", "14,20-22,40", "40"},
             {"b2", "eth2", "14,20-22", "40", "", "30"},
             {"b3", "eth1", "40", "14,20-22,30"},
             {"b3", "eth2", "14,20-22,30", "40"},
             {"s2", "eth0", "40", "14,20-22,30"},
         },
         classes},
    };
    return stages;
}

// Station s1, at bridge b2, declares 10-14, and s2, at b3, 14 and 20-22. b1 is the root; of the
// link between b2 and b3 the end at b3 blocks. It registers what b2 declares there, declares
// nothing itself, and what it registers goes nowhere.
const std::vector<Stage>& ringStages() {
    static const std::vector<PortExpectation> well{
        {"s1", "eth0", "14,20-22", "10-14"}, {"b2", "toS1", "10-14", "14,20-22"},
        {"b2", "toB1", "14,20-22", "10-14"}, {"b2", "toB3", "", "10-14,20-22"},
        {"b1", "toB2", "10-14", "14,20-22"}, {"b1", "toB3", "14,20-22", "10-14"},
        {"b3", "toB1", "10-14", "14,20-22"}, {"b3", "toB2", "10-14,20-22", ""},
        {"b3", "toS2", "14,20-22", "10-14"}, {"s2", "eth0", "10-14", "14,20-22"},
    };
    static const std::vector<Stage> stages{
        {"ring", "The spanning tree goes by b1", well, {}},
        {"cut",
         "The link between b1 and b3 is cut: the tree goes from b2 to b3",
         {
             {"s1", "eth0", "14,20-22", "10-14"},
             {"b2", "toS1", "10-14", "14,20-22"},
             {"b2", "toB1", "", "10-14,20-22"},
             {"b2", "toB3", "14,20-22", "10-14"},
             {"b1", "toB2", "10-14,20-22", ""},
             {"b3", "toB2", "10-14", "14,20-22"},
             {"b3", "toS2", "14,20-22", "10-14"},
             {"s2", "eth0", "10-14", "14,20-22"},
         },
         {}},
        {"healed", "The link is healed", well, {}},
    };
    return stages;
}

}  // namespace MrpLab
