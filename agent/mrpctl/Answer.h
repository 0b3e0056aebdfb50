#pragma once

#include <ostream>
#include <stdexcept>
#include <string>

#include "agent/mrpctl/AgentConnection.h"
#include "agent/mrpctl/Command.h"

namespace MrpCtl {

// The agent has not done what it was asked for, or what it says cannot be shown.
struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Sends the command's request and prints the answer. `json` as docs/mrpctl.md has it. False when
// the rows tell of a problem (doctor). Throws Refused, Unreachable and what `out` throws.
bool answerOf(AgentConnection& agent, const Command& command, bool json, std::ostream& out);

}  // namespace MrpCtl
