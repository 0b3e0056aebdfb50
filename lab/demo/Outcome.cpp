#include "lab/demo/Outcome.h"

#include <ostream>

#include "platform/base/Assert.h"

namespace MrpLab {

int printOutcome(std::ostream& out, const std::vector<Stage>& stages,
                 const std::vector<Sight>& sights) {
    constexpr std::size_t least = 3;
    Platform::require(sights.size() == stages.size() && sights.size() >= least,
                      "a story is judged as a whole");
    std::size_t missing = 0;
    for (std::size_t i = 0; i < stages.size(); ++i) {
        for (const std::string& line : sights[i].differences(stages[i])) {
            out << stages[i].name << ": " << line << "\n";
            ++missing;
        }
    }
    const Sight& first = sights[0];
    out << "demo: " << first.registrations() << " registered, "
        << first.registrationsWithout(sights[1]) << " lost with a link, "
        << sights[2].registrationsWithout(sights[1]) << " back";
    if (sights.size() > least) {
        out << ", " << sights[2].registrationsWithout(sights[least]) << " withdrawn";
    }
    out << ", " << missing << " missing" << std::endl;
    return missing == 0 ? 0 : 1;
}

}  // namespace MrpLab
