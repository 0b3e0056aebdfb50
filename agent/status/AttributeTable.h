#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/instance/MrpInstance.h"

namespace MrpAgent {

// One attribute as an engine holds it now.
struct AttributeRow {
    Mrp::MrpAttribute attribute;
    Mrp::MrpApplicantState applicant;
    Mrp::MrpRegistrarState registrar;
    std::vector<std::uint8_t> value;  // the octets of the value record
};

// Every attribute of the instance's application, by interface, type and key. What waits to enter
// the database is in it, what waits to leave it is not.
std::vector<AttributeRow> attributeTable(const MrpInstance& instance);

// The engine's counters by name; zero on a standby engine.
using CounterTable = std::array<std::pair<std::string_view, Mrp::MrpCounters::Count>, 10>;
CounterTable counterTable(const MrpInstance& instance);

}  // namespace MrpAgent
