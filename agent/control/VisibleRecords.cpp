#include "agent/control/VisibleRecords.h"

#include <limits>

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

// The entry behind the key, or null.
template <class Map, class Key>
const typename Map::value_type* behind(const Map& map, const Key& key) {
    const auto found = map.upper_bound(key);
    return found != map.end() ? &*found : nullptr;
}

const RecordMap* recordsOf(const MrpSm& mrpSm, IntfId intfId, AttributeType attributeType) {
    const MrpApplicationDatabase* database = mrpSm.applicationDatabase();
    const MrpIntfApplicant* intf = database != nullptr ? database->attrDatabase(intfId) : nullptr;
    const MrpIntfTypeApplicant* type =
        intf != nullptr ? intf->intfTypeApplicant(attributeType) : nullptr;
    return type != nullptr ? &type->mrpAttribute() : nullptr;
}

}  // namespace

std::optional<VisibleRecord> nextRecord(const MrpSm& mrpSm, IntfId intfId,
                                        AttributeType attributeType,
                                        std::optional<AttributeKey> after) {
    if (after == std::numeric_limits<AttributeKey>::max()) {
        return std::nullopt;
    }
    const AttributeKey from = after ? *after + 1 : 0;
    const auto& pending = mrpSm.addPendingAttr();
    const auto added = pending.lower_bound({intfId, attributeType, from});
    const bool adds = added != pending.end() && added->first.intfId == intfId &&
                      added->first.attributeType == attributeType;
    if (const auto* records = recordsOf(mrpSm, intfId, attributeType)) {
        const auto committed = records->lower_bound(from);
        if (committed != records->end() && (!adds || (*committed).key < added->first.key)) {
            const auto [key, record] = *committed;
            const bool leaves = mrpSm.deletePending({intfId, attributeType, key});
            return VisibleRecord{key, leaves ? nullptr : record};
        }
    }
    return adds ? std::optional(VisibleRecord{added->first.key, added->second.get()})
                : std::nullopt;
}

IntfId nextInterface(const MrpSm& mrpSm, IntfId after) {
    IntfId next;
    const auto offer = [&](const auto* entry) {
        if (entry != nullptr && (next.empty() || entry->first < next)) {
            next = entry->first;
        }
    };
    if (const MrpApplicationDatabase* database = mrpSm.applicationDatabase()) {
        offer(behind(database->attrDatabase(), after));
    }
    offer(behind(mrpSm.desiredIntfDir()->values(), after));
    const MrpAttribute last{after, std::numeric_limits<AttributeType>::max(),
                            std::numeric_limits<AttributeKey>::max()};
    if (const auto* added = behind(mrpSm.addPendingAttr(), last);
        added != nullptr && (next.empty() || added->first.intfId < next)) {
        next = added->first.intfId;
    }
    return next;
}

}  // namespace MrpAgent
