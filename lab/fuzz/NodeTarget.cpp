// A whole node against whatever may happen to it. See Steps for what an input says.

#include "Invariants.h"
#include "Steps.h"
#include "platform/base/Environment.h"
#include "platform/log/Log.h"

namespace {

// More than a LeaveAll period at rest, a leave time and the reviews behind them.
constexpr Platform::Seconds restTime = 5;
// What is pending has been reviewed after so long.
constexpr Platform::Seconds reviewTime = 1;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Messages are written, but to nobody.
    Platform::logSinkIs([](const Platform::LogHandle&, const std::string&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // LeaveAll periods are random, and the same for every run of an input.
    Platform::seedRandom(1);
    MrpFuzz::Input input({data, size});
    MrpFuzz::Steps steps(input);
    MrpFuzz::FuzzNode& node = steps.node();
    const auto check = [&] {
        MrpFuzz::checkInvariants(node.mrpSm(), steps.leavesAreTimed());
        node.mirror().check();
    };
    while (steps.more()) {
        steps.step();
        check();
    }
    steps.rest(restTime);
    check();
    if (node.mrpSm().active()) {
        const auto left = MrpFuzz::leaving(node.mrpSm());
        steps.rest(reviewTime);
        check();
        MrpFuzz::checkAtRest(node.mrpSm(), left);
    }
    return 0;
}
