#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "agent/control/ControlNode.h"
#include "platform/time/Clock.h"

namespace MrpAgent {

// Since when each registrar has been in its state. It follows the committed records of all
// applications, at the price of a look-up a change, and has an entry for each record.
class AttributeAges final {
  public:
    // The clock outlives it.
    explicit AttributeAges(Platform::Clock& clock) : clock_(clock) {}
    AttributeAges(const AttributeAges&) = delete;
    AttributeAges& operator=(const AttributeAges&) = delete;

    // Follows these from now on. Of what they hold by now nothing is known until it changes.
    void instancesAre(ControlNode::Instances instances);

    // In seconds; nothing where it is not known, or there is no record.
    std::optional<Platform::Seconds> age(const MrpInstance& instance,
                                         const Mrp::MrpAttribute& attribute) const;

  private:
    struct Entry {
        Platform::Seconds since;
        Mrp::MrpRegistrarState state;
    };
    using Entries = std::map<Mrp::MrpAttribute, Entry>;
    struct Source {
        Mrp::MrpApplication application;
        Entries entries;
        // Where the last look-up ended. Records change in runs, so the next one is mostly the same
        // or the one behind it.
        Entries::iterator last;
        Platform::Reactor reactor;
    };

    void follow(Source& source, Mrp::MrpApplicationDatabase& database);
    void handleRecord(Source& source, const Mrp::MrpAttribute& attribute,
                      const Mrp::MrpAttrDatabase* record) const;

    Platform::Clock& clock_;
    std::vector<std::unique_ptr<Source>> sources_;
};

}  // namespace MrpAgent
