#include "agent/status/StatusJson.h"

#include <algorithm>

#include "agent/config/IdText.h"
#include "agent/status/AttributeTable.h"
#include "mrp/MrpSm/types/MrpValueImage.h"
#include "platform/base/Text.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

Json talkerJson(const MsrpTalkerAdvertiseAttribute& talker) {
    return {{"streamId", idText(talker.streamId)},
            {"dmac", talker.frame.dmac.stringValue()},
            {"vlanId", static_cast<std::uint16_t>(talker.frame.vlanId)},
            {"maxFrameSize", static_cast<std::uint16_t>(talker.tSpec.maxFrameSize)},
            {"maxIntervalFrames", static_cast<std::uint16_t>(talker.tSpec.maxIntervalFrames)},
            {"priority", talker.priorityAndRank.priority()},
            {"rank", talker.priorityAndRank.rank()},
            {"accumulatedLatency", static_cast<std::uint32_t>(talker.accumulatedLatency)}};
}

Json talkerFailedJson(const MsrpTalkerFailedAttribute& talker) {
    Json json = talkerJson(talker.talkerAdvertiseAttribute);
    json["bridgeId"] = idText(talker.failureInformation.bridgeId);
    json["failureCode"] = talker.failureInformation.failureCode;
    return json;
}

Json msrpValueJson(AttributeType attributeType, const MrpValueImage& image) {
    switch (attributeType) {
    case talkerAdvertiseType:
        return talkerJson(image.talkerAdvertise);
    case talkerFailedType:
        return talkerFailedJson(image.talkerFailed);
    case listenerType:
        return {{"streamId", idText(image.listener.streamId)},
                {"event", stringValue(image.listener.listenerEvent())}};
    case domainType:
        return {{"srClassId", image.domain.srClassId},
                {"srClassPriority", image.domain.srClassPriority},
                {"srClassVID", static_cast<std::uint16_t>(image.domain.srClassVID)}};
    default:
        return Json::object();
    }
}

Json attributeJson(const AttributeRow& row, MrpApplication application) {
    const AttributeType type = row.attribute.attributeType;
    Json json = {{"interface", row.attribute.intfId.name()},
                 {"attributeType", attributeTypeName(type, application)},
                 {"key", row.attribute.key},
                 {"applicant", stringValue(row.applicant)},
                 {"registrar", stringValue(row.registrar)},
                 {"value", hexBytes(row.value)}};
    json.update(valueJson(application, type, row.value));
    return json;
}

Json interfacesJson(const MrpSm& mrpSm) {
    Json interfaces = Json::array();
    for (const auto& [intfId, desired] : mrpSm.desiredIntfDir()->values()) {
        interfaces.push_back(
            {{"interface", intfId.name()}, {"packetAccess", mrpSm.pamCollection()->has(intfId)}});
    }
    return interfaces;
}

}  // namespace

Json valueJson(MrpApplication application, AttributeType attributeType,
               std::span<const std::uint8_t> value) {
    MrpValueImage image;
    const auto slot = image.octets(attributeType, application);
    if (slot.empty() || slot.size() != value.size()) {
        return Json::object();
    }
    std::copy(value.begin(), value.end(), slot.begin());
    if (application == MrpApplication::mvrp) {
        return {{"vlan", static_cast<std::uint16_t>(image.vlan.vlanId)}};
    }
    return msrpValueJson(attributeType, image);
}

Json statusJson(const MrpInstance& instance) {
    Json attributes = Json::array();
    for (const AttributeRow& row : attributeTable(instance)) {
        attributes.push_back(attributeJson(row, instance.application()));
    }
    Json counters = Json::object();
    for (const auto& [name, count] : counterTable(instance)) {
        counters[std::string(name)] = count;
    }
    return {{"application", stringValue(instance.application())},
            {"interfaces", interfacesJson(instance.mrpSm())},
            {"attributes", std::move(attributes)},
            {"counters", std::move(counters)}};
}

Json statusJson(std::span<const std::unique_ptr<MrpInstance>> instances) {
    Json applications = Json::array();
    for (const auto& instance : instances) {
        applications.push_back(statusJson(*instance));
    }
    return {{"applications", std::move(applications)}};
}

std::string jsonLine(const Json& json) {
    constexpr int oneLine = -1;
    // An interface may have any octets in its name; what is no UTF-8 is replaced.
    return json.dump(oneLine, ' ', false, Json::error_handler_t::replace);
}

}  // namespace MrpAgent
