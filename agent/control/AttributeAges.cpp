#include "agent/control/AttributeAges.h"

#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

void AttributeAges::instancesAre(ControlNode::Instances instances) {
    sources_.clear();
    for (const auto& instance : instances) {
        if (MrpApplicationDatabase* database = instance->mrpSm().applicationDatabase()) {
            sources_.push_back(
                std::make_unique<Source>(Source{instance->application(), {}, {}, Reactor()}));
            follow(*sources_.back(), *database);
        }
    }
}

void AttributeAges::follow(Source& source, MrpApplicationDatabase& database) {
    for (const auto& [intfId, intf] : database.attrDatabase()) {
        for (const auto& [type, records] : intf->intfTypeApplicant()) {
            for (const auto& [key, record] : records->mrpAttribute()) {
                source.entries[{intfId, type, key}] = {never, record->registrarState()};
            }
        }
    }
    source.last = source.entries.end();
    source.reactor = database.recordChanged().react(
        [this, &source](const MrpAttribute& attribute, const MrpAttrDatabase* record) {
            // Whoever changes a record has nothing to do with those who ask for its age.
            dispatch([&] { handleRecord(source, attribute, record); });
        });
}

void AttributeAges::handleRecord(Source& source, const MrpAttribute& attribute,
                                 const MrpAttrDatabase* record) const {
    auto& [application, entries, last, reactor] = source;
    if (record == nullptr) {
        last = entries.end();
        entries.erase(attribute);
        return;
    }
    if (last != entries.end() && last->first != attribute) {
        ++last;
    }
    const MrpRegistrarState state = record->registrarState();
    if (last == entries.end() || last->first != attribute) {
        const auto [entry, added] = entries.try_emplace(attribute, Entry{clock_.now(), state});
        last = entry;
    }
    if (last->second.state != state) {
        last->second = {clock_.now(), state};
    }
}

std::optional<Seconds> AttributeAges::age(const MrpInstance& instance,
                                          const MrpAttribute& attribute) const {
    for (const auto& source : sources_) {
        if (source->application == instance.application()) {
            const auto found = source->entries.find(attribute);
            return found != source->entries.end() && found->second.since != never
                       ? std::optional(clock_.now() - found->second.since)
                       : std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace MrpAgent
