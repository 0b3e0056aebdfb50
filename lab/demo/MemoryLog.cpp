#include "lab/demo/MemoryLog.h"

#include <string>

#include "platform/base/Assert.h"

namespace MrpLab {

namespace {

std::vector<Mrp::MrpApplication> applicationsOf(const MemoryLog::Statuses& statuses) {
    std::vector<Mrp::MrpApplication> applications;
    for (const auto& status : statuses) {
        applications.push_back(status->application());
    }
    return applications;
}

}  // namespace

MemoryLog::MemoryLog(const Statuses& active, const Statuses& standby)
    : export_("demo", applicationsOf(active)), mirror_(standby) {
    constexpr std::size_t piece = 4096;
    export_.statusesAre(active);
    mirror_.sessionStarts();
    export_.readerStarts(*this);
    bool more = true;
    while (more) {
        std::string lines;
        more = export_.stateLines(lines, piece);
        linesIs(lines);
    }
}

MemoryLog::~MemoryLog() {
    export_.readerEnds();
    mirror_.sessionEnds(true);
}

void MemoryLog::linesIs(std::string_view lines) {
    while (!lines.empty()) {
        const std::size_t end = lines.find('\n');
        const auto fault = mirror_.lineIs(lines.substr(0, end));
        Platform::require(!fault, "a log is what its reader expects");
        lines.remove_prefix(end + 1);
    }
}

void MemoryLog::linesLost() {
    mirror_.sessionEnds(false);
}

}  // namespace MrpLab
