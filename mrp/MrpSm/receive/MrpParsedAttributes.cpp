#include "mrp/MrpSm/receive/MrpParsedAttributes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <tuple>

#include "mrp/MrpSm/types/MrpValueImage.h"

namespace Mrp {

namespace {

// Vectors are sorted to see whether they overlap; short ones are many, and indexed instead.
constexpr std::size_t longVector = 8;

AttributeKey keyMaskOf(AttributeType attributeType, MrpApplication application) {
    if (application == MrpApplication::mvrp) {
        return UINT16_MAX;
    }
    return attributeType == domainType ? UINT8_MAX : UINT64_MAX;
}

}  // namespace

std::uint8_t* MrpParsedAttributes::vectorIs(AttributeType attributeType, MrpApplication application,
                                            AttributeKey firstKey,
                                            std::span<const std::uint8_t> firstValue,
                                            std::uint16_t values) {
    if (!vectors_.empty()) {
        const MrpParsedVector& before = vectors_.back();
        ascending_ =
            ascending_ && (before.attributeType < attributeType ||
                           (before.attributeType == attributeType && before.lastKey() < firstKey));
    }
    const std::size_t begin = octets_.size();
    MrpParsedVector& vector = vectors_.emplace_back();
    vector.firstKey = firstKey;
    vector.keyMask = keyMaskOf(attributeType, application);
    vector.application = application;
    vector.octets = static_cast<std::uint32_t>(begin);
    vector.values = values;
    vector.valueSize = static_cast<std::uint8_t>(firstValue.size());
    vector.attributeType = attributeType;
    wraps_ = wraps_ || values - 1U > vector.keyMask - firstKey;
    repeats_.reset();
    values_ += values;
    const std::size_t perValue = vector.isListener() ? 2 : 1;
    octets_.resize(begin + firstValue.size() + perValue * values);
    const auto octets = octets_.begin() + static_cast<std::ptrdiff_t>(begin);
    return &*std::copy(firstValue.begin(), firstValue.end(), octets);
}

void MrpParsedAttributes::delAll() {
    vectors_.clear();
    octets_.clear();
    values_ = 0;
    ascending_ = true;
    wraps_ = false;
    repeats_.reset();
    index_.delAll();
    indexed_ = 0;
}

std::size_t MrpParsedAttributes::size() const {
    return index().size();
}

bool MrpParsedAttributes::repeats() const {
    if (ascending_ && !wraps_) {
        return false;
    }
    if (!repeats_) {
        const bool sort = !wraps_ && values_ >= longVector * vectors_.size();
        repeats_ = sort ? rangesOverlap() : size() != values_;
    }
    return *repeats_;
}

bool MrpParsedAttributes::rangesOverlap() const {
    using Range = std::tuple<AttributeType, AttributeKey, AttributeKey>;
    std::vector<Range> ranges;
    ranges.reserve(vectors_.size());
    for (const MrpParsedVector& vector : vectors_) {
        ranges.emplace_back(vector.attributeType, vector.firstKey, vector.lastKey());
    }
    std::sort(ranges.begin(), ranges.end());
    const auto overlap = [](const Range& one, const Range& next) {
        return std::get<0>(one) == std::get<0>(next) && std::get<2>(one) >= std::get<1>(next);
    };
    return std::adjacent_find(ranges.begin(), ranges.end(), overlap) != ranges.end();
}

const MrpParsedIndex& MrpParsedAttributes::index() const {
    for (; indexed_ < vectors_.size(); ++indexed_) {
        const MrpParsedVector& vector = vectors_[indexed_];
        for (std::uint32_t value = 0; value < vector.values; ++value) {
            index_.placeIs({vector.attributeType, vector.key(value)}, {indexed_, value});
        }
    }
    return index_;
}

std::optional<MrpParsedPlace> MrpParsedAttributes::find(const MrpParsedAttributeKey& key) const {
    const MrpParsedPlace* place = index().find(key);
    return place != nullptr ? std::optional(*place) : std::nullopt;
}

std::optional<std::uint8_t> MrpParsedAttributes::event(const MrpParsedAttributeKey& key) const {
    if (empty()) {
        return std::nullopt;
    }
    const auto place = find(key);
    return place ? std::optional(events(vectors_[place->vector])[place->value]) : std::nullopt;
}

void MrpParsedAttributes::copyValue(const MrpParsedPlace& place,
                                    std::span<std::uint8_t> octets) const {
    const MrpParsedVector& vector = vectors_[place.vector];
    std::copy_n(octets_.begin() + vector.octets, octets.size(), octets.begin());
    mrpAdvanceValue(octets, vector.attributeType, vector.application, place.value);
    if (vector.isListener()) {
        octets[sizeof(MsrpListenerStreamAttribute)] = events(vector)[vector.values + place.value];
    }
}

MrpParsedAttribute MrpParsedAttributes::attribute(const MrpParsedPlace& place) const {
    const MrpParsedVector& vector = vectors_[place.vector];
    const MrpParsedAttributeKey key{vector.attributeType, vector.key(place.value)};
    const MrpParsedPlace last = repeats() ? find(key).value_or(place) : place;
    MrpParsedAttribute attribute(key);
    attribute.attributeEventIs(events(vectors_[last.vector])[last.value]);
    std::array<std::uint8_t, sizeof(MsrpTalkerFailedAttribute)> octets{};
    const auto value = std::span(octets).first(vector.valueSize);
    copyValue(last, value);
    attribute.attributeValue().assign(value);
    return attribute;
}

}  // namespace Mrp
