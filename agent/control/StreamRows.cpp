#include "agent/control/StreamRows.h"

#include <algorithm>
#include <utility>

#include "agent/config/IdText.h"
#include "agent/control/AttributeRows.h"
#include "agent/control/VisibleRecords.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

StreamRows::StreamRows(const ControlNode& node, const AttributeAges& ages, AttributeFilter filter)
    : node_(node), ages_(ages), filter_(std::move(filter)) {}

bool StreamRows::next(Row& row) {
    const auto instances = node_.instances();
    const auto msrp = std::find_if(instances.begin(), instances.end(), [](const auto& instance) {
        return instance->application() == MrpApplication::msrp;
    });
    if (msrp == instances.end()) {
        return false;
    }
    // Of all that comes next on the interfaces, the lowest Stream ID.
    std::vector<std::pair<MrpAttribute, const MrpAttrDatabase*>> found;
    const MrpSm& mrpSm = (*msrp)->mrpSm();
    for (IntfId port = nextInterface(mrpSm, {}); !port.empty(); port = nextInterface(mrpSm, port)) {
        row.cost += 2;
        for (AttributeType type = talkerAdvertiseType;
             filter_.fitsPort(port.name()) && type <= listenerType; ++type) {
            const auto next = nextRecord(mrpSm, port, type, stream_);
            row.cost += 2;
            if (next && (found.empty() || next->key <= found.front().first.key)) {
                if (!found.empty() && next->key < found.front().first.key) {
                    found.clear();
                }
                found.push_back({{port, type, next->key}, next->record});
            }
        }
    }
    if (found.empty()) {
        return false;
    }
    stream_ = found.front().first.key;
    Json stream = {
        {"streamId", idText(*stream_)}, {"talkers", Json::array()}, {"listeners", Json::array()}};
    for (const auto& [attribute, record] : found) {
        if (record != nullptr && filter_.fits(MrpApplication::msrp, attribute) &&
            filter_.fitsState(*record)) {
            add(stream, **msrp, attribute, *record);
        }
    }
    if (!stream["talkers"].empty() || !stream["listeners"].empty()) {
        row.json = std::move(stream);
    }
    return true;
}

void StreamRows::add(Json& row, const MrpInstance& instance, const MrpAttribute& attribute,
                     const MrpAttrDatabase& record) const {
    const AttributeType type = attribute.attributeType;
    Json value =
        valueJson(MrpApplication::msrp, type, recordOctets(MrpApplication::msrp, type, record));
    value.erase("streamId");
    const Json age = ageJson(ages_.age(instance, attribute));
    Json part = {{"port", attribute.intfId.name()}};
    if (type == listenerType) {
        part.update(value);
    } else {
        part["attributeType"] = attributeTypeName(type, MrpApplication::msrp);
    }
    part.update(recordStates(record));
    part["age"] = age;
    if (type != listenerType) {
        part.update(value);
    }
    row[type == listenerType ? "listeners" : "talkers"].push_back(std::move(part));
}

}  // namespace MrpAgent
