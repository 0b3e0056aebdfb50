#include "Frames.h"

#include <algorithm>
#include <initializer_list>
#include <random>
#include <span>

#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "mrp/MrpSm/types/MrpEnums.h"
#include "platform/base/BigEndian.h"

namespace MrpBench {

using namespace Mrp;

namespace {

// How many octets the number of a field has.
enum class Width : unsigned { two = 2, eight = 8 };

void put(Frame& frame, std::uint64_t number, Width width) {
    for (unsigned octets = static_cast<unsigned>(width); octets > 0; --octets) {
        frame.push_back(static_cast<std::uint8_t>(number >> (8 * (octets - 1))));
    }
}

// The packed events of one event for that many values.
std::vector<std::uint8_t> packed(std::uint16_t values, std::uint8_t attributeEvent) {
    std::vector<std::uint8_t> octets(threePackedBytes(values));
    for (std::size_t n = 1; n <= values; ++n) {
        mrpEncodeThreePackedEvent(octets.data(), attributeEvent, n);
    }
    return octets;
}

Frame mvrpHead(std::uint8_t lastOctetOfSource = 0x99) {
    constexpr std::uint8_t vlanLength = 2;
    return {0x01, 0x80, 0xc2, 0x00,     0x00,      0x21,
            0x02, 0x00, 0x00, 0x00,     0x00,      lastOctetOfSource,
            0x88, 0xf5, 0x00, vlanType, vlanLength};
}

void putVlanVector(Frame& frame, unsigned header, std::uint16_t vlan, std::uint8_t event) {
    put(frame, header, Width::two);
    put(frame, vlan, Width::two);
    const auto values = static_cast<std::uint16_t>(header & VectorHeader::numOfValuesMask);
    const std::vector<std::uint8_t> events = packed(values, event);
    frame.insert(frame.end(), events.begin(), events.end());
}

// The EndMarks of the message and of the MRPDU.
void putEndMarks(Frame& frame) {
    frame.insert(frame.end(), 2 * endMarkSize, 0);
}

constexpr std::size_t listenerLength = 8;
constexpr std::size_t listLengthAt = ethHeaderOctets + 3;

Frame msrpHead() {
    return {0x01, 0x80, 0xc2, 0x00, 0x00, 0x0e,         0x02,           0x00, 0x00, 0x00,
            0x00, 0x99, 0x22, 0xea, 0x00, listenerType, listenerLength, 0x00, 0x00};
}

std::size_t listenerVectorOctets(std::uint16_t values) {
    return VectorHeader::size + listenerLength + threePackedBytes(values) + fourPackedBytes(values);
}

void putListenerVector(Frame& frame, const StreamRun& run, std::uint8_t attributeEvent) {
    put(frame, run.values, Width::two);
    put(frame, run.first, Width::eight);
    const std::vector<std::uint8_t> events = packed(run.values, attributeEvent);
    frame.insert(frame.end(), events.begin(), events.end());
    std::vector<std::uint8_t> declarations(fourPackedBytes(run.values));
    for (std::size_t n = 1; n <= run.values; ++n) {
        mrpEncodeFourPackedEvent(declarations.data(), MsrpListenerEvent::ready, n);
    }
    frame.insert(frame.end(), declarations.begin(), declarations.end());
}

Frame finishedMsrp(Frame frame) {
    const std::size_t listLength = frame.size() + endMarkSize - (listLengthAt + 2);
    Platform::writeBe16(frame.data() + listLengthAt, static_cast<std::uint16_t>(listLength));
    putEndMarks(frame);
    return frame;
}

}  // namespace

std::vector<std::uint8_t> packedJoinIn(std::uint16_t values) {
    return packed(values, AttributeEvent::joinIn);
}

Frame fullMvrpFrame() {
    Frame frame = mvrpHead();
    putVlanVector(frame, vlans, firstVlan, AttributeEvent::joinIn);
    putEndMarks(frame);
    return frame;
}

Frame fullMvrpLeaveAllFrame(std::uint8_t lastOctetOfSource) {
    Frame frame = mvrpHead(lastOctetOfSource);
    putVlanVector(frame, VectorHeader::leaveAllBit | unsigned{vlans}, firstVlan,
                  AttributeEvent::joinIn);
    putEndMarks(frame);
    return frame;
}

Frame emptyLeaveAllFrame(std::size_t vectors) {
    Frame frame = mvrpHead();
    for (std::size_t i = 0; i < vectors; ++i) {
        putVlanVector(frame, VectorHeader::leaveAllBit, 0, 0);
    }
    putEndMarks(frame);
    return frame;
}

Frame oneVlanFrame(std::uint16_t vlan, std::uint8_t attributeEvent) {
    Frame frame = mvrpHead();
    putVlanVector(frame, 1, vlan, attributeEvent);
    putEndMarks(frame);
    return frame;
}

std::vector<StreamRun> streamRuns(std::size_t streams, std::uint16_t perRun) {
    std::mt19937_64 random(802);  // NOLINT: the same streams in every run
    std::vector<StreamRun> runs;
    for (std::size_t left = streams; left > 0;) {
        const auto values = static_cast<std::uint16_t>(std::min<std::size_t>(left, perRun));
        // A multiple of a power of two above the length: runs do not overlap unless two are equal,
        // which of a million among 2^56 none are.
        const std::uint64_t first = perRun == 1 ? random() : random() & ~std::uint64_t{0xff};
        runs.push_back({first, values});
        left -= values;
    }
    return runs;
}

std::vector<Frame> listenerFrames(const std::vector<StreamRun>& runs, std::uint8_t attributeEvent) {
    std::vector<Frame> frames;
    Frame open;
    for (const StreamRun& run : runs) {
        const std::size_t octets = listenerVectorOctets(run.values) + 2 * endMarkSize;
        if (!open.empty() && open.size() + octets > ethHeaderOctets + maxPduOctets) {
            frames.push_back(finishedMsrp(std::move(open)));
            open.clear();
        }
        if (open.empty()) {
            open = msrpHead();
        }
        putListenerVector(open, run, attributeEvent);
    }
    if (!open.empty()) {
        frames.push_back(finishedMsrp(std::move(open)));
    }
    return frames;
}

}  // namespace MrpBench
