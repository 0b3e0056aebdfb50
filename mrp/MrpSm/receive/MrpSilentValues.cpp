#include <array>
#include <cstring>
#include <optional>

#include "mrp/MrpSm/database/RunRecords.h"
#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/time/Dispatch.h"

// After a LeaveAll neighbours declare again what they have declared before: each registration
// returns from LV to IN with the value that it has, and an applicant of ours that does not declare
// watches. Nothing comes of that but other states. Such values are taken here by the vector,
// without the machines; what these would leave behind is there when a run ends.

namespace Mrp {

namespace {

// What becomes of an attribute when an event reaches it.
struct Step {
    enum class Registrar : std::uint8_t {
        machine,  // for the machines, whatever the applicant does
        stays,
        stillIn,  // stays IN: the join is counted
        returns,  // from LV to IN: its leave ends
    };
    Registrar registrar = Registrar::machine;
    MrpApplicantState applicant = MrpApplicantState::VO;
};

constexpr std::size_t wireEvents = 8;
using Steps =
    std::array<std::array<std::array<Step, wireEvents>, registrarStates>, applicantStates>;

Step::Registrar registrarStep(MrpRegistrarState state, MrpRegistrarEvent event) {
    switch (event) {
    case MrpRegistrarEvent::none:
        return Step::Registrar::stays;
    case MrpRegistrarEvent::rxJoinIn:
    case MrpRegistrarEvent::rxJoinMt:
        return state == MrpRegistrarState::IN   ? Step::Registrar::stillIn
               : state == MrpRegistrarState::LV ? Step::Registrar::returns
                                                : Step::Registrar::machine;
    default:
        return Step::Registrar::machine;
    }
}

Step stepOf(MrpApplicantState applicant, MrpRegistrarState registrar, std::uint8_t event) {
    const MrpApplicantCell& cell =
        mrpApplicantCell(applicant, MrpApplicantSm::mrpMapRxApplicantEvent(event));
    Step step;
    step.applicant = cell.ignored ? applicant : cell.next;
    const bool deleted =
        step.applicant == MrpApplicantState::VO && registrar == MrpRegistrarState::MT;
    if (!cell.sends() && !deleted) {
        step.registrar = registrarStep(registrar, MrpRegistrarSm::mrpMapRxRegistrarEvent(event));
    }
    return step;
}

Steps makeSteps() {
    Steps steps;
    for (std::size_t applicant = 0; applicant < applicantStates; ++applicant) {
        for (std::size_t registrar = 0; registrar < registrarStates; ++registrar) {
            for (std::uint8_t event = 0; event < wireEvents; ++event) {
                steps[applicant][registrar][event] =
                    stepOf(static_cast<MrpApplicantState>(applicant),
                           static_cast<MrpRegistrarState>(registrar), event);
            }
        }
    }
    return steps;
}

const Steps steps = makeSteps();

Step stepAt(const MrpAttrDatabase& record, std::uint8_t event) {
    const auto applicant = static_cast<std::size_t>(record.applicantState());
    const auto registrar = static_cast<std::size_t>(record.registrarState());
    return applicant < applicantStates && registrar < registrarStates
               ? steps[applicant][registrar][event]
               : Step();
}

// Whether the record stores the value of the place. The octets of a VLAN are its key.
bool stores(const MrpAttrDatabase& record, const MrpParsedAttributes& parsed,
            const MrpParsedPlace& place) {
    const MrpParsedVector& vector = parsed.vectors()[place.vector];
    if (vector.application == MrpApplication::mvrp) {
        return true;
    }
    std::array<std::uint8_t, MrpAttrDatabase::maxValueSize> octets;
    const std::size_t size = mrpSizeOfStoredValue(vector.attributeType, vector.application);
    parsed.copyValue(place, std::span(octets).first(size));
    return record.attributeValue().size() >= size &&
           std::memcmp(octets.data(), record.attributeValue().data(), size) == 0;
}

}  // namespace

// A run over values of the vector at the queue's head whose registrars all do the same.
class MrpSm::SilentRun {
  public:
    SilentRun(const MrpParsedAttributes& parsed, const MrpParsedPlace& first,
              const RunRecords& records)
        : parsed_(parsed),
          vector_(parsed.vectors()[first.vector]),
          first_(first.value),
          place_(first),
          records_(records) {
        while (!failed_ && place_.value < vector_.values && take()) {
            ++place_.value;
        }
    }

    Step::Registrar registrars() const { return registrars_; }
    // Where it ended.
    const MrpParsedPlace& end() const { return place_; }
    // How many values were taken to their end: all, or all but the last.
    std::uint32_t taken() const { return place_.value - first_ - (failed_ ? 1 : 0); }
    AttributeKey firstKey() const { return vector_.key(first_); }
    AttributeKey lastTakenKey() const { return vector_.key(first_ + taken() - 1); }

  private:
    bool take();

    const MrpParsedAttributes& parsed_;
    MrpParsedVector vector_;
    std::uint32_t first_;
    MrpParsedPlace place_;
    RunRecords records_;
    Step::Registrar registrars_ = Step::Registrar::machine;
    bool failed_ = false;  // at the last value, by an error of an observer of the database
};

bool MrpSm::SilentRun::take() {
    const AttributeKey key = vector_.key(place_.value);
    MrpAttrDatabase* const record = records_.find(key);
    if (record == nullptr || key < firstKey()) {
        return false;
    }
    const Step step = stepAt(*record, parsed_.eventAt(place_));
    if (step.registrar == Step::Registrar::machine ||
        (step.registrar != Step::Registrar::stays && !stores(*record, parsed_, place_))) {
        return false;
    }
    if (place_.value == first_) {
        if (parsed_.repeats()) {
            return false;
        }
        registrars_ = step.registrar;
    }
    if (step.registrar != registrars_) {
        return false;
    }
    failed_ = true;
    dispatch([this, record, &step] {
        record->applicantStateIs(step.applicant);
        if (step.registrar == Step::Registrar::returns) {
            record->registrarStateIs(MrpRegistrarState::IN);
        }
        failed_ = false;
    });
    return true;
}

bool MrpSm::passSilentValues(MrpParsedQueue& queue, IntfId intfId) {
    if (mrpSmTrace.enabled(handlerTraceLevel) || queue.empty() || queue.headVector().isDomain()) {
        return false;
    }
    const AttributeType type = queue.headVector().attributeType;
    const MrpParsedPlace first = queue.head();
    const SilentRun run(mrpParsedAttribute_, first, RunRecords(*this, intfId, type));
    if (run.end().value == first.value) {
        return false;
    }
    queue.headIs(run.end());
    if (run.registrars() == Step::Registrar::stillIn) {
        mrpCounters_->numOfJoinIndicationsInc(run.taken());
    } else if (run.registrars() == Step::Registrar::returns && run.taken() > 0) {
        registrarSm_->mrpDeleteRunFromLeavePending({intfId, type, run.firstKey()},
                                                   run.lastTakenKey());
    }
    const MrpParsedPlace last{first.vector, run.end().value - 1};
    loadImages(last);
    showQuietValue(last, intfId);
    return true;
}

}  // namespace Mrp
