#include "mrp/MrpSm/database/RunRecords.h"

#include "mrp/MrpSm/root/MrpSm.h"

namespace Mrp {

RunRecords::RunRecords(const MrpSm& mrpSm, IntfId intfId, AttributeType attributeType)
    : mrpSm_(mrpSm),
      intfId_(intfId),
      attributeType_(attributeType),
      pending_(mrpSm.addPendingAttr().records(intfId, attributeType) != nullptr ||
               mrpSm.deletePendingAttr().records(intfId, attributeType) != nullptr) {
    const MrpApplicationDatabase* database = mrpSm.applicationDatabase();
    const MrpIntfApplicant* intf = database != nullptr ? database->attrDatabase(intfId) : nullptr;
    if (const auto* type = intf != nullptr ? intf->intfTypeApplicant(attributeType) : nullptr) {
        committed_ = RecordMap::Cursor(type->mrpAttribute());
    }
}

MrpAttrDatabase* RunRecords::findPending(AttributeKey key) const {
    return mrpSm_.mrpGetAttrFromDatabase(intfId_, attributeType_, key, true);
}

}  // namespace Mrp
