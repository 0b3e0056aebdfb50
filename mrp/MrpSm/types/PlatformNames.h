#pragma once

namespace Platform {}

namespace Mrp {

// The engine speaks the platform's vocabulary (IntfId, Seconds, Ptr, Pkt …) unqualified.
using namespace Platform;  // NOLINT(google-build-using-namespace)

}  // namespace Mrp
