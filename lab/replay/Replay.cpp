#include "lab/replay/Replay.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "lab/pcap/PcapFile.h"
#include "lab/replay/ReplayNode.h"
#include "lab/replay/ReplayOutput.h"
#include "lab/replay/StepError.h"
#include "lab/replay/StepReader.h"
#include "platform/base/Assert.h"
#include "platform/base/ScopeGuard.h"
#include "platform/time/Dispatch.h"
#include "platform/virtual/VirtualActivityManager.h"

namespace MrpLab {

using namespace Platform;

namespace {

ReplayOutput* assertionOutput = nullptr;
AssertHandler assertionPlace = nullptr;

// Everything that the engine tells of itself goes to the output as long as it lives.
class Listening {
  public:
    explicit Listening(ReplayOutput& output) {
        assertionOutput = &output;
        assertionPlace = assertHandlerIs([](const char* text, const char* file, int line) {
            assertionPlace(text, file, line);
            assertionOutput->abort(text);
        });
        logSinkIs([&output](const LogHandle& handle, const std::string& text) {
            output.logged(handle, text);
        });
    }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;
    ~Listening() {
        logToStandardError();
        assertHandlerIs(assertionPlace);
    }
};

class Run {
  public:
    explicit Run(PcapFile* capture) : output_(loop_.clock(), stdout, capture) {}

    void apply(const Step& step) {
        loop_.runUntil(step.at);
        if (const auto* start = std::get_if<StartStep>(&step.action)) {
            node_ = std::make_unique<ReplayNode>(loop_, *start, output_);
        }
        dispatch(
            [&] { std::visit([this](const auto& action) { node_->apply(action); }, step.action); });
        loop_.settle();
    }

    void finish() { output_.finish(); }

  private:
    Virtual::VirtualActivityManager loop_;
    ReplayOutput output_;
    Listening listening_{output_};
    std::unique_ptr<ReplayNode> node_;
};

ReplayStatus replayLines(std::istream& scenario, const std::string& name, Run& run) {
    StepReader reader;
    std::string line;
    for (std::size_t number = 1; std::getline(scenario, line); ++number) {
        std::optional<Step> step;
        try {
            step = reader.step(line);
        } catch (const StepError& error) {
            std::fprintf(stderr, "%s:%zu: %s\n", name.c_str(), number, error.what());
            return ReplayStatus::noValidStep;
        }
        if (step) {
            run.apply(*step);
        }
    }
    // Of standard input a stream tells only that there is no more.
    const bool failed = &scenario == &std::cin && std::ferror(stdin) != 0;
    if (scenario.bad() || failed) {
        throw std::runtime_error(name + ": cannot be read");
    }
    return ReplayStatus::ended;
}

}  // namespace

ReplayStatus replay(const std::string& fileName, const std::string& captureName) {
    std::ifstream file;
    const bool fromFile = fileName != standardInput;
    if (fromFile) {
        file.open(fileName, std::ios::binary);
        if (!file) {
            throw std::runtime_error(fileName + ": cannot be read");
        }
    }
    std::optional<PcapFile> capture;
    std::error_code unknown;  // such as of a capture that is not there yet
    if (fromFile && std::filesystem::equivalent(fileName, captureName, unknown)) {
        throw std::runtime_error(captureName + ": is the scenario, not to be written over");
    }
    if (!captureName.empty()) {
        capture.emplace(captureName);
    }
    Run run(capture ? &*capture : nullptr);
    const ReplayStatus status =
        replayLines(fromFile ? file : std::cin, fromFile ? fileName : "standard input", run);
    run.finish();
    return status;
}

}  // namespace MrpLab
