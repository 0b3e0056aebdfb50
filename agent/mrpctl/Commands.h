#pragma once

#include <CLI/CLI.hpp>

#include "agent/mrpctl/Command.h"

namespace MrpCtl {

// Each adds its commands, which fill `command` when they are the ones given. `command` outlives the
// parsing.

// show, watch
void addShow(CLI::App& app, Command& command);
// declare, withdraw
void addDeclare(CLI::App& app, Command& command);
// wait
void addWait(CLI::App& app, Command& command);
// clear, activate, doctor
void addActions(CLI::App& app, Command& command);

}  // namespace MrpCtl
