#include "agent/instance/Declaration.h"

#include <algorithm>

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

bool Declaration::concerns(const std::string& interface) const {
    return interfaces.empty() ||
           std::find(interfaces.begin(), interfaces.end(), interface) != interfaces.end();
}

bool declare(MrpInstance& instance, const Declaration& declaration, IntfId intfId) {
    const std::uint8_t event =
        declaration.newEvent ? AttributeEvent::newEvent : AttributeEvent::joinIn;
    return instance.declares({intfId, declaration.attributeType, declaration.key}) ||
           instance.request(intfId, declaration.attributeType, event, declaration.value);
}

bool withdraw(MrpInstance& instance, const Declaration& declaration, IntfId intfId) {
    return instance.request(intfId, declaration.attributeType, AttributeEvent::lv,
                            declaration.value);
}

}  // namespace MrpAgent
