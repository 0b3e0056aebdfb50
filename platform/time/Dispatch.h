#pragma once

#include <exception>

#include "platform/log/Trace.h"

namespace Platform {

// Runs one callback of an event loop. An error that leaves it (a value out of its range) is traced
// and counted, and the loop goes on; failed assertions abort.
class DispatchErrors {
  public:
    static unsigned long long count() { return count_; }
    static void add(const std::exception& error);

  private:
    static unsigned long long count_;
};

template <class Callback>
void dispatch(Callback&& callback) {
    try {
        callback();
    } catch (const std::exception& error) {
        DispatchErrors::add(error);
    }
}

}  // namespace Platform
