#include "agent/status/AttributeTable.h"

#include <map>

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

using Records = std::map<MrpAttribute, const MrpAttrDatabase*>;

Records visibleRecords(const MrpSm& mrpSm) {
    Records records;
    if (const MrpApplicationDatabase* database = mrpSm.applicationDatabase()) {
        for (const auto& [intfId, intf] : database->attrDatabase()) {
            for (const auto& [type, applicant] : intf->intfTypeApplicant()) {
                for (const auto& [key, record] : applicant->mrpAttribute()) {
                    records[{intfId, type, key}] = record;
                }
            }
        }
    }
    mrpSm.deletePendingAttr().forEach(
        [&](const MrpAttribute& attribute, const MrpAttrDatabase&) { records.erase(attribute); });
    mrpSm.addPendingAttr().forEach(
        [&](const MrpAttribute& attribute, const MrpAttrDatabase& record) {
            records[attribute] = &record;
        });
    return records;
}

}  // namespace

std::vector<AttributeRow> attributeTable(const MrpInstance& instance) {
    std::vector<AttributeRow> rows;
    for (const auto& [attribute, record] : visibleRecords(instance.mrpSm())) {
        const std::size_t size =
            mrpSizeOfStoredValue(attribute.attributeType, instance.application());
        const auto octets = record->attributeValue().first(size);
        rows.push_back({attribute,
                        record->applicantState(),
                        record->registrarState(),
                        {octets.begin(), octets.end()}});
    }
    return rows;
}

CounterTable counterTable(const MrpInstance& instance) {
    static const MrpCounters none;
    const MrpCounters* found = instance.mrpSm().mrpCounters();
    const MrpCounters& counters = found != nullptr ? *found : none;
    return {{
        {"numOfIncorrectPduVersion", counters.numOfIncorrectPduVersion()},
        {"numOfUnknownAttributeType", counters.numOfUnknownAttributeType()},
        {"numOfMalformedPkts", counters.numOfMalformedPkts()},
        {"numOfUnknownApplication", counters.numOfUnknownApplication()},
        {"numOfIncorrectDmac", counters.numOfIncorrectDmac()},
        {"numOfIncorrectEtype", counters.numOfIncorrectEtype()},
        {"numOfPktsProcessed", counters.numOfPktsProcessed()},
        {"numOfPktsTransmitted", counters.numOfPktsTransmitted()},
        {"numOfJoinIndications", counters.numOfJoinIndications()},
        {"numOfLeaveIndications", counters.numOfLeaveIndications()},
    }};
}

}  // namespace MrpAgent
