#include <gtest/gtest.h>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>

#include "Wire.h"

// What the engine sends, as another's dissector understands it.
namespace MrpTest::Wire {
namespace {

using Json = nlohmann::json;
constexpr std::uint64_t s = 0x0011223344550001;
constexpr std::uint64_t d = 0x91e0f0000e80;

bool tsharkMissing() {
    return std::system("command -v tshark > /dev/null 2>&1") != 0;
}

// A directory that goes with its owner.
class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "mrp-XXXXXX").string();
        path_ = mkdtemp(name.data()) != nullptr ? name : std::string();
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

void writePcap(const std::filesystem::path& path, const std::vector<SentFrame>& frames) {
    std::ofstream out(path, std::ios::binary);
    const auto write = [&out](std::initializer_list<std::uint32_t> numbers) {
        for (const std::uint32_t number : numbers) {
            out.write(reinterpret_cast<const char*>(&number), sizeof number);
        }
    };
    // Version 2.4 as two 16-bit numbers, which read the same on every machine that writes them so.
    const std::array<std::uint16_t, 2> version = {2, 4};
    write({0xa1b2c3d4});
    out.write(reinterpret_cast<const char*>(version.data()), sizeof version);
    write({0, 0, 65535, 1});
    for (const SentFrame& frame : frames) {
        const auto size = static_cast<std::uint32_t>(frame.frame.size());
        write({static_cast<std::uint32_t>(frame.at), 0, size, size});
        out.write(reinterpret_cast<const char*>(frame.frame.data()), size);
    }
}

// The dissected layers of each frame.
std::vector<Json> dissect(const std::vector<SentFrame>& frames) {
    const TemporaryDirectory directory;
    const std::filesystem::path pcap = directory.path() / "sent.pcap";
    writePcap(pcap, frames);
    const std::string command =
        "tshark -r '" + pcap.string() + "' -T json --no-duplicate-keys 2> /dev/null";
    std::string output;
    std::FILE* pipe = popen(command.c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    std::array<char, 65536> buffer{};
    for (std::size_t n = 0; (n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        output.append(buffer.data(), n);
    }
    EXPECT_EQ(pclose(pipe), 0);
    std::vector<Json> result;
    for (const Json& packet : Json::parse(output)) {
        result.push_back(packet.at("_source").at("layers"));
    }
    return result;
}

// An entry that there is once stands alone, several stand in a list; one may be missing.
std::vector<Json> all(const Json& object, const std::string& name) {
    if (!object.contains(name)) {
        return {};
    }
    const Json& entry = object.at(name);
    return entry.is_array() ? entry.get<std::vector<Json>>() : std::vector<Json>{entry};
}

std::uint64_t number(const Json& object, const std::string& name) {
    return std::stoull(object.at(name).get<std::string>(), nullptr, 0);
}

// One decoded value: "TYPE:KEY=EVENT", for a Listener with "/DECLARATION"; "TYPE:LA" for a
// LeaveAll. Checks on its way that lengths and EndMarks are there.
void decodeVector(const Json& vector, const std::string& p, std::uint64_t type,
                  std::vector<std::string>& result) {
    const std::string prefix = std::to_string(type) + ":";
    const Json& header = vector.at(p + "vector_header_tree");
    if (number(header, p + "leave_all_event") != 0) {
        result.push_back(prefix + "LA");
    }
    const Json& first = vector.at(p + "first_value");
    const std::uint64_t key = first.contains(p + "vid")           ? number(first, p + "vid")
                              : first.contains(p + "sr_class_id") ? number(first, p + "sr_class_id")
                                                                  : number(first, p + "stream_id");
    const std::vector<Json> events = all(vector, p + "three_packed_event");
    const std::vector<Json> declarations = all(vector, p + "four_packed_event");
    EXPECT_EQ(events.size(), number(header, p + "number_of_values"));
    EXPECT_EQ(declarations.size(), type == listenerType ? events.size() : 0U);
    for (std::size_t i = 0; i < events.size(); ++i) {
        result.push_back(prefix + std::to_string(key + i) + "=" + events[i].get<std::string>() +
                         (type == listenerType ? "/" + declarations[i].get<std::string>() : ""));
    }
}

std::vector<std::string> decode(const std::vector<SentFrame>& frames, const std::string& protocol) {
    const std::string p = protocol + ".";
    std::vector<std::string> result;
    const std::vector<Json> packets = dissect(frames);
    EXPECT_EQ(packets.size(), frames.size());
    for (const Json& layers : packets) {
        EXPECT_FALSE(layers.contains("_ws.malformed")) << layers;
        const Json& pdu = layers.at(protocol);
        EXPECT_EQ(number(pdu, p + "protocol_version"), 0U);
        EXPECT_EQ(number(pdu, p + "end_mark"), 0U);
        for (const Json& message : all(pdu, p + "message")) {
            const Json& list = message.at(p + "attribute_list");
            EXPECT_EQ(number(list, p + "end_mark"), 0U);
            for (const Json& vector : all(list, p + "vector_attribute")) {
                decodeVector(vector, p, number(message, p + "attribute_type"), result);
            }
        }
    }
    return result;
}

// Sends, and remembers what a reader must find.
class Recorder {
  public:
    explicit Recorder(MrpApplication application) : sender(application) {}

    void send(AttributeType type, std::uint64_t key, const std::string& value, std::uint8_t event,
              const std::string& declaration = "") {
        const std::string prefix = std::to_string(type) + ":";
        MrpParseContext& context = *sender.node.sm().parseContext();
        const bool pending = context.sendTxLvAll();
        sender.send(type, value, event);
        if (event == AttributeEvent::leaveAll || (pending && !context.sendTxLvAll())) {
            expected.push_back(prefix + "LA");
        }
        if (event != AttributeEvent::leaveAll) {
            expected.push_back(prefix + std::to_string(key) + "=" + std::to_string(event) +
                               declaration);
        }
    }

    Sender sender;
    std::vector<std::string> expected;
};

TEST(Tshark, ReadsEveryFieldOfEveryValue) {
    if (tsharkMissing()) {
        GTEST_SKIP() << "tshark is not installed";
    }
    Sender sender(MrpApplication::msrp);
    sender.send(talkerFailedType, failed(s, d), AttributeEvent::joinIn);
    sender.send(domainType, domain(6, 3), AttributeEvent::lv);
    sender.flush();
    const Json layers = dissect(sender.node.sent).at(0);
    EXPECT_EQ(layers.at("eth").at("eth.dst"), "01:80:c2:00:00:0e");
    EXPECT_EQ(layers.at("eth").at("eth.src"), "02:00:00:00:00:01");
    const std::vector<Json> messages = all(layers.at("mrp-msrp"), "mrp-msrp.message");
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(number(messages[0], "mrp-msrp.attribute_length"), 34U);
    EXPECT_EQ(number(messages[0], "mrp-msrp.attribute_list_length"), 39U);
    const auto firstValue = [&messages](std::size_t i) {
        return messages[i]
            .at("mrp-msrp.attribute_list")
            .at("mrp-msrp.vector_attribute")
            .at("mrp-msrp.first_value");
    };
    const Json talker = firstValue(0);
    EXPECT_EQ(number(talker, "mrp-msrp.stream_id"), s);
    EXPECT_EQ(talker.at("mrp-msrp.stream_da"), "91:e0:f0:00:0e:80");
    EXPECT_EQ(number(talker, "mrp-msrp.vlan_id"), 2U);
    EXPECT_EQ(number(talker, "mrp-msrp.tspec_max_frame_size"), 100U);
    EXPECT_EQ(number(talker, "mrp-msrp.tspec_max_interval_frames"), 1U);
    EXPECT_EQ(number(talker, "mrp-msrp.priority_and_rank"), 0x70U);
    EXPECT_EQ(number(talker, "mrp-msrp.accumulated_latency"), 1000U);
    EXPECT_EQ(number(talker, "mrp-msrp.failure_bridge_id"), 0x8000020000000011U);
    EXPECT_EQ(number(talker, "mrp-msrp.failure_code"), 10U);
    EXPECT_EQ(number(firstValue(1), "mrp-msrp.sr_class_id"), 6U);
    EXPECT_EQ(number(firstValue(1), "mrp-msrp.sr_class_priority"), 3U);
    EXPECT_EQ(number(firstValue(1), "mrp-msrp.sr_class_vid"), 2U);
}

TEST(Tshark, ReadsMsrpAsItWasSent) {
    if (tsharkMissing()) {
        GTEST_SKIP() << "tshark is not installed";
    }
    Recorder recorder(MrpApplication::msrp);
    std::mt19937 random(3);
    std::uint64_t id = s;
    for (int run = 0; run < 400; ++run) {
        const auto type = static_cast<AttributeType>(1 + random() % 4);
        id += 2;
        if (random() % 10 == 0) {
            recorder.send(type, 0, "", AttributeEvent::leaveAll);
        }
        recorder.sender.node.sm().parseContext()->sendTxLvAllIs(random() % 5 == 0);
        for (auto length = 1 + random() % (1U << random() % 5); length > 0; --length, ++id) {
            const auto event = static_cast<std::uint8_t>(random() % 6);
            const auto declaration = static_cast<unsigned>(random() % 4);
            const auto classId = static_cast<unsigned>(id % 200);
            switch (type) {
            case talkerAdvertiseType:
                recorder.send(type, id, talker(id, d + id % 4096), event);
                break;
            case talkerFailedType:
                recorder.send(type, id, failed(id, d + id % 4096), event);
                break;
            case listenerType:
                recorder.send(type, id, listener(id, declaration), event,
                              "/" + std::to_string(declaration));
                break;
            default:
                recorder.send(type, classId, domain(classId, classId + 5), event);
            }
        }
    }
    recorder.sender.flush();
    EXPECT_GT(recorder.sender.node.sent.size(), 50U);
    EXPECT_EQ(decode(recorder.sender.node.sent, "mrp-msrp"), recorder.expected);
}

// A LeaveAll goes into a packet of its own, since one that follows several vectors cuts them off.
TEST(Tshark, ReadsMvrpAsItWasSent) {
    if (tsharkMissing()) {
        GTEST_SKIP() << "tshark is not installed";
    }
    Recorder recorder(MrpApplication::mvrp);
    std::mt19937 random(4);
    unsigned id = 1;
    for (int run = 0; run < 200; ++run) {
        if (random() % 10 == 0) {
            recorder.sender.flush();
            recorder.send(vlanType, 0, "", AttributeEvent::leaveAll);
        }
        recorder.sender.node.sm().parseContext()->sendTxLvAllIs(random() % 5 == 0);
        id += 2;
        for (auto length = 1 + random() % (1U << random() % 5); length > 0; --length, ++id) {
            const auto event = static_cast<std::uint8_t>(random() % 6);
            recorder.send(vlanType, id % 4096, vlan(id % 4096), event);
        }
    }
    recorder.sender.flush();
    EXPECT_GT(recorder.sender.node.sent.size(), 10U);
    EXPECT_EQ(decode(recorder.sender.node.sent, "mrp-mvrp"), recorder.expected);
}

// What the protocol itself sends: a LeaveAll period with declarations of every type.
TEST(Tshark, ReadsALeaveAllPeriod) {
    if (tsharkMissing()) {
        GTEST_SKIP() << "tshark is not installed";
    }
    TestNode node(MrpApplication::msrp);
    node.request(AttributeEvent::joinIn, talkerAdvertiseType, hex(talker(s, d)));
    node.request(AttributeEvent::joinIn, listenerType, hex(listener(s, 2)));
    node.request(AttributeEvent::joinIn, domainType, hex(domain(6, 3)));
    node.runUntil(9.9);
    node.sent.clear();
    node.runUntil(10.05);
    const std::string id = std::to_string(s);
    EXPECT_EQ(decode(node.sent, "mrp-msrp"),
              (std::vector<std::string>{"1:LA", "1:" + id + "=3", "2:LA", "3:LA",
                                        "3:" + id + "=3/2", "4:LA", "4:6=3"}));
    EXPECT_EQ(node.sent.size(), 1U);
}

}  // namespace
}  // namespace MrpTest::Wire
