#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "agent/config/AgentConfig.h"

namespace MrpAgent {

struct ConfigResult {
    AgentConfig config;
    // What is wrong with the file, one line each: "agent.toml:12: timers.leaveTime: expected a
    // number of seconds > 0". The configuration is of use only when there is none.
    std::vector<std::string> errors;
};

// Reads a configuration (docs/mrp-agent.md). `fileName` is how errors call it.
ConfigResult readConfig(std::string_view text, const std::string& fileName);

// Reads that of a file. One that cannot be read is an error like the others.
ConfigResult readConfigFile(const std::string& fileName);

}  // namespace MrpAgent
