#include "mrp/MrpSm/types/MrpAttribute.h"

#include <ostream>

#include "mrp/MrpSm/types/MrpParameters.h"
#include "platform/base/Environment.h"
#include "platform/base/Text.h"

namespace Mrp {

const std::uint64_t attributeHashSeed = hashSeed();

std::ostream& operator<<(std::ostream& out, const MrpAttribute& attribute) {
    return out << "(" << attribute.intfId.name() << ", " << +attribute.attributeType << ", 0x"
               << hexStr(attribute.key) << ")";
}

std::ostream& operator<<(std::ostream& out, const MrpParameters& parameters) {
    return out << "(" << parameters.intfId.name() << ", " << +parameters.attributeType << ", "
               << +parameters.attributeEvent << (parameters.last ? ", last)" : ")");
}

}  // namespace Mrp
