#include <malloc.h>
#include <unistd.h>

#include <fstream>

#include <benchmark/benchmark.h>

#include "BenchNode.h"

namespace MrpBench {

using namespace Mrp;

namespace {

// Octets of this process that are in memory.
double residentOctets() {
    std::ifstream statm("/proc/self/statm");
    double size = 0;
    double resident = 0;
    statm >> size >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

// What a registered listener takes, of a million on one interface, which came over a while: the
// pending records of each hundredth go into the database before the next one comes. All that the
// engine keeps beside the record counts, and what the allocator has not given back.
void attribute(benchmark::State& state) {
    constexpr std::size_t attributes = 1000000;
    constexpr std::uint16_t perRun = 100;
    constexpr std::size_t framesPerReview = 4;
    constexpr auto reviewed = 0.3;
    for (auto _ : state) {
        const std::vector<Frame> frames =
            listenerFrames(streamRuns(attributes, perRun), AttributeEvent::joinIn);
        BenchNode node({.application = MrpApplication::msrp});
        ::malloc_trim(0);  // what others have left is not to be taken into use unseen
        const double before = residentOctets();
        for (std::size_t i = 0; i < frames.size(); ++i) {
            node.receive(frames[i]);
            if (i % framesPerReview == framesPerReview - 1) {
                node.run(reviewed);
            }
        }
        node.run(reviewed);
        const double after = residentOctets();
        const auto* database =
            node.instance().mrpStatus().applicationDatabase(MrpApplication::msrp);
        if (database == nullptr || database->recordCount() != attributes ||
            !node.mrpSm().addPendingAttr().empty() || after <= before) {
            state.SkipWithError("not every listener is in the database");
            return;
        }
        state.counters["octets"] = (after - before) / static_cast<double>(attributes);
    }
}

}  // namespace

BENCHMARK(attribute)->Name("Memory/Attribute")->Unit(benchmark::kMillisecond);

}  // namespace MrpBench
