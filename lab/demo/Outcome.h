#pragma once

#include <iosfwd>
#include <vector>

#include "lab/demo/Sight.h"

namespace MrpLab {

// Says what differs from the stages, of which there are as many as sights, and the last line: what
// was registered in the first stage, what of that was lost in the second, what came back in the
// third, what was gone in the fourth if there is one, and how many differences there are.
// Returns the program's exit status: 0 when there are none.
int printOutcome(std::ostream& out, const std::vector<Stage>& stages,
                 const std::vector<Sight>& sights);

}  // namespace MrpLab
