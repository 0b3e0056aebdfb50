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

// The first record whose key is not below; nothing without one.
template <class Records>
std::optional<VisibleRecord> firstOf(const Records* records, AttributeKey from) {
    if (records != nullptr) {
        const auto found = records->lower_bound(from);
        if (found != records->end()) {
            const auto [key, record] = *found;
            return VisibleRecord{key, record};
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<VisibleRecord> nextRecord(const MrpSm& mrpSm, IntfId intfId,
                                        AttributeType attributeType,
                                        std::optional<AttributeKey> after) {
    if (after == std::numeric_limits<AttributeKey>::max()) {
        return std::nullopt;
    }
    const AttributeKey from = after ? *after + 1 : 0;
    const auto added = firstOf(mrpSm.addPendingAttr().records(intfId, attributeType), from);
    auto committed = firstOf(recordsOf(mrpSm, intfId, attributeType), from);
    if (!committed || (added && added->key <= committed->key)) {
        return added;
    }
    if (mrpSm.deletePending({intfId, attributeType, committed->key})) {
        committed->record = nullptr;
    }
    return committed;
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
    const MrpAttrIter::Key last{after, std::numeric_limits<AttributeType>::max()};
    if (const auto* added = behind(mrpSm.addPendingAttr().types(), last);
        added != nullptr && (next.empty() || added->first.intfId < next)) {
        next = added->first.intfId;
    }
    return next;
}

}  // namespace MrpAgent
