#include "lab/replay/ReplayDump.h"

#include <utility>

#include "agent/status/AttributeTable.h"
#include "platform/base/Text.h"

namespace MrpLab {

using namespace Platform;
using namespace Mrp;
using MrpAgent::Json;

namespace {

Json attributeJson(const MrpAttribute& attribute) {
    return {{"interface", attribute.intfId.name()},
            {"attributeType", attribute.attributeType},
            {"key", "0x" + hexStr(attribute.key)}};
}

Json countersJson(const MrpAgent::MrpInstance& instance) {
    if (instance.mrpSm().mrpCounters() == nullptr) {
        return nullptr;
    }
    Json counters = Json::object();
    for (const auto& [name, count] : MrpAgent::counterTable(instance)) {
        counters[std::string(name)] = count;
    }
    return counters;
}

Json attributesJson(const MrpAgent::MrpInstance& instance) {
    const MrpApplicationDatabase* database = instance.mrpSm().applicationDatabase();
    Json attributes = Json::array();
    for (const MrpAgent::AttributeRow& row : MrpAgent::attributeTable(instance)) {
        const MrpAttribute& attribute = row.attribute;
        Json json = attributeJson(attribute);
        json["applicant"] = stringValue(row.applicant);
        json["registrar"] = stringValue(row.registrar);
        json["value"] = hexBytes(row.value);
        json["committed"] =
            database != nullptr &&
            database->record(attribute.intfId, attribute.attributeType, attribute.key) != nullptr;
        attributes.push_back(std::move(json));
    }
    return attributes;
}

Json deletePendingJson(const MrpSm& mrpSm) {
    Json attributes = Json::array();
    mrpSm.deletePendingAttr().forEach([&](const MrpAttribute& attribute, const MrpAttrDatabase&) {
        attributes.push_back(attributeJson(attribute));
    });
    return attributes;
}

Json leaveAllTimesJson(const MrpSm& mrpSm) {
    Json times = Json::array();
    if (const MrpApplicationDatabase* database = mrpSm.applicationDatabase()) {
        for (const auto& [key, time] : database->leaveAllTime()) {
            times.push_back({{"interface", key.intfId.name()},
                             {"attributeType", key.attributeType},
                             {"time", time}});
        }
    }
    return times;
}

Json portRolesJson(const MrpSm& mrpSm) {
    Json roles = Json::object();
    for (const auto& [intfId, role] : mrpSm.oldPortRole()) {
        roles[intfId.name()] = role;
    }
    return roles;
}

}  // namespace

Json replayDump(const MrpAgent::MrpInstance& instance) {
    const MrpSm& mrpSm = instance.mrpSm();
    const MrpParseContext* context = mrpSm.parseContext();
    return {{"counters", countersJson(instance)},
            {"maxAttrTypes", mrpSm.maxAttrTypes()},
            {"standby", mrpSm.standbyMode()},
            {"eventsCounter", context != nullptr ? context->eventsCounter() : 0},
            {"attributes", attributesJson(instance)},
            {"deletePending", deletePendingJson(mrpSm)},
            {"leaveAllTimes", leaveAllTimesJson(mrpSm)},
            {"portRoles", portRolesJson(mrpSm)}};
}

}  // namespace MrpLab
