#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

const std::string lab = MRP_LAB;

struct Outcome {
    std::string output;
    int status = 0;
};

Outcome run(const std::string& command) {
    std::FILE* pipe = ::popen(command.c_str(), "r");
    Outcome outcome;
    std::array<char, 4096> block{};
    while (std::fgets(block.data(), block.size(), pipe) != nullptr) {
        outcome.output += block.data();
    }
    outcome.status = WEXITSTATUS(::pclose(pipe));
    return outcome;
}

std::string contentOf(const std::string& fileName) {
    std::ifstream file(fileName, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Outcome replay(const std::string& scenario) {
    const std::string fileName = testing::TempDir() + "mrp-lab-test.jsonl";
    std::ofstream(fileName, std::ios::binary) << scenario;
    return run(lab + " replay " + fileName + " 2>&1");
}

std::vector<std::string> examples() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(REPLAY_EXAMPLES)) {
        if (entry.path().extension() == ".jsonl") {
            names.push_back(entry.path().stem());
        }
    }
    return names;
}

class ReplayExample : public testing::TestWithParam<std::string> {};

TEST_P(ReplayExample, givesTheOutputBesideIt) {
    const std::string path = std::string(REPLAY_EXAMPLES) + "/" + GetParam();
    const Outcome outcome = run(lab + " replay " + path + ".jsonl 2>/dev/null");
    EXPECT_EQ(outcome.output, contentOf(path + ".out"));
    EXPECT_EQ(outcome.status, GetParam() == "abort" ? 3 : 0);
}

INSTANTIATE_TEST_SUITE_P(Replay, ReplayExample, testing::ValuesIn(examples()),
                         [](const auto& info) {
                             std::string name = info.param;
                             std::erase(name, '-');
                             return name;
                         });

const std::string start = R"({"at":1,"start":{"application":2,"bridgeMac":"02:00:00:00:00:aa",)"
                          R"("interfaces":[{"name":"et1"}]}})"
                          "\n";
const std::string enable = "{\"at\":1,\"enable\":\"et1\"}\n# a comment, and an empty line\n\n";

// A fault, as the fifth line of a scenario, and how its message ends.
const std::pair<const char*, const char*> faults[] = {
    {R"({"at":20,"dump":true)", "no JSON: fault at octet 21"},
    {" ", "no JSON: fault at octet 2"},
    {"[]", "expected an object"},
    {R"({"at":1e999,"dump":true})", "no JSON: a number is too large"},
    {R"({"at":20,"at":20,"dump":true})", "\"at\" stands twice in one object"},
    {R"({"at":20,"dump":[[[[[[[[[1]]]]]]]]]})", "nested deeper than any step"},
    {R"({"dump":true})", "at: missing"},
    {R"({"at":-1,"dump":true})", "at: expected a number of seconds >= 0"},
    {R"({"at":0.5,"dump":true})", "at: before the step that stands before it"},
    {R"({"at":2e9,"dump":true})", "at: expected at the most 1e7 seconds"},
    {R"({"at":20})", "no action"},
    {R"({"at":20,"dump":true,"end":true})", "end: a second action, beside dump"},
    {R"({"at":20,"dumb":true})", "\"dumb\": unknown"},
    {R"({"at":20,"dump":false})", "dump: expected true"},
    {R"({"at":20,"recycled":1})", "recycled: expected true or false"},
    {R"({"at":20,"enable":"et2"})", "enable: no interface \"et2\" in start"},
    {R"({"at":20,"config":{"intfLeaveTime":{"et2":1}}})", "no interface \"et2\" in start"},
    {R"({"at":20,"receive":{"interface":"et1","frame":"012"}})", "of hexadecimal digits"},
    {R"({"at":20,"receive":{"interface":"et1","frame":"","x":1}})", "receive.\"x\": unknown"},
    {R"({"at":20,"request":{"queue":[],"interface":"et1","attributeType":256}})",
     "request.attributeType: expected a whole number from 0 to 255"},
    {R"({"at":20,"request":{"queue":[],"interface":"et1","attributeType":1,"event":1,"value":""}})",
     "request.value: expected the 2 octets of the type's values"},
    {R"({"at":20,"discard":[{"attributeType":1,"key":"0x05"}]})", "without leading zeros"},
    {R"({"at":20,"state":{"interface":"et1","attributeType":1,"key":"0x5","applicant":"5"}})",
     "state.applicant: expected one of VO VP VN AN AA QA LA AO QO AP QP LO"},
    {R"({"at":20,"start":{}})", "start: only the first step"},
};

// The LeaveAll that is due before the fault's time is not to be seen: the output ends before it.
TEST(ReplayFault, isToldWithItsLine) {
    for (const auto& [line, message] : faults) {
        const Outcome outcome = replay(start + enable + line + "\n");
        EXPECT_THAT(outcome.output, EndsWith(std::string(message) + "\n")) << line;
        EXPECT_THAT(outcome.output, HasSubstr("mrp-lab-test.jsonl:5: "));
        EXPECT_THAT(outcome.output, Not(HasSubstr("tx")));
        EXPECT_EQ(outcome.status, 1);
    }
    EXPECT_THAT(replay(enable).output, HasSubstr(":1: enable: the first step must be start\n"));
    EXPECT_THAT(replay(start + "{\"at\":1,\"end\":true}\n\n{\"at\":1,\"dump\":true}\n").output,
                HasSubstr(":4: dump: a step after the end\n"));
    EXPECT_THAT(
        replay(R"({"at":0,"start":{"application":2,"bridgeMac":"02-00-00-00-00-aa"}})").output,
        HasSubstr("start.bridgeMac: expected a MAC address"));
}

TEST(ReplayProgram, tellsUseFromFilesAndWritesACapture) {
    EXPECT_EQ(run(lab + " 2>/dev/null").status, 2);
    EXPECT_EQ(run(lab + " replay --nothing 2>/dev/null").status, 2);
    EXPECT_EQ(run(lab + " replay /nowhere 2>/dev/null").status, 2);
    EXPECT_EQ(run(lab + " replay " + testing::TempDir() + " 2>/dev/null").status, 2);
    EXPECT_EQ(run(lab + " replay < /dev/null").status, 0);
    const std::string end = std::string(REPLAY_EXAMPLES) + "/end.jsonl";
    EXPECT_EQ(run(lab + " replay " + end + " 2>/dev/null >/dev/full").status, 2);
    const std::string pcap = testing::TempDir() + "mrp-lab-test.pcap";
    EXPECT_EQ(run(lab + " replay - --capture " + pcap + " < " + end).status, 0);
    // One frame of 25 octets at 2.0 s: behind the file's header, its time and lengths.
    const std::string frame("\2\0\0\0\0\0\0\0\x19\0\0\0\x19\0\0\0\x01\x80\xc2", 19);
    EXPECT_EQ(contentOf(pcap).substr(24, frame.size()), frame);
}

}  // namespace
