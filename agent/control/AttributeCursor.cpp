#include "agent/control/AttributeCursor.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

// On to the next attribute type, of the next interface or application if need be.
bool AttributeCursor::nextType() {
    after_.reset();
    for (; application_ < node_.instances().size(); ++application_) {
        const MrpApplication application = instance().application();
        while (filter_.fitsApplication(application)) {
            if (attribute_.intfId.empty() || !filter_.fitsPort(attribute_.intfId.name()) ||
                attribute_.attributeType >= mrpMaxAttrTypes(application)) {
                attribute_ = {nextInterface(instance().mrpSm(), attribute_.intfId), 0, 0};
                if (attribute_.intfId.empty()) {
                    break;
                }
                continue;
            }
            if (filter_.fitsType(application, ++attribute_.attributeType)) {
                return true;
            }
        }
        attribute_ = {};
    }
    return false;
}

bool AttributeCursor::next() {
    record_ = nullptr;
    if (application_ >= node_.instances().size()) {
        return false;
    }
    const auto found = attribute_.intfId.empty() ? std::nullopt
                                                 : nextRecord(instance().mrpSm(), attribute_.intfId,
                                                              attribute_.attributeType, after_);
    if (!found) {
        return nextType();
    }
    after_ = attribute_.key = found->key;
    if (found->record != nullptr && filter_.fitsState(*found->record) &&
        filter_.fitsKey(instance().application(), attribute_.attributeType, found->key)) {
        record_ = found->record;
    }
    return true;
}

}  // namespace MrpAgent
