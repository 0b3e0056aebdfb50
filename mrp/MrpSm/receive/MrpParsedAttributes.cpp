#include "mrp/MrpSm/receive/MrpParsedAttributes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <tuple>

#include "mrp/MrpSm/transmit/MrpEventPacking.h"
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

MrpParsedVector MrpParsedVector::of(AttributeType attributeType, MrpApplication application) {
    MrpParsedVector vector;
    vector.attributeType = attributeType;
    vector.application = application;
    vector.keyMask = keyMaskOf(attributeType, application);
    vector.valueSize = mrpSizeOfAttribute(attributeType, application);
    return vector;
}

std::span<std::uint8_t> MrpParsedAttributes::octetsAre(std::span<const std::uint8_t> octets) {
    const auto begin = static_cast<std::ptrdiff_t>(octets_.size());
    octets_.insert(octets_.end(), octets.begin(), octets.end());
    return {octets_.begin() + begin, octets_.end()};
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
    return place ? std::optional(eventAt(*place)) : std::nullopt;
}

std::uint8_t MrpParsedAttributes::eventAt(const MrpParsedPlace& place) const {
    return threePackedEvent(threePacked(vectors_[place.vector]), place.value);
}

void MrpParsedAttributes::copyValue(const MrpParsedPlace& place,
                                    std::span<std::uint8_t> octets) const {
    const MrpParsedVector& vector = vectors_[place.vector];
    std::copy_n(firstValue(vector), vector.valueSize, octets.begin());
    mrpAdvanceValue(octets, vector.attributeType, vector.application, place.value);
    if (vector.isListener()) {
        const std::uint8_t* const fourPacked =
            threePacked(vector) + threePackedBytes(vector.values);
        const auto declaration = octets.subspan(vector.valueSize);
        std::ranges::fill(declaration, std::uint8_t{0});
        declaration.front() = fourPackedEvent(fourPacked, place.value);
    }
}

MrpParsedAttribute MrpParsedAttributes::attribute(const MrpParsedPlace& place) const {
    const MrpParsedVector& vector = vectors_[place.vector];
    const MrpParsedAttributeKey key{vector.attributeType, vector.key(place.value)};
    const MrpParsedPlace last = repeats() ? find(key).value_or(place) : place;
    MrpParsedAttribute attribute(key);
    attribute.attributeEventIs(eventAt(last));
    std::array<std::uint8_t, sizeof(MsrpTalkerFailedAttribute)> octets{};
    const auto value =
        std::span(octets).first(mrpSizeOfStoredValue(vector.attributeType, vector.application));
    copyValue(last, value);
    attribute.attributeValue().assign(value);
    return attribute;
}

}  // namespace Mrp
