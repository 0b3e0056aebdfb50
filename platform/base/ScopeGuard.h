#pragma once

#include <utility>

namespace Platform {

// Runs its action when the scope is left, by whatever way.
template <class Action>
class [[nodiscard]] ScopeGuard {
  public:
    explicit ScopeGuard(Action action) : action_(std::move(action)) {}
    ScopeGuard(const ScopeGuard&) = delete;
    ScopeGuard& operator=(const ScopeGuard&) = delete;
    ~ScopeGuard() { action_(); }

  private:
    Action action_;
};

}  // namespace Platform
