#pragma once

#include <string>

#include "agent/mrpctl/Json.h"

namespace MrpCtl {

// What the user wants of the agent, ready to be sent.
struct Command {
    // What the answer's rows are.
    enum class Rows { none, table, events };

    Json request;
    Rows rows = Rows::none;
    std::string table = {};  // its name
    double mayTake = 0;      // seconds that the agent needs for it, at the most
};

}  // namespace MrpCtl
