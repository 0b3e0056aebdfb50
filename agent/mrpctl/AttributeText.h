#pragma once

#include <string>

#include "agent/mrpctl/Json.h"

namespace MrpCtl {

// An attribute among those of its type: the VLAN, Stream ID or SR class, which rows that do not
// have it by name have in their "key".
std::string attributeName(const Json& row);

// The member "event" is a listener's, but in rows of `watch` it may be the row's own.
enum class Details { withEvent, withoutEvent };

// What else is in the attribute's value: "vlanId=2 priority=3"; noValue when that is nothing.
std::string attributeDetails(const Json& row, Details details);

}  // namespace MrpCtl
