#pragma once

#include "mrp/MrpSm/root/MrpSm.h"

namespace MrpFuzz {

// What holds of an engine between any two events; ends the process where it does not. Registrations
// that leave are looked at only while `leavesAreTimed`.
void checkInvariants(Mrp::MrpSm& mrpSm, bool leavesAreTimed);

// What holds of an interface that the event before has disabled.
void checkForgotten(Mrp::MrpSm& mrpSm, Platform::IntfId intfId);

// What holds of an active engine that has been left alone for so long that each of its interfaces
// has seen a LeaveAll and the leaves that it begins.
void checkAtRest(Mrp::MrpSm& mrpSm);

}  // namespace MrpFuzz
