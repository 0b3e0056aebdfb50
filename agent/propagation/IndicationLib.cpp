#include "agent/propagation/IndicationLib.h"

#include "mrp/MrpSm/root/MrpSm.h"

namespace MrpAgent {

using namespace Mrp;

bool IndicationLib::mrpJoinIndication(const MrpParameters& parameters) {
    return propagation_ != nullptr &&
           propagation_->joinIndicated(mrpSm()->parseContext()->attribute(),
                                       parameters.attributeEvent == AttributeEvent::newEvent);
}

void IndicationLib::mrpLeaveIndication(const MrpParameters&) {
    if (propagation_ != nullptr) {
        propagation_->leaveIndicated(mrpSm()->parseContext()->attribute());
    }
}

}  // namespace MrpAgent
