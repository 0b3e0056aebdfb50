// One MRPDU against the parser: what is received is processed to its end, and the parser and the
// decoder of captures, which know nothing of each other, judge alike.

#include "Broken.h"
#include "FrameJudge.h"
#include "platform/base/Text.h"
#include "platform/log/Log.h"

namespace MrpFuzz {

using namespace Platform;
using namespace Mrp;

namespace {

// An engine that forgets each frame before the next: making it anew would take most of the time.
// No time passes, so nothing that was filed has been committed, and an interface that is disabled
// takes all of it along.
class Receiver {
  public:
    explicit Receiver(MrpApplication application) {
        interfaces_.kernelStatus->valueIs(intfId_, dev_);
        MrpAgent::MrpInstance::Parameters parameters;
        parameters.application = application;
        instance_ = std::make_unique<MrpAgent::MrpInstance>(manager_, interfaces_, parameters);
    }

    // Whether the frame was counted as malformed.
    bool refuses(const Bytes& frame) {
        const MrpCounters& counters = *instance_->mrpSm().mrpCounters();
        const auto processed = counters.numOfPktsProcessed();
        const auto malformed = counters.numOfMalformedPkts();
        instance_->enable(intfId_);
        dev_->inject(frame);
        manager_.settle();
        if (const std::string left = leftOfFrame(instance_->mrpSm()); !left.empty()) {
            broken(left + ": " + hexBytes(frame));
        }
        if (counters.numOfPktsProcessed() != processed + 1) {
            broken("the frame has not been processed: " + hexBytes(frame));
        }
        instance_->disable(intfId_);
        if (!instance_->mrpSm().addPendingAttr().empty() ||
            !instance_->mrpSm().mrpAttrIter().empty()) {
            broken("a disabled interface keeps attributes: " + hexBytes(frame));
        }
        return counters.numOfMalformedPkts() != malformed;
    }

  private:
    IntfId intfId_{"et1"};
    Virtual::VirtualActivityManager manager_;
    Ptr<Virtual::VirtualEthDev> dev_ = makePtr<Virtual::VirtualEthDev>("et1", manager_);
    MrpAgent::NodeInterfaces interfaces_ = MrpAgent::NodeInterfaces::make();
    std::unique_ptr<MrpAgent::MrpInstance> instance_;
};

void receive(std::span<const std::uint8_t> input) {
    constexpr std::size_t maxPduSize = 1500;
    if (input.empty() || input.size() > 1 + maxPduSize) {
        return;
    }
    static Receiver mvrp(MrpApplication::mvrp);
    static Receiver msrp(MrpApplication::msrp);
    const bool first = input.front() % 2 == 0;
    const MrpApplication application = first ? MrpApplication::mvrp : MrpApplication::msrp;
    const auto pdu = input.subspan(1);
    const Bytes frame = frameOf(application, pdu);
    const bool parser = (first ? mvrp : msrp).refuses(frame);
    if (parser != decoderRefuses(application, pdu)) {
        broken(std::string("parser and decoder disagree, and malformed says ") +
               (parser ? "the parser: " : "the decoder: ") + hexBytes(frame));
    }
}

}  // namespace

}  // namespace MrpFuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Messages are written, but to nobody.
    Platform::logSinkIs([](const Platform::LogHandle&, const std::string&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    MrpFuzz::receive({data, size});
    return 0;
}
