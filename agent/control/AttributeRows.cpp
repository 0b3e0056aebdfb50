#include "agent/control/AttributeRows.h"

#include <cmath>
#include <utility>

#include "platform/base/Text.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

Json attributeName(MrpApplication application, const MrpAttribute& attribute) {
    return {{"application", stringValue(application)},
            {"port", attribute.intfId.name()},
            {"attributeType", attributeTypeName(attribute.attributeType, application)},
            {"key", attribute.key}};
}

Json recordStates(const MrpAttrDatabase& record) {
    return {{"applicant", stringValue(record.applicantState())},
            {"registrar", stringValue(record.registrarState())}};
}

std::span<const std::uint8_t> recordOctets(MrpApplication application, AttributeType attributeType,
                                           const MrpAttrDatabase& record) {
    return record.attributeValue().first(mrpSizeOfStoredValue(attributeType, application));
}

Json ageJson(std::optional<Seconds> age) {
    constexpr double millisecondsPerSecond = 1000;
    return age ? Json(std::round(*age * millisecondsPerSecond) / millisecondsPerSecond) : Json();
}

AttributeRows::AttributeRows(const ControlNode& node, const AttributeAges& ages,
                             AttributeFilter filter, Table table)
    : ages_(ages), filter_(std::move(filter)), table_(table), cursor_(node, filter_) {}

bool AttributeRows::next(Row& row) {
    if (!cursor_.next()) {
        return false;
    }
    const MrpAttrDatabase* record = cursor_.record();
    if (record == nullptr) {
        return true;
    }
    const MrpAttribute& attribute = cursor_.attribute();
    const MrpApplication application = cursor_.instance().application();
    const auto octets = recordOctets(application, attribute.attributeType, *record);
    const Json value = valueJson(application, attribute.attributeType, octets);
    const Json age = ageJson(ages_.age(cursor_.instance(), attribute));
    if (table_ == Table::domain) {
        row.json = {{"port", attribute.intfId.name()}};
        row.json.update(value);
        row.json.update(recordStates(*record));
        row.json["age"] = age;
    } else {
        row.json = attributeName(application, attribute);
        row.json.update(recordStates(*record));
        row.json["age"] = age;
        row.json["value"] = hexBytes(octets);
        row.json.update(value);
    }
    return true;
}

}  // namespace MrpAgent
