#include "agent/standby/StatusMirror.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

void write(MrpApplicationDatabase& database, const MrpAttribute& attribute,
           const MrpAttrDatabase* record) {
    const auto type =
        database.attrDatabaseIs(attribute.intfId)->intfTypeApplicantIs(attribute.attributeType);
    if (record == nullptr) {
        type->mrpAttributeDel(attribute.key);
    } else {
        type->mrpAttributeIs(attribute.key)->copyFrom(*record);
    }
}

std::vector<MrpAttribute> attributesOf(const MrpApplicationDatabase& database) {
    std::vector<MrpAttribute> attributes;
    for (const auto& [intfId, intf] : database.attrDatabase()) {
        for (const auto& [type, records] : intf->intfTypeApplicant()) {
            for (const AttributeKey key : records->mrpAttribute().keys()) {
                attributes.push_back({intfId, type, key});
            }
        }
    }
    return attributes;
}

}  // namespace

StatusMirror::StatusMirror(const std::vector<Ptr<MrpStatus>>& statuses) {
    for (const Ptr<MrpStatus>& status : statuses) {
        const MrpApplication application = status->application();
        databases_[application] = status->applicationDatabaseIs(application);
    }
}

void StatusMirror::sessionStarts() {
    stage_ = Stage::header;
    told_.clear();
}

std::optional<std::string> StatusMirror::lineIs(std::string_view text) {
    LogLine line = readLogLine(text);
    if (const auto* faulty = std::get_if<FaultyLine>(&line)) {
        return faulty->fault;
    }
    if (std::holds_alternative<HeaderLine>(line) != (stage_ == Stage::header)) {
        return stage_ == Stage::header ? "expected the first line of an attribute log"
                                       : "a first line in the midst of the log";
    }
    return apply(line);
}

std::optional<std::string> StatusMirror::apply(LogLine& line) {
    if (std::holds_alternative<HeaderLine>(line)) {
        stage_ = Stage::state;
    } else if (auto* record = std::get_if<RecordLine>(&line)) {
        apply(*record);
    } else if (const auto* time = std::get_if<LeaveAllTimeLine>(&line)) {
        apply(*time);
    } else if (std::holds_alternative<CompleteLine>(line)) {
        if (complete()) {
            return "the state is said to be complete a second time";
        }
        removeUntold();
        takeOverState();
        stage_ = Stage::changes;
    }
    return std::nullopt;
}

StatusMirror::Database StatusMirror::databaseOf(MrpApplication application) const {
    const auto found = databases_.find(application);
    return found != databases_.end() ? found->second : nullptr;
}

void StatusMirror::apply(RecordLine& line) {
    const Database database = databaseOf(line.application);
    if (!database) {
        return;
    }
    if (complete()) {
        write(*database, line.attribute, line.record.get());
        return;
    }
    told_[line.application].records[line.attribute] = std::move(line.record);
}

void StatusMirror::apply(const LeaveAllTimeLine& line) {
    const Database database = databaseOf(line.application);
    if (!database) {
        return;
    }
    auto& times = told_[line.application].leaveAllTimes;
    if (complete() && line.time) {
        database->leaveAllTimeIs(line.key, *line.time);
    } else if (complete()) {
        database->leaveAllTimeDel(line.key);
    } else if (line.time) {
        times[line.key] = *line.time;
    } else {
        times.erase(line.key);
    }
}

void StatusMirror::removeUntold() {
    for (const auto& [application, database] : databases_) {
        const State& told = told_[application];
        for (const MrpAttribute& attribute : attributesOf(*database)) {
            if (!told.records.contains(attribute)) {
                write(*database, attribute, nullptr);
            }
        }
        const auto times = database->leaveAllTime();
        for (const auto& [key, time] : times) {
            if (!told.leaveAllTimes.contains(key)) {
                database->leaveAllTimeDel(key);
            }
        }
    }
}

void StatusMirror::takeOverState() {
    for (const auto& [application, told] : told_) {
        const Database database = databaseOf(application);
        for (const auto& [attribute, record] : told.records) {
            write(*database, attribute, record.get());
        }
        for (const auto& [key, time] : told.leaveAllTimes) {
            database->leaveAllTimeIs(key, time);
        }
    }
    told_.clear();
}

void StatusMirror::sessionEnds(bool clean) {
    if (clean && stage_ == Stage::state) {
        takeOverState();
    }
    told_.clear();
    stage_ = Stage::none;
}

}  // namespace MrpAgent
