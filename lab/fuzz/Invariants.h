#pragma once

#include <set>

#include "mrp/MrpSm/root/MrpSm.h"

namespace MrpFuzz {

// What holds of an engine between any two events; ends the process where it does not. Registrations
// that leave are looked at only while `leavesAreTimed`.
void checkInvariants(Mrp::MrpSm& mrpSm, bool leavesAreTimed);

// What holds of an interface that the event before has disabled.
void checkForgotten(Mrp::MrpSm& mrpSm, Platform::IntfId intfId);

// The attributes whose registration is leaving.
std::set<Mrp::MrpAttribute> leaving(const Mrp::MrpSm& mrpSm);

// What holds of an active engine that has been left alone for so long that each of its interfaces
// has seen a LeaveAll and the leaves that it begins. `left` were still leaving a second before, the
// longest that a review is put off: a leave that was given more time may end at any moment, and its
// deletion waits for the review.
void checkAtRest(Mrp::MrpSm& mrpSm, const std::set<Mrp::MrpAttribute>& left);

}  // namespace MrpFuzz
