#pragma once

#include <limits>

namespace Platform {

// A time or a span in seconds. Times count from the clock's own origin and mean nothing elsewhere.
using Seconds = double;

// An expiry that never comes: what is set to it is parked.
inline constexpr Seconds never = std::numeric_limits<Seconds>::infinity();

}  // namespace Platform
