#include "mrp/MrpSm/database/MrpAttrIter.h"

#include <array>
#include <bit>

#include "platform/base/Text.h"

namespace Mrp {

std::uint32_t hashOf(const MrpAttrIter::Key& key) {
    std::uint32_t hash = 0;
    const auto mix = [&hash](std::uint32_t number) {
        hash += number;
        hash += hash << 10U;
        hash ^= hash >> 6U;
    };
    for (const std::uint8_t octet : std::bit_cast<std::array<std::uint8_t, 8>>(key.intfId)) {
        mix(octet);
    }
    mix(key.attributeType);
    hash += hash << 3U;
    hash ^= hash >> 11U;
    hash += hash << 15U;
    return hash;
}

std::string valueToStrep(const MrpAttrIter::Key& key) {
    return formatText("Value('Mrp::MrpAttrIter::Key', ** {'intfId': %s, 'attributeType': %s})",
                      {key.intfId.name(), std::to_string(key.attributeType)});
}

}  // namespace Mrp
