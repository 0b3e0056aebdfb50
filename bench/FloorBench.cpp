#include <algorithm>
#include <array>
#include <cstdint>

#include <benchmark/benchmark.h>

#include "FlatTable.h"
#include "Frames.h"
#include "PerValue.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "mrp/MrpSm/types/MrpEnums.h"
#include "platform/base/BigEndian.h"

// What no engine can be faster than: the octets are read or written, and a state machine of as many
// states as applicant and registrar have together takes its step. Which state follows which does
// not matter to the time; which memory is touched does.

namespace MrpBench {

using namespace Mrp;
using Platform::readBe16;

namespace {

constexpr std::size_t machineStates = applicantStates * 3;  // IN, LV and MT
constexpr std::size_t receivedEvents = 8;

// An applicant and a registrar in one number, and the number that follows an event.
using StepTable = std::array<std::array<std::uint8_t, receivedEvents>, machineStates>;

StepTable stepTable() {
    StepTable table{};
    for (std::size_t state = 0; state < machineStates; ++state) {
        for (std::size_t event = 0; event < receivedEvents; ++event) {
            table[state][event] = static_cast<std::uint8_t>((state + event) % machineStates);
        }
    }
    benchmark::DoNotOptimize(table);
    return table;
}

std::uint64_t readBe64(const std::uint8_t* bytes) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < sizeof(number); ++i) {
        number = number << 8U | bytes[i];
    }
    return number;
}

constexpr std::size_t firstVectorMvrp = ethHeaderOctets + 3;  // behind version, type and length
constexpr std::size_t firstVectorMsrp = ethHeaderOctets + 5;  // and AttributeListLength

// The events of a received MVRP frame by table, each of which steps a state in an array.
void decodeStepArray(benchmark::State& state) {
    const StepTable step = stepTable();
    std::array<std::uint8_t, 4096> states{};
    const Frame frame = fullMvrpFrame();
    for (auto _ : state) {
        const std::uint8_t* vector = frame.data() + firstVectorMvrp;
        std::size_t vlan = readBe16(vector + VectorHeader::size);
        const std::size_t end = vlan + mrpGetNumOfValues(vector);
        const std::uint8_t* packed = vector + VectorHeader::size + 2;
        while (vlan < end) {
            for (const std::uint8_t event : threePackedEvents[*packed++]) {
                if (vlan == end) {
                    break;
                }
                states[vlan] = step[states[vlan]][event];
                ++vlan;
            }
        }
        benchmark::DoNotOptimize(states.data());
        benchmark::ClobberMemory();
    }
    perValue(state, vlans);
}

// The vectors of a received MSRP frame with listeners: every value is found by its Stream ID, takes
// its step and its declaration. Tells how many values there were.
std::size_t stepListeners(const Frame& frame, const StepTable& step, FlatTable& table) {
    std::size_t count = 0;
    const std::uint8_t* vector = frame.data() + firstVectorMsrp;
    while (readBe16(vector) != 0) {
        const std::size_t values = mrpGetNumOfValues(vector);
        const std::uint64_t first = readBe64(vector + VectorHeader::size);
        const std::uint8_t* threePacked = vector + VectorHeader::size + sizeof(first);
        const std::uint8_t* fourPacked = threePacked + threePackedBytes(values);
        for (std::size_t i = 0; i < values; ++i) {
            FlatTable::Slot& slot = table.slot(first + i);
            slot.state = step[slot.state][threePackedEvents[threePacked[i / 3]][i % 3]];
            slot.declaration =
                static_cast<std::uint8_t>(fourPacked[i / 4] >> (6 - 2 * (i % 4)) & 3U);
        }
        count += values;
        vector = fourPacked + fourPackedBytes(values);
    }
    return count;
}

