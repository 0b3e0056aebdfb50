#pragma once

#include "mrp/MrpSm/types/MrpAttribute.h"
#include "mrp/MrpSm/types/RecordCursor.h"

namespace Mrp {

class MrpSm;

// The records of one interface and type for many look-ups in a row, which show what
// MrpSm::mrpGetAttrFromDatabase shows with pending additions. Whether there is anything pending is
// found out once: holds while nothing is added to or removed from the database.
class RunRecords {
  public:
    RunRecords(const MrpSm& mrpSm, IntfId intfId, AttributeType attributeType);

    // Null when there is no record of the key.
    MrpAttrDatabase* find(AttributeKey key) {
        return pending_ ? findPending(key) : committed_.find(key);
    }

  private:
    MrpAttrDatabase* findPending(AttributeKey key) const;

    const MrpSm& mrpSm_;
    IntfId intfId_;
    AttributeType attributeType_;
    bool pending_;
    RecordMap::Cursor committed_;
};

}  // namespace Mrp
