// mrp-demo: two nodes register each other's VLANs and streams. Without options they are in memory;
// the options are what tools/veth-demo.sh does the same with by two mrp-agent processes.

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "lab/demo/InMemoryDemo.h"
#include "lab/demo/Outcome.h"
#include "lab/pcap/PcapFile.h"

namespace {

using namespace MrpLab;

constexpr std::size_t maxStages = 3;

struct Options {
    std::string pcapFile = "demo.pcap";
    std::string config;
    std::string capture;
    std::vector<std::string> tables;
    bool quiet = false;
};

// The last whole line of what an agent has printed.
MrpAgent::Json readTable(const std::string& fileName) {
    std::ifstream file(fileName, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    text.resize(text.find_last_of('\n') + 1);  // npos + 1 is 0
    if (text.empty()) {
        throw std::runtime_error(fileName + ": holds no table");
    }
    text.pop_back();
    try {
        return MrpAgent::Json::parse(text.substr(text.find_last_of('\n') + 1));
    } catch (const MrpAgent::Json::exception& error) {
        throw std::runtime_error(fileName + ": " + error.what());
    }
}

// The pairs of tables are those of the stages so far: whether the last of them is complete. Of all
// stages, unless quiet, the whole story.
int judgeTables(const Options& options) {
    const Scenario scenario = Scenario::make();
    std::vector<NodePair> pairs;
    for (std::size_t i = 0; i < options.tables.size(); i += 2) {
        pairs.push_back({readTable(options.tables[i]), readTable(options.tables[i + 1])});
    }
    if (options.quiet || pairs.size() < maxStages) {
        const auto stage = static_cast<Stage>(pairs.size() - 1);
        return missing(scenario, stage, pairs.back()).empty() ? 0 : 1;
    }
    printNodes(std::cout, "Declared", pairs[0]);
    printNodes(std::cout, "Some no longer declared by node one, and aged out", pairs[1]);
    printNodes(std::cout, "Node two's agent killed, and its standby active", pairs[2]);
    return printOutcome(std::cout, scenario, {pairs[0], pairs[1], pairs[2]});
}

int runProgram(const Options& options) {
    if (!options.config.empty()) {
        std::cout << scenarioConfig(options.config) << std::flush;
        return 0;
    }
    if (!options.capture.empty()) {
        PcapFile file(options.pcapFile);
        captureInterface(options.capture, file);
        return 0;
    }
    return options.tables.empty() ? runInMemoryDemo(options.pcapFile) : judgeTables(options);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app{"Two nodes register each other's VLANs and streams.", "mrp-demo"};
    app.add_option("--pcap", options.pcapFile, "Where the frames go")
        ->type_name("FILE")
        ->capture_default_str();
    app.add_option("--config", options.config, "Print the configuration of a node")
        ->check(CLI::IsMember({"one", "one-later", "two"}));
    app.add_option("--capture", options.capture,
                   "Write the MRP frames of an interface, until SIGTERM")
        ->type_name("INTERFACE");
    app.add_option("--tables", options.tables,
                   "Judge what agents printed: node one's file and node two's, with the "
                   "declarations, again after the withdrawals, and after the takeover")
        ->type_name("FILE")
        ->expected(2, 2 * maxStages);
    app.add_flag("--quiet", options.quiet, "Only by exit status");
    try {
        app.parse(argc, argv);
        if (options.tables.size() % 2 != 0) {
            throw CLI::ValidationError("--tables", "two files a stage");
        }
        return runProgram(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (const std::exception& error) {
        std::cerr << "mrp-demo: " << error.what() << "\n";
        return 1;
    }
}
