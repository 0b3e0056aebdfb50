#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

#include "agent/status/StatusJson.h"
#include "lab/pcap/PcapFile.h"
#include "lab/replay/ReplayStatus.h"
#include "mrp/MrpSm/types/MrpParameters.h"
#include "platform/log/Log.h"
#include "platform/time/Clock.h"

namespace MrpLab {

// What a replay tells, a line of JSON for each thing that happened, with the time of the clock.
// Every line is written out at once: whatever becomes of the process, it is not lost. A stream that
// takes no more ends the process, with a word on standard error: the lines come from the midst of
// the engine, which must not go on with nobody listening.
class ReplayOutput {
  public:
    // The capture also gets the frames, with the time as since the epoch; may be null. All outlive
    // the output.
    ReplayOutput(const Platform::Clock& clock, std::FILE* stream, PcapFile* capture);
    ReplayOutput(const ReplayOutput&) = delete;
    ReplayOutput& operator=(const ReplayOutput&) = delete;

    void sent(Platform::IntfId intfId, std::span<const std::uint8_t> frame);
    void join(const Mrp::MrpParameters& parameters, Mrp::AttributeKey key, bool discarded);
    void leave(const Mrp::MrpParameters& parameters, Mrp::AttributeKey key);
    void logged(const Platform::LogHandle& handle, const std::string& text);
    void dump(MrpAgent::Json dump);
    // The last line. Ends the process at once, without a step of tear-down: an engine that failed
    // an assertion is in no state to be taken apart.
    [[noreturn]] void abort(const char* text);

    // Writes out the capture. Throws std::runtime_error when that cannot be done.
    void finish();

  private:
    void line(const char* what, MrpAgent::Json body);
    [[noreturn]] void leaveProcess(ReplayStatus status);

    const Platform::Clock& clock_;
    std::FILE* stream_;
    PcapFile* capture_;
};

}  // namespace MrpLab
