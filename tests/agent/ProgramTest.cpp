#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "agent/process/OutputQueue.h"
#include "platform/virtual/VirtualActivityManager.h"

namespace MrpAgent {
namespace {

using testing::HasSubstr;

// What a command prints, both streams, and its exit status behind it.
std::string outputOf(const std::string& command) {
    std::FILE* pipe = ::popen((command + " 2>&1; echo status $?").c_str(), "r");
    std::string output;
    std::array<char, 256> block{};
    while (std::fgets(block.data(), block.size(), pipe) != nullptr) {
        output += block.data();
    }
    ::pclose(pipe);
    return output;
}

std::string fileOf(const std::string& name, const std::string& text) {
    const std::string fileName = testing::TempDir() + "mrp-agent-test-" + name;
    std::ofstream(fileName) << text;
    return fileName;
}

TEST(MrpAgentProgram, exitStatusTellsUseFromConfigurationFromSystem) {
    const std::string agent = MRP_AGENT;
    const std::string good = fileOf("good.toml", "interfaces = [\"mrp-nowhere\"]\n");
    const std::string bad = fileOf("bad.toml", "\ninterfaces = 1\n");
    EXPECT_EQ(outputOf(agent + " --check --config " + good), good + ": ok\nstatus 0\n");
    EXPECT_EQ(outputOf(agent + " --config " + good),
              "mrp-agent: mrp-nowhere: no such interface\nstatus 1\n");
    EXPECT_EQ(outputOf(agent + " --check --config " + bad),
              bad + ":2: interfaces: expected a list of interface names, each once\nstatus 2\n");
    EXPECT_THAT(outputOf(agent), HasSubstr("--config is required"));
    EXPECT_THAT(outputOf(agent + " --trace nothing --config " + good), HasSubstr("status 2\n"));
}

TEST(OutputQueue, neitherBlocksNorLosesAndSurvivesItsReader) {
    std::signal(SIGPIPE, SIG_IGN);
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);  // the reader only; a writer that blocks is a fault
    Platform::Virtual::VirtualActivityManager manager;
    std::string lost;
    OutputQueue queue(ends[1], manager, [&lost](const char* why) { lost = why; });
    const std::string line(300000, 'x');  // more than a pipe takes
    queue.lineIs(line);
    queue.lineIs("second");
    EXPECT_GT(queue.pending(), 0U);
    std::string read;
    std::vector<char> block(4096);
    for (int turn = 1; read.size() < line.size() + 8 && turn < 1000; ++turn) {
        const ssize_t octets = ::read(ends[0], block.data(), block.size());
        read.append(block.data(), static_cast<std::size_t>(std::max<ssize_t>(octets, 0)));
        manager.runUntil(turn);
        ASSERT_LE(queue.held(), 2 * queue.pending());  // what is written does not pile up
    }
    EXPECT_TRUE(read == line + "\nsecond\n");

    ::close(ends[0]);
    queue.lineIs("nobody reads this");
    EXPECT_EQ(queue.pending(), 0U);
    EXPECT_EQ(lost, "Broken pipe");
    ::close(ends[1]);
}

}  // namespace
}  // namespace MrpAgent
