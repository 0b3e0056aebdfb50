#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Platform {

// A registration with a Notification. Dropping it ends the reaction at once, also in the middle of
// a notification; it may outlive the Notification.
class [[nodiscard]] Reactor {
  public:
    Reactor() = default;
    explicit Reactor(std::function<void()> drop) : drop_(std::move(drop)) {}
    Reactor(Reactor&& other) noexcept : drop_(std::exchange(other.drop_, nullptr)) {}
    Reactor& operator=(Reactor&& other) noexcept {
        if (this != &other) {
            reset();
            drop_ = std::exchange(other.drop_, nullptr);
        }
        return *this;
    }
    ~Reactor() { reset(); }

    void reset() {
        if (auto drop = std::exchange(drop_, nullptr)) {
            drop();
        }
    }
    explicit operator bool() const { return static_cast<bool>(drop_); }

  private:
    std::function<void()> drop_;
};

// A change that others react to. Reactors run in the order in which they were made, synchronously,
// inside notify(). Inside a notification a reactor may drop itself, drop others (which then are not
// called any more), add reactors (called from the next notification on), or destroy the
// Notification. An error that leaves a reactor leaves notify() too, and the reactors behind it are
// not called.
template <class... Args>
class Notification {
  public:
    using Reaction = std::function<void(Args...)>;

    Reactor react(Reaction reaction) {
        auto slot = std::make_shared<Slot>();
        slot->reaction = std::move(reaction);
        state_->slots.push_back(slot);
        return Reactor([weak = std::weak_ptr<State>(state_), slot] {
            slot->live = false;
            if (auto state = weak.lock(); state && state->depth == 0) {
                std::erase(state->slots, slot);
            }
        });
    }

    void notify(Args... args) const {
        const std::shared_ptr<State> state = state_;
        const Depth depth(*state);
        const std::size_t count = state->slots.size();
        for (std::size_t i = 0; i < count; ++i) {
            const std::shared_ptr<Slot> slot = state->slots[i];
            if (slot->live) {
                slot->reaction(args...);
            }
        }
    }

    bool empty() const { return state_->slots.empty(); }

  private:
    struct Slot {
        Reaction reaction;
        bool live = true;
    };
    struct State {
        std::vector<std::shared_ptr<Slot>> slots;
        int depth = 0;
    };
    // Dropped slots stay in place while a notification walks over them.
    class Depth {
      public:
        explicit Depth(State& state) : state_(state) { ++state_.depth; }
        Depth(const Depth&) = delete;
        Depth& operator=(const Depth&) = delete;
        ~Depth() {
            if (--state_.depth > 0) {
                return;
            }
            // What a dropped reaction holds may be a Reactor of this same notification, so dropped
            // slots die only when the list is whole again.
            auto& slots = state_.slots;
            const auto firstDropped = std::stable_partition(
                slots.begin(), slots.end(), [](const auto& slot) { return slot->live; });
            const std::vector<std::shared_ptr<Slot>> dropped(firstDropped, slots.end());
            slots.erase(firstDropped, slots.end());
        }

      private:
        State& state_;
    };

    std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace Platform
