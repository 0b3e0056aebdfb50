#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

using testing::HasSubstr;

// What mrp-demo prints with the arguments, both streams, and its exit status behind it.
std::string outputOf(const std::string& arguments) {
    const std::string command = MRP_DEMO " " + arguments + " 2>&1; echo status $?";
    std::FILE* pipe = ::popen(command.c_str(), "r");
    std::string output;
    std::array<char, 256> block{};
    while (std::fgets(block.data(), block.size(), pipe) != nullptr) {
        output += block.data();
    }
    ::pclose(pipe);
    return output;
}

TEST(Demo, isCompleteInMemoryAndTheSameEveryTime) {
    const std::string pcap = testing::TempDir() + "mrp-demo-test.pcap";
    const auto run = [&] {
        const std::string output = outputOf("--pcap " + pcap);
        std::ostringstream frames;
        frames << std::ifstream(pcap, std::ios::binary).rdbuf();
        return std::pair(output, frames.str());
    };
    const auto first = run();
    EXPECT_THAT(first.first, HasSubstr("demo: 50 registered, 26 lost with a link, 26 back, 20 "
                                       "withdrawn, 0 missing\nstatus 0\n"));
    EXPECT_THAT(first.first, testing::ContainsRegex("VLAN +Registered"));
    EXPECT_TRUE(run() == first);
    std::filesystem::remove(pcap);
}

TEST(Demo, judgesWhatAgentsTell) {
    const std::filesystem::path directory = testing::TempDir() + "mrp-demo-test";
    const auto fill = [&](const char* stage, const std::string& b2) {
        std::filesystem::create_directories(directory / stage);
        for (const char* node : {"s1", "b1", "b2", "b3", "s2"}) {
            std::ofstream(directory / stage / (std::string(node) + ".json"))
                << (node == std::string("b2") ? b2 : R"({"vlans": []})");
        }
    };
    const auto b2 = [](const std::string& registered) {
        return R"({"vlans": [{"vlan": 10, "registered": [")" + registered +
               R"("], "fixed": [], "forbidden": [], "declared": ["toB1", "toB3"]}]})";
    };
    fill("ring", b2("toS1"));
    fill("cut", R"({"vlans": []})");
    fill("healed", b2("toB1"));
    const std::string output = outputOf("--judge " + directory.string());
    for (const char* expected :
         {"cut: b2 toS1: VLAN 10 is not registered\n",
          "healed: b2 toB1: VLAN 10 should not be registered\n",
          "demo: 1 registered, 1 lost with a link, 1 back, 242 missing\nstatus 1\n"}) {
        EXPECT_THAT(output, HasSubstr(expected));
    }
    EXPECT_THAT(outputOf("--stage ring --judge " + (directory / "ring").string()),
                testing::Not(HasSubstr("b2 toS1: VLAN 10 is not")));
    EXPECT_THAT(outputOf("--stage ring --judge " + directory.string()), HasSubstr("b1.json: "));
    std::filesystem::remove_all(directory);
}

}  // namespace
