#pragma once

#include <optional>

#include "mrp/MrpSm/root/MrpSm.h"

namespace MrpAgent {

// An attribute as an engine shows it. Null: it waits to leave the database.
struct VisibleRecord {
    Mrp::AttributeKey key = 0;
    const Mrp::MrpAttrDatabase* record = nullptr;
};

// The next attribute of an interface and type behind the key (the first one without it), committed
// or waiting to enter the database; nothing behind the last.
std::optional<VisibleRecord> nextRecord(const Mrp::MrpSm& mrpSm, Platform::IntfId intfId,
                                        Mrp::AttributeType attributeType,
                                        std::optional<Mrp::AttributeKey> after);

// The next interface, behind one (the first one for the empty interface), on which there are
// attributes or MRP is asked for; the empty interface behind the last.
Platform::IntfId nextInterface(const Mrp::MrpSm& mrpSm, Platform::IntfId after);

}  // namespace MrpAgent
