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
#include "lab/demo/PcapFile.h"

namespace {

using namespace MrpLab;

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

// One pair of tables: whether the declarations have arrived. Two: the same, and whether the
// withdrawn ones are gone.
int judgeTables(const Options& options) {
    const Scenario scenario = Scenario::make();
    std::vector<MrpAgent::Json> tables;
    for (const std::string& fileName : options.tables) {
        tables.push_back(readTable(fileName));
    }
    const NodePair declared{tables.at(0), tables.at(1)};
    if (tables.size() == 2) {
        return missing(scenario, Stage::declared, declared).empty() ? 0 : 1;
    }
    const NodePair withdrawn{tables.at(2), tables.at(3)};
    if (options.quiet) {
        return missing(scenario, Stage::withdrawn, withdrawn).empty() ? 0 : 1;
    }
    printNodes(std::cout, "Declared", declared);
    printNodes(std::cout, "Some no longer declared by node one, and aged out", withdrawn);
    return printOutcome(std::cout, scenario, declared, withdrawn);
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
                   "declarations, and again after the withdrawals")
        ->type_name("FILE")
        ->expected(2, 4);
    app.add_flag("--quiet", options.quiet, "Only by exit status");
    try {
        app.parse(argc, argv);
        if (options.tables.size() == 3) {
            throw CLI::ValidationError("--tables", "two files or four");
        }
        return runProgram(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (const std::exception& error) {
        std::cerr << "mrp-demo: " << error.what() << "\n";
        return 1;
    }
}
