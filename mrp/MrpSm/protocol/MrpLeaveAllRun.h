#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "mrp/MrpSm/database/RunRecords.h"
#include "mrp/MrpSm/protocol/MrpLeaveSm.h"
#include "mrp/MrpSm/transmit/MrpTxRun.h"

namespace Mrp {

class MrpSm;

// Which attributes of one interface and type a LeaveAll or Re-declare! reaches, and with what.
struct MrpLeaveAllEvents {
    IntfId intfId;
    AttributeType attributeType = 0;
    MrpApplicantEvent applicantEvent = MrpApplicantEvent::none;
    // Nothing where the registrars are not told.
    std::optional<MrpRegistrarEvent> registrarEvent;
};

// Such an event gives nearly every attribute the same to do: a message, and a registration that
// begins to leave. A run takes those attributes past the state machines, with the records, the
// packets and the leave timer in hand. It leaves to the machines what a trace would tell of, what
// ends in a deletion, and types that the application lacks.
//
// What the machines would leave behind, the attribute in hand with its images and events, is there
// when a frame is sent and when the run ends; the leave timer is set when it ends. Observers of the
// database are told of records as ever, and look at nothing else. A run is over when a frame may
// have been sent, as then all that it has in hand may be something else.
class MrpLeaveAllRun {
  public:
    // What the applicant does, by its state and by whether the attribute is registered: attribute
    // events into the first and into the second packet, then the next state.
    struct Step {
        std::array<std::uint8_t, 2> messages{noMessage, noMessage};
        MrpApplicantState next = MrpApplicantState::VO;
    };
    using Steps = std::array<std::array<Step, 2>, applicantStates>;
    static constexpr std::uint8_t noMessage = 0xff;

    MrpLeaveAllRun(MrpSm& mrpSm, const MrpLeaveAllEvents& events);
    MrpLeaveAllRun(const MrpLeaveAllRun&) = delete;
    MrpLeaveAllRun& operator=(const MrpLeaveAllRun&) = delete;

    // Takes the keys from `next` on, and leaves `next` at the first one that is for the machines,
    // or at the end. `assumed` tells for a key the registrar state that its applicant is to see, if
    // it is another. An error that leaves an observer of the database leaves `next` behind the key.
    template <class Assumed>
    static void pass(MrpSm& mrpSm, const MrpLeaveAllEvents& events,
                     std::span<const AttributeKey> keys, std::size_t& next, Assumed assumed) {
        while (next < keys.size()) {
            MrpLeaveAllRun run(mrpSm, events);
            if (run.over()) {
                return;
            }
            bool machine = false;
            try {
                while (!run.over() && !machine && next < keys.size()) {
                    const AttributeKey key = keys[next++];
                    machine = !run.take(key, assumed(key));
                }
            } catch (...) {
                run.finish();
                throw;
            }
            next -= machine ? 1 : 0;
            run.finish();
            if (machine) {
                return;
            }
        }
    }

  private:
    bool over() const { return over_; }
    bool take(AttributeKey key, std::optional<MrpRegistrarState> assumed);
    void send(MrpAttrDatabase& record, std::uint8_t attributeEvent, bool second);
    void startLeave(AttributeKey key);
    void show();
    void finish();

    MrpSm& mrpSm_;
    MrpLeaveAllEvents events_;
    const Steps& steps_;
    RunRecords records_;
    bool over_;
    std::optional<MrpTxRun> tx_;  // from the first message on
    std::optional<AttributeKey> inHand_;
    Ptr<MrpAttrDatabase> lastRecord_;  // kept from when the run is over
    bool registrarTold_ = false;
    Ptr<MrpLeaveSm> leaveTimer_;  // from the first leave on
    bool leavesBegun_ = false;
};

}  // namespace Mrp
