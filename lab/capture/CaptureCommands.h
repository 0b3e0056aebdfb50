#pragma once

#include <iosfwd>
#include <map>
#include <optional>
#include <string>

#include "mrp/MrpSm/types/MrpEnums.h"
#include "platform/base/EthAddr.h"

namespace MrpLab {

// What the commands that read captures do. Both throw std::runtime_error, in words for the user,
// when the file cannot be read; what they have written by then stands.

// Writes each MRPDU of the file as a line of JSON, and to `notes` what was left out.
void decodeCapture(const std::string& fileName, std::ostream& out, std::ostream& notes);

struct ScenarioOptions {
    // That of the first MRPDU when nothing is said.
    std::optional<Mrp::MrpApplication> application;
    // On which interface the frames of a source arrive. Without any all arrive on "et1"; with some,
    // frames of other sources are left out.
    std::map<Platform::EthAddr, std::string> interfaces;
};

// Writes the scenario in which an engine receives the frames of the file, the first at time 1, and
// to `notes` what was left out.
// False, and nothing is written, when the file holds no such frame.
bool scenarioFromCapture(const std::string& fileName, const ScenarioOptions& options,
                         std::ostream& out, std::ostream& notes);

}  // namespace MrpLab
