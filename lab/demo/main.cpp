// mrp-demo: bridges and stations register each other's VLANs, and a link breaks and heals. Without
// options they are in memory; the options are what tools/veth-demo.sh does the same with by
// mrp-agent processes.

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "lab/demo/LineDemo.h"
#include "lab/demo/Outcome.h"
#include "lab/pcap/PcapFile.h"

namespace {

using namespace MrpLab;

struct Options {
    std::string pcapFile = "demo.pcap";
    std::string capture;
    std::string judge;
    std::string stage;
};

// What `mrpctl --json show vlans` printed of every node: the files NODE.json of the directory.
Sight readSight(const std::string& directory, const Stage& stage) {
    std::set<std::string> nodes;
    for (const PortExpectation& expectation : stage.ports) {
        nodes.insert(expectation.node);
    }
    Sight sight;
    for (const std::string& node : nodes) {
        std::string fileName = directory;
        fileName.append("/").append(node).append(".json");
        std::ifstream file(fileName, std::ios::binary);
        try {
            sight.vlansAre(node, MrpAgent::Json::parse(file).at("vlans"));
        } catch (const MrpAgent::Json::exception& error) {
            throw std::runtime_error(fileName + ": " + error.what());
        }
    }
    return sight;
}

// Whether the stage alone is as it should be.
int judgeStage(const std::string& directory, const std::string& name) {
    for (const Stage& stage : ringStages()) {
        if (stage.name == name) {
            const auto differences = readSight(directory, stage).differences(stage);
            for (const std::string& line : differences) {
                std::cout << line << "\n";
            }
            return differences.empty() ? 0 : 1;
        }
    }
    throw std::runtime_error("no stage: " + name);
}

int judgeStory(const std::string& directory) {
    std::vector<Sight> sights;
    for (const Stage& stage : ringStages()) {
        sights.push_back(readSight(directory + "/" + stage.name, stage));
    }
    return printOutcome(std::cout, ringStages(), sights);
}

int runProgram(const Options& options) {
    if (!options.capture.empty()) {
        PcapFile file(options.pcapFile);
        captureInterface(options.capture, file);
        return 0;
    }
    if (options.judge.empty()) {
        return runLineDemo(options.pcapFile);
    }
    return options.stage.empty() ? judgeStory(options.judge)
                                 : judgeStage(options.judge, options.stage);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app{"Bridges and stations register each other's VLANs.", "mrp-demo"};
    app.add_option("--pcap", options.pcapFile, "Where the frames go")
        ->type_name("FILE")
        ->capture_default_str();
    app.add_option("--capture", options.capture,
                   "Write the MRP frames of an interface, until SIGTERM")
        ->type_name("INTERFACE");
    CLI::Option* judge =
        app.add_option("--judge", options.judge,
                       "Judge what mrpctl printed of the agents in a ring: a directory of each "
                       "stage, in it NODE.json of each node")
            ->type_name("DIR");
    app.add_option("--stage", options.stage, "Judge this stage only, whose directory DIR is")
        ->type_name("STAGE")
        ->needs(judge);
    try {
        app.parse(argc, argv);
        return runProgram(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (const std::exception& error) {
        std::cerr << "mrp-demo: " << error.what() << "\n";
        return 1;
    }
}
