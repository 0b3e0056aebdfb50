#pragma once

namespace MrpLab {

// The exit statuses of a replay.
enum class ReplayStatus {
    ended = 0,            // the whole scenario ran
    noValidStep = 1,      // a line of the scenario is no valid step
    cannotRun = 2,        // wrong use, or a file that cannot be read or written
    assertionFailed = 3,  // an assertion of the engine
};

}  // namespace MrpLab
