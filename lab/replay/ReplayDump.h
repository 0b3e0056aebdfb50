#pragma once

#include "agent/instance/MrpInstance.h"
#include "agent/status/StatusJson.h"

namespace MrpLab {

// What an engine holds now, as the line of a dump step tells it.
MrpAgent::Json replayDump(const MrpAgent::MrpInstance& instance);

}  // namespace MrpLab
