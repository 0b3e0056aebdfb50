#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>

#include "Wire.h"
#include "platform/base/ScopeGuard.h"

// What the engine sends, as another's dissector understands it.
namespace MrpTest::Wire {
namespace {

using Json = nlohmann::json;
constexpr std::uint64_t s = 0x0011223344550001;
constexpr std::uint64_t d = 0x91e0f0000e80;

void writePcap(const std::string& path, const std::vector<SentFrame>& frames) {
    std::ofstream out(path, std::ios::binary);
    const auto write = [&out](const auto&... numbers) {
        (out.write(reinterpret_cast<const char*>(&numbers), sizeof numbers), ...);
    };
    const std::uint16_t major = 2;
    const std::uint16_t minor = 4;
    write(0xa1b2c3d4U, major, minor, 0U, 0U, 65535U, 1U);  // microseconds, Ethernet
    for (const SentFrame& frame : frames) {
        const auto size = static_cast<std::uint32_t>(frame.frame.size());
        write(static_cast<std::uint32_t>(frame.at), 0U, size, size);
        out.write(reinterpret_cast<const char*>(frame.frame.data()), size);
    }
}

// The dissected layers of each frame.
std::vector<Json> dissect(const std::vector<SentFrame>& frames) {
    const std::string name = testing::TempDir() + "mrp-" + std::to_string(getpid());
    const std::string pcap = name + ".pcap";
    const std::string json = name + ".json";
    const ScopeGuard clear([&] {
        std::filesystem::remove(pcap);
        std::filesystem::remove(json);
    });
    writePcap(pcap, frames);
    const std::string command =
        "tshark -r '" + pcap + "' -T json --no-duplicate-keys > '" + json + "' 2> /dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    std::ifstream output(json);
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
    if (key != 0 && first.contains(p + "stream_da")) {
        EXPECT_EQ(first.at(p + "stream_da"), EthAddr(d + key % 4096).stringValue());
        EXPECT_EQ(number(first, p + "vlan_id"), 2U);
        EXPECT_EQ(number(first, p + "tspec_max_frame_size"), 100U);
        EXPECT_EQ(number(first, p + "tspec_max_interval_frames"), 1U);
        EXPECT_EQ(number(first, p + "priority_and_rank"), 0x70U);
        EXPECT_EQ(number(first, p + "accumulated_latency"), 1000U);
    }
    if (key != 0 && type == talkerFailedType) {
        EXPECT_EQ(number(first, p + "failure_bridge_id"), 0x8000020000000011U);
        EXPECT_EQ(number(first, p + "failure_code"), 10U);
    }
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

// Sends random runs of values, and remembers what a reader must find.
class Recorder {
  public:
    Recorder(MrpApplication application, unsigned seed) : sender(application), random_(seed) {}

    void sendRun() {
        const bool msrp = sender.node.lib->application() == MrpApplication::msrp;
        const auto type = static_cast<AttributeType>(msrp ? 1 + below(4) : vlanType);
        key_ += 2;
        if (below(10) == 0) {
            if (!msrp) {
                sender.flush();  // behind several vectors it would cut them off
            }
            sender.send(type, "", AttributeEvent::leaveAll);
            expected.push_back(std::to_string(type) + ":LA");
        }
        sender.node.sm().parseContext()->sendTxLvAllIs(below(5) == 0);
        for (auto length = 1 + below(1U << below(5)); length > 0; --length, ++key_) {
            send(msrp, type);
        }
    }

    Sender sender;
    std::vector<std::string> expected;

  private:
    unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

    void send(bool msrp, AttributeType type) {
        const unsigned small = static_cast<unsigned>(key_ % (msrp ? 200 : 4096));
        const unsigned event = below(6);
        const unsigned declaration = below(4);
        const std::uint64_t dmac = d + key_ % 4096;
        const std::string value = !msrp                         ? vlan(small)
                                  : type == talkerAdvertiseType ? talker(key_, dmac)
                                  : type == talkerFailedType    ? failed(key_, dmac)
                                  : type == listenerType        ? listener(key_, declaration)
                                                                : domain(small, small + 5);
        MrpParseContext& context = *sender.node.sm().parseContext();
        const bool pending = context.sendTxLvAll();
        sender.send(type, value, static_cast<std::uint8_t>(event));
        const std::string prefix = std::to_string(type) + ":";
        if (pending && !context.sendTxLvAll()) {
            expected.push_back(prefix + "LA");
        }
        const bool stream = msrp && type != domainType;
        expected.push_back(prefix + std::to_string(stream ? key_ : small) + "=" +
                           std::to_string(event) +
                           (type == listenerType ? "/" + std::to_string(declaration) : ""));
    }

    std::mt19937 random_;
    std::uint64_t key_ = s;
};

TEST(Tshark, ReadsWhatWasSent) {
    for (const bool msrp : {true, false}) {
        const MrpApplication application = msrp ? MrpApplication::msrp : MrpApplication::mvrp;
        Recorder recorder(application, 3);
        for (int run = 0; run < 400; ++run) {
            recorder.sendRun();
        }
        recorder.sender.flush();
        const std::vector<SentFrame>& frames = recorder.sender.node.sent;
        EXPECT_GT(frames.size(), 20U);
        TestNode neighbour(application);
        for (const SentFrame& frame : frames) {
            neighbour.receiveFrame(frame.frame);
        }
        EXPECT_EQ(neighbour.counters().numOfMalformedPkts(), 0U) << "our own parser first";
        EXPECT_EQ(neighbour.counters().numOfPktsProcessed(), frames.size());
        if (std::system("command -v tshark > /dev/null 2>&1") != 0) {
            GTEST_SKIP() << "tshark is not installed";
        }
        EXPECT_EQ(decode(frames, msrp ? "mrp-msrp" : "mrp-mvrp"), recorder.expected);
    }
}

}  // namespace
}  // namespace MrpTest::Wire
