#include "Frames.h"

#include <algorithm>
#include <random>
#include <utility>

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

// The packed events of one event for that many values. Written out here: what the engine's own
// encoder got wrong would otherwise be expected of it.
std::vector<std::uint8_t> packed(std::uint16_t values, unsigned attributeEvent) {
    std::vector<std::uint8_t> octets;
    for (unsigned left = values; left > 0;) {
        const unsigned inOctet = std::min(left, 3U);
        octets.push_back(static_cast<std::uint8_t>(
            attributeEvent * (36U + (inOctet > 1 ? 6U : 0U) + (inOctet > 2 ? 1U : 0U))));
        left -= inOctet;
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
    constexpr auto ready = static_cast<unsigned>(MsrpListenerEvent::ready);
    std::vector<std::uint8_t> declarations(fourPackedBytes(run.values));
    for (unsigned n = 0; n < run.values; ++n) {
        declarations[n / 4] =
            static_cast<std::uint8_t>(declarations[n / 4] | ready << (6 - 2 * (n % 4)));
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
