#include "lab/replay/ReplayLib.h"

#include "mrp/MrpSm/root/MrpSm.h"

namespace MrpLab {

using namespace Mrp;

bool ReplayLib::mrpJoinIndication(const MrpParameters& parameters) {
    const AttributeKey key = mrpSm()->parseContext()->attributeKey();
    const bool discarded = discard_.attributes.contains({parameters.attributeType, key});
    output_.join(parameters, key, discarded);
    return discarded;
}

void ReplayLib::mrpLeaveIndication(const MrpParameters& parameters) {
    output_.leave(parameters, mrpSm()->parseContext()->attributeKey());
}

}  // namespace MrpLab
