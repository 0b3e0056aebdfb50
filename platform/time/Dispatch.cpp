#include "platform/time/Dispatch.h"

namespace Platform {

namespace {
TraceSource dispatchTrace("Dispatch");
}

unsigned long long DispatchErrors::count_ = 0;

void DispatchErrors::add(const std::exception& error) {
    ++count_;
    PLATFORM_TRACE(dispatchTrace, 0, "error in a callback: " << error.what());
}

}  // namespace Platform
