#pragma once

#include <array>
#include <cstdint>

namespace Mrp {

// What one port of an application has received and sent, since the counters were last zeroed.
struct MrpPortCounters {
    using Count = std::uint64_t;

    // The attribute events of MRPDUs.
    struct Events {
        // By three-packed code (clause 10.8.2.10.1); 6 and 7 are codes that stand for no event.
        std::array<Count, 8> values{};
        Count leaveAlls = 0;  // vectors with a LeaveAll

        void add(const Events& other);
        bool operator==(const Events&) const = default;
    };

    Count pdusIn = 0;        // frames for the application, malformed ones among them
    Count pdusOut = 0;       // taken by the interface
    Count malformed = 0;     // of those that came in, each once
    Count sendFailures = 0;  // not taken by the interface, and lost
    Events eventsIn;
    Events eventsOut;  // of MRPDUs that were sent

    bool operator==(const MrpPortCounters&) const = default;
};

inline void MrpPortCounters::Events::add(const Events& other) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] += other.values[i];
    }
    leaveAlls += other.leaveAlls;
}

}  // namespace Mrp