void flat(benchmark::State& state, std::uint16_t perRun) {
    const auto streams = static_cast<std::size_t>(state.range(0));
    const std::vector<StreamRun> runs = streamRuns(streams, perRun);
    const std::vector<Frame> frames = listenerFrames(runs, AttributeEvent::joinIn);
    const StepTable step = stepTable();
    FlatTable table(streams);
    for (const StreamRun& run : runs) {
        for (std::uint64_t key = run.first; key < run.first + run.values; ++key) {
            table.slot(key) = {key, 0, 0};
        }
    }
    std::size_t count = 0;
    for (auto _ : state) {
        for (const Frame& frame : frames) {
            count += stepListeners(frame, step, table);
        }
        benchmark::ClobberMemory();
    }
    if (count != static_cast<std::size_t>(state.iterations()) * streams) {
        state.SkipWithError("not every value was read");
        return;
    }
    perValue(state, streams);
}

void flatRandom(benchmark::State& state) {
    flat(state, 1);
}
void flatRun(benchmark::State& state) {
    constexpr std::uint16_t perRun = 256;
    flat(state, perRun);
}

// What a state sends at a LeaveAll, and the state that follows.
struct Sent {
    std::uint8_t event;
    std::uint8_t next;
};
constexpr std::uint8_t declaredState = 5;

// The vector that a LeaveAll begins, from the states of an array into the octets of a frame. What
// stands around it is copied.
std::size_t encodeVlans(const std::array<Sent, machineStates>& table,
                        const std::array<std::uint8_t, 4096>& states,
                        std::array<std::uint8_t, 4096>& after, const Frame& head, Frame& frame) {
    constexpr std::uint8_t silent = 0xff;
    std::copy(head.begin(), head.end(), frame.begin());
    std::uint8_t* packed = frame.data() + head.size();
    std::size_t values = 0;
    unsigned octet = 0;
    for (std::size_t vlan = firstVlan; vlan < std::size_t{firstVlan} + vlans; ++vlan) {
        const Sent sent = table[states[vlan]];
        if (sent.event == silent) {
            break;
        }
        after[vlan] = sent.next;
        octet = octet * 6 + sent.event;
        if (++values % 3 == 0) {
            *packed++ = static_cast<std::uint8_t>(octet);
            octet = 0;
        }
    }
    if (values % 3 != 0) {
        *packed++ = static_cast<std::uint8_t>(values % 3 == 1 ? octet * 36 : octet * 6);
    }
    packed = std::fill_n(packed, 2 * endMarkSize, std::uint8_t{0});
    Platform::writeBe16(frame.data() + firstVectorMvrp,
                        static_cast<std::uint16_t>(VectorHeader::leaveAllBit | values));
    return static_cast<std::size_t>(packed - frame.data());
}

void encode(benchmark::State& state) {
    std::array<Sent, machineStates> table{};
    table.fill({AttributeEvent::joinIn, declaredState + 1});
    benchmark::DoNotOptimize(table);
    std::array<std::uint8_t, 4096> states{};
    std::array<std::uint8_t, 4096> after{};
    states.fill(declaredState);
    const Frame expected = fullMvrpLeaveAllFrame(0x99);
    const Frame head(expected.begin(),
                     expected.begin() + static_cast<std::ptrdiff_t>(firstVectorMvrp + 4));
    Frame frame(ethHeaderOctets + maxPduOctets);
    std::size_t octets = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(states.data());
        octets = encodeVlans(table, states, after, head, frame);
        benchmark::DoNotOptimize(after.data());
        benchmark::DoNotOptimize(frame.data());
        benchmark::ClobberMemory();
    }
    frame.resize(octets);
    if (frame != expected) {
        state.SkipWithError("the frame is not the one that the engine sends");
        return;
    }
    perValue(state, vlans);
}

}  // namespace

BENCHMARK(decodeStepArray)->Name("Floor/DecodeStepArray/4094")->Unit(benchmark::kMicrosecond);
BENCHMARK(flatRandom)
    ->Name("Floor/FlatRandom")
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(flatRun)
    ->Name("Floor/FlatRun")
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(encode)->Name("Floor/Encode/4094")->Unit(benchmark::kMicrosecond);

}  // namespace MrpBench
