#include "agent/propagation/StreamPropagation.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "platform/base/Assert.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

StreamPropagation::StreamPropagation(ActivityManager& activityManager, MrpInstance& instance)
    : activityManager_(activityManager),
      instance_(instance),
      patienceAlarm_(activityManager.clock(), [this] {
          patient_ = false;
          work();
      }) {}

StreamPropagation::~StreamPropagation() = default;

void StreamPropagation::portIs(IntfId port) {
    ports_.insert(port);
    postWork();
}

void StreamPropagation::portDel(IntfId port) {
    ports_.erase(port);
    std::erase_if(declared_, [&](const auto& entry) { return entry.first.intfId == port; });
}

void StreamPropagation::forwardingIs(IntfId, bool, bool) {}

void StreamPropagation::declarationsAre(const std::vector<Declaration>& declarations) {
    declarations_.clear();
    std::copy_if(declarations.begin(), declarations.end(), std::back_inserter(declarations_),
                 [](const Declaration& declaration) {
                     return declaration.application == MrpApplication::msrp;
                 });
    postWork();
}

bool StreamPropagation::joinIndicated(const MrpAttribute&, bool) {
    return false;
}

void StreamPropagation::leaveIndicated(const MrpAttribute&) {}

void StreamPropagation::resume(const MrpInstance& instance, Seconds patience) {
    patient_ = true;
    patienceAlarm_.expiryIs(activityManager_.clock().now() + patience);
    for (const IntfId port : ports_) {
        for (AttributeType type = 1; type <= mrpMaxAttrTypes(instance.application()); ++type) {
            resumeType(instance, port, type);
        }
    }
    postWork();
}

void StreamPropagation::resumeType(const MrpInstance& instance, IntfId port, AttributeType type) {
    const std::size_t size = mrpSizeOfStoredValue(type, instance.application());
    for (const AttributeKey key : instance.mrpSm().visibleKeys(port, type)) {
        const MrpAttribute attribute{port, type, key};
        const MrpAttrDatabase* record =
            instance.mrpSm().mrpGetAttrFromDatabase(port, type, key, true);
        if (record != nullptr && instance.declares(attribute)) {
            const auto octets = record->attributeValue().first(size);
            declared_[attribute] = {octets.begin(), octets.end()};
        }
    }
}

void StreamPropagation::postWork() {
    if (posted_) {
        return;
    }
    activityManager_.post([weak = std::weak_ptr(self_)] {
        if (const auto self = weak.lock()) {
            (*self)->work();
        }
    });
    posted_ = true;
}

void StreamPropagation::work() {
    posted_ = false;
    const Wanted wanted = this->wanted();
    for (auto entry = declared_.begin(); entry != declared_.end();) {
        const auto& [attribute, value] = *entry;
        const auto found = wanted.find(attribute);
        // One that goes on with another value is withdrawn too: as a request of its own the engine
        // would not take the declaration for a change.
        const bool goes = found == wanted.end() ? !patient_ : found->second->value != value;
        if (goes) {
            request(attribute, AttributeEvent::lv, value);
        }
        entry = goes ? declared_.erase(entry) : std::next(entry);
    }
    for (const auto& [attribute, declaration] : wanted) {
        if (declared_.emplace(attribute, declaration->value).second) {
            request(attribute,
                    declaration->newEvent ? AttributeEvent::newEvent : AttributeEvent::joinIn,
                    declaration->value);
        }
    }
}

// What the ports should declare. Of several that have the same key the first one counts.
StreamPropagation::Wanted StreamPropagation::wanted() const {
    Wanted wanted;
    for (const IntfId port : ports_) {
        for (const Declaration& declaration : declarations_) {
            if (declaration.concerns(port.name())) {
                wanted.emplace(MrpAttribute{port, declaration.attributeType, declaration.key},
                               &declaration);
            }
        }
    }
    return wanted;
}

void StreamPropagation::request(const MrpAttribute& attribute, std::uint8_t event,
                                const std::vector<std::uint8_t>& value) {
    const bool accepted =
        instance_.request(attribute.intfId, attribute.attributeType, event, value);
    require(accepted, "a declaration has the octets of its type");
}

}  // namespace MrpAgent
