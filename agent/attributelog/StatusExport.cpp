#include "agent/attributelog/StatusExport.h"

#include <exception>
#include <utility>

#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

using LeaveAllKey = MrpApplicationDatabase::LeaveAllKey;

// Calls `act` with the records behind `after` (from the first on without it), until it returns
// false. True at the end of the database.
template <class Act>
bool walkRecords(const MrpApplicationDatabase& database, const std::optional<MrpAttribute>& after,
                 Act act) {
    const MrpAttribute begin = after.value_or(MrpAttribute{});
    const auto& interfaces = database.attrDatabase();
    for (auto intf = interfaces.lower_bound(begin.intfId); intf != interfaces.end(); ++intf) {
        const bool firstIntf = after && intf->first == begin.intfId;
        const auto& types = intf->second->intfTypeApplicant();
        for (auto type = firstIntf ? types.lower_bound(begin.attributeType) : types.begin();
             type != types.end(); ++type) {
            const bool firstType = firstIntf && type->first == begin.attributeType;
            const auto& records = type->second->mrpAttribute();
            for (auto record = firstType ? records.upper_bound(begin.key) : records.begin();
                 record != records.end(); ++record) {
                const auto [key, entry] = *record;
                if (!act({intf->first, type->first, key}, *entry)) {
                    return false;
                }
            }
        }
    }
    return true;
}

}  // namespace

StatusExport::StatusExport(std::string node, std::vector<MrpApplication> applications)
    : node_(std::move(node)), applications_(std::move(applications)) {}

void StatusExport::statusesAre(const std::vector<Ptr<MrpStatus>>& statuses) {
    sources_.clear();
    for (const Ptr<MrpStatus>& status : statuses) {
        const MrpApplication application = status->application();
        sources_.push_back(std::make_unique<Source>(Source{
            status->applicationDatabaseIs(application), LineWriter(application), {}, {}, {}}));
    }
}

void StatusExport::readerStarts(AttrLogReader& reader) {
    reader_ = &reader;
    headerTold_ = false;
    for (const auto& each : sources_) {
        Source& source = *each;
        source.told = {};
        source.records = source.database->recordChanged().react(
            [this, &source](const MrpAttribute& attribute, const MrpAttrDatabase* record) {
                recordChanged(source, attribute, record);
            });
        source.leaveAllTimes = source.database->leaveAllTimeChanged().react(
            [this, &source](const LeaveAllKey& key) { leaveAllTimeChanged(source, key); });
    }
}

void StatusExport::readerEnds() {
    reader_ = nullptr;
    for (const auto& source : sources_) {
        source->records.reset();
        source->leaveAllTimes.reset();
    }
}

bool StatusExport::stateLines(std::string& lines, std::size_t octets) {
    const std::size_t enough = lines.size() + octets;
    if (!headerTold_) {
        lines += headerLine(node_, applications_);
        headerTold_ = true;
    }
    for (const auto& each : sources_) {
        Source& source = *each;
        Progress& told = source.told;
        if (!told.allRecords) {
            told.allRecords =
                walkRecords(*source.database, told.record,
                            [&](const MrpAttribute& attribute, const MrpAttrDatabase& record) {
                                source.writer.record(lines, attribute, &record);
                                told.record = attribute;
                                return lines.size() < enough;
                            });
        }
        const auto& times = source.database->leaveAllTime();
        auto time = told.leaveAllTime ? times.upper_bound(*told.leaveAllTime) : times.begin();
        for (; told.allRecords && lines.size() < enough && time != times.end(); ++time) {
            source.writer.leaveAllTime(lines, time->first, time->second);
            told.leaveAllTime = time->first;
        }
        told.all = told.allRecords && time == times.end();
        if (!told.all) {
            return true;
        }
    }
    lines += completeLine();
    return false;
}

// A LeaveAll changes every attribute twice, at once.
std::size_t StatusExport::stateSize() const {
    constexpr std::size_t lineOctets = 250;
    std::size_t records = 0;
    for (const auto& source : sources_) {
        records += source->database->recordCount();
    }
    return records * lineOctets;
}

std::string StatusExport::refusal() const {
    return refusalLine("another reader is connected");
}

void StatusExport::recordChanged(Source& source, const MrpAttribute& attribute,
                                 const MrpAttrDatabase* record) {
    const Progress& told = source.told;
    if (told.allRecords || (told.record && attribute <= *told.record)) {
        tell([&](std::string& line) { source.writer.record(line, attribute, record); });
    }
}

void StatusExport::leaveAllTimeChanged(Source& source, const LeaveAllKey& key) {
    const Progress& told = source.told;
    if (told.all || (told.leaveAllTime && key <= *told.leaveAllTime)) {
        const auto& times = source.database->leaveAllTime();
        const auto found = times.find(key);
        tell([&](std::string& line) {
            source.writer.leaveAllTime(
                line, key, found != times.end() ? std::optional(found->second) : std::nullopt);
        });
    }
}

// Whoever changes the status knows nothing of its readers: an error here is none of his.
template <class Write>
void StatusExport::tell(Write write) {
    try {
        line_.clear();
        write(line_);
        reader_->linesIs(line_);
    } catch (const std::exception& error) {
        DispatchErrors::add(error);
        reader_->linesLost();
    }
}

}  // namespace MrpAgent
