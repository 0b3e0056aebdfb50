// mrp-lab: engines in virtual time. docs/mrp-lab.md is its manual.

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "lab/capture/CaptureCommands.h"
#include "lab/replay/Replay.h"

namespace {

using namespace MrpLab;

constexpr int noFrames = 1;
constexpr int wrongUse = 2;  // also of what cannot be read or written

struct ReplayOptions {
    std::string file = standardInput;
    std::string capture;
};

// Each command is a function that adds itself, and sets what is to be run when it is the one given.
using Command = std::function<int()>;

// Of a command that has written to standard output.
int finish() {
    if (!std::cout.flush()) {
        throw std::runtime_error("standard output cannot be written");
    }
    return 0;
}

void addReplay(CLI::App& app, ReplayOptions& options, Command& command) {
    CLI::App* replayApp = app.add_subcommand(
        "replay", "Runs a scenario through one engine and prints what the engine did");
    replayApp->add_option("FILE", options.file, "The scenario; standard input when - or missing");
    replayApp
        ->add_option("--capture", options.capture, "Also write the frames that the engine sent")
        ->type_name("OUT.pcap");
    replayApp->callback([&options, &command] {
        command = [&options] { return static_cast<int>(replay(options.file, options.capture)); };
    });
}

void addDecode(CLI::App& app, std::string& file, Command& command) {
    CLI::App* decodeApp =
        app.add_subcommand("decode", "Prints each MRPDU of a capture as a line of JSON");
    decodeApp->add_option("FILE", file, "The capture")->required();
    decodeApp->callback([&file, &command] {
        command = [&file] {
            decodeCapture(file, std::cout, std::cerr);
            return finish();
        };
    });
}

struct FromCaptureOptions {
    std::string file;
    std::string application;
    std::vector<std::string> interfaces;
};

// "et1=02:00:00:00:00:01". Throws CLI::ValidationError.
void readInterface(const std::string& text, ScenarioOptions& options) {
    const std::size_t sign = text.rfind('=');
    const auto addr = Platform::EthAddr::parse(text.substr(sign + 1));  // npos + 1 is 0
    if (sign == std::string::npos || sign == 0 || !addr) {
        throw CLI::ValidationError("--interface", "expected NAME=MAC, found " + text);
    }
    options.interfaces[*addr] = text.substr(0, sign);
}

void addFromCapture(CLI::App& app, FromCaptureOptions& options, Command& command) {
    CLI::App* fromCaptureApp = app.add_subcommand(
        "from-capture", "Prints the scenario in which an engine receives the MRPDUs of a capture");
    fromCaptureApp->add_option("FILE", options.file, "The capture")->required();
    fromCaptureApp
        ->add_option("--interface", options.interfaces,
                     "The interface on which the frames of a source arrive; frames of others are "
                     "left out. Without it all arrive on et1")
        ->type_name("NAME=MAC");
    fromCaptureApp
        ->add_option("--application", options.application,
                     "Whose frames; those of the first one's when nothing is said")
        ->check(CLI::IsMember({"mvrp", "msrp"}));
    fromCaptureApp->callback([&options, &command] {
        ScenarioOptions scenario;
        if (!options.application.empty()) {
            scenario.application = options.application == "mvrp" ? Mrp::MrpApplication::mvrp
                                                                 : Mrp::MrpApplication::msrp;
        }
        for (const std::string& text : options.interfaces) {
            readInterface(text, scenario);
        }
        command = [&options, scenario] {
            const bool found = scenarioFromCapture(options.file, scenario, std::cout, std::cerr);
            const int status = finish();
            return found ? status : noFrames;
        };
    });
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error like any other
    CLI::App app{"The MRP engine in virtual time.", "mrp-lab"};
    app.require_subcommand(1);
    Command command;
    ReplayOptions replayOptions;
    addReplay(app, replayOptions, command);
    std::string decodeFile;
    addDecode(app, decodeFile, command);
    FromCaptureOptions fromCaptureOptions;
    addFromCapture(app, fromCaptureOptions, command);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : wrongUse;
    }
    try {
        return command();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "mrp-lab: %s\n", error.what());
        return wrongUse;
    }
}
