#include "lab/replay/ReplayOutput.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "platform/base/Text.h"

namespace MrpLab {

using namespace Platform;
using namespace Mrp;
using MrpAgent::Json;

namespace {

Json indication(const MrpParameters& parameters, AttributeKey key) {
    return {{"interface", parameters.intfId.name()},
            {"attributeType", parameters.attributeType},
            {"key", "0x" + hexStr(key)},
            {"event", parameters.attributeEvent}};
}

}  // namespace

ReplayOutput::ReplayOutput(const Clock& clock, std::FILE* stream, PcapFile* capture)
    : clock_(clock), stream_(stream), capture_(capture) {}

void ReplayOutput::sent(IntfId intfId, std::span<const std::uint8_t> frame) {
    line("tx", {{"interface", intfId.name()}, {"frame", hexBytes(frame)}});
    if (capture_ != nullptr) {
        constexpr double perSecond = std::chrono::microseconds::period::den;
        capture_->frameIs(frame, std::chrono::microseconds(std::llround(clock_.now() * perSecond)));
    }
}

void ReplayOutput::join(const MrpParameters& parameters, AttributeKey key, bool discarded) {
    Json body = indication(parameters, key);
    body["discarded"] = discarded;
    line("join", std::move(body));
}

void ReplayOutput::leave(const MrpParameters& parameters, AttributeKey key) {
    line("leave", indication(parameters, key));
}

void ReplayOutput::logged(const LogHandle& handle, const std::string& text) {
    line("log", {{"name", handle.name()}, {"text", text}});
}

void ReplayOutput::dump(Json dump) {
    line("dump", std::move(dump));
}

void ReplayOutput::abort(const char* text) {
    line("abort", text);
    leaveProcess(ReplayStatus::assertionFailed);
}

void ReplayOutput::finish() {
    if (capture_ != nullptr) {
        capture_->flush();
    }
}

void ReplayOutput::line(const char* what, Json body) {
    Json json{{"at", clock_.now()}};
    json[what] = std::move(body);
    const std::string text = MrpAgent::jsonLine(json) + "\n";
    if (std::fwrite(text.data(), 1, text.size(), stream_) != text.size() ||
        std::fflush(stream_) != 0) {
        std::fprintf(stderr, "mrp-lab: output: %s\n", std::strerror(errno));
        leaveProcess(ReplayStatus::cannotRun);
    }
}

void ReplayOutput::leaveProcess(ReplayStatus status) {
    try {
        finish();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "mrp-lab: %s\n", error.what());
    }
    std::_Exit(static_cast<int>(status));
}

}  // namespace MrpLab
