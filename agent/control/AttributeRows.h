#pragma once

#include <functional>
#include <optional>

#include "agent/control/AttributeAges.h"
#include "agent/control/AttributeCursor.h"
#include "agent/control/RowSource.h"

namespace MrpAgent {

// The members that name an attribute: application, port, attributeType and key.
Json attributeName(Mrp::MrpApplication application, const Mrp::MrpAttribute& attribute);
// The states of a record, by name: applicant and registrar.
Json recordStates(const Mrp::MrpAttrDatabase& record);
// The octets of a record's value, and what is in them under the names of the configuration.
std::span<const std::uint8_t> recordOctets(Mrp::MrpApplication application,
                                           Mrp::AttributeType attributeType,
                                           const Mrp::MrpAttrDatabase& record);
// An age as clients see it, to the millisecond.
Json ageJson(std::optional<Platform::Seconds> age);

// `show attributes` and `show domain`: a row an attribute.
class AttributeRows final : public RowSource {
  public:
    enum class Table { attributes, domain };

    // The node and the ages outlive it.
    AttributeRows(const ControlNode& node, const AttributeAges& ages, AttributeFilter filter,
                  Table table);

    bool next(Row& row) override;

  private:
    const AttributeAges& ages_;
    AttributeFilter filter_;
    Table table_;
    AttributeCursor cursor_;
};

}  // namespace MrpAgent
