#pragma once

#include <string>
#include <string_view>

#include "agent/mrpctl/Json.h"

namespace MrpCtl {

// What stands in a cell without a value, so that lines have the same number of words.
constexpr auto noValue = "-";

// The text with its control characters (C0, DEL and C1) as "\x1b" shows them: what names hold must
// not drive a terminal.
std::string printable(std::string_view text);

// A value of any kind: texts printable, lists with commas between, noValue for null and whatever is
// empty.
std::string cellText(const Json& value);

// The member of a row; null when the row has none or is no object.
const Json& memberOf(const Json& row, const char* name);
// cellText of it.
std::string cellOf(const Json& row, const char* name);

// Seconds as people say them: "3s", "2m05s", "1h02m", "3d4h". noValue for what is no number.
std::string ageText(const Json& seconds);
// The same, in tenths below a minute: "4.1s".
std::string dueText(const Json& seconds);

}  // namespace MrpCtl
