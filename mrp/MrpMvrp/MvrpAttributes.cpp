#include "mrp/MrpMvrp/MvrpAttributes.h"

#include <ostream>

namespace Mrp {

std::ostream& operator<<(std::ostream& out, const MvrpVlanAttribute& value) {
    return out << static_cast<std::uint16_t>(value.vlanId);
}

}  // namespace Mrp
