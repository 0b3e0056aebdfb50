#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "agent/mrpctl/Tables.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/UnixAddress.h"

namespace MrpCtl {
namespace {

using Platform::Linux::FileDescriptor;
using testing::HasSubstr;
using testing::StartsWith;

const std::string good = R"({"mrpControl": 1, "program": "mrp-agent", "new member": []})"
                         "\n";
const std::string okEnd = R"({"id": null, "end": {"ok": true}})"
                          "\n";

std::string row(const std::string& text) {
    return R"({"id": null, "row": )" + text + "}\n";
}

std::string textOf(const std::string& table, const std::string& rows) {
    std::ostringstream text;
    printTable(text, table, Json::parse(rows).get<std::vector<Json>>());
    return text.str();
}

// What a shell command prints, both streams, and its exit status behind it.
std::string outputOf(const std::string& command) {
    std::FILE* pipe = ::popen(("{ " + command + "; echo status $?; } 2>&1").c_str(), "r");
    std::string output;
    std::array<char, 4096> block{};
    while (std::fgets(block.data(), block.size(), pipe) != nullptr) {
        output += block.data();
    }
    ::pclose(pipe);
    return output;
}

const std::string& socketPath() {
    static const std::string path =
        testing::TempDir() + "mrpctl-test-" + std::to_string(::getpid()) + ".sock";
    return path;
}

std::string mrpctl(const std::string& arguments) {
    return std::string(MRPCTL) + " --socket " + socketPath() + ' ' + arguments;
}

// An agent for one client: it says its first line, reads one request and answers it.
class StandIn {
  public:
    struct Script {
        std::string answer = okEnd;
        std::string greeting = good;
        bool stays = false;  // until the client has gone
        std::chrono::milliseconds thinks{0};
    };

    explicit StandIn(Script script) : script_(std::move(script)) {
        sockaddr_un address{};
        Platform::Linux::unixAddressOf(socketPath(), address);
        ::unlink(address.sun_path);
        const auto* general = reinterpret_cast<const sockaddr*>(&address);
        EXPECT_EQ(::bind(listener_.get(), general, sizeof(address)), 0);
        EXPECT_EQ(::listen(listener_.get(), 1), 0);
        thread_ = std::thread([this] { serve(); });
    }
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;
    ~StandIn() {
        ::shutdown(listener_.get(), SHUT_RDWR);  // ends its accept()
        if (thread_.joinable()) {
            thread_.join();
        }
        ::unlink(socketPath().c_str());
    }

    // All that it was told.
    std::string request() {
        ::shutdown(listener_.get(), SHUT_RDWR);
        thread_.join();
        return request_;
    }

  private:
    void say(const FileDescriptor& client, const std::string& text) {
        for (std::size_t sent = 0; sent < text.size();) {
            const ssize_t octets =
                ::send(client.get(), text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
            if (octets < 0) {
                return;
            }
            sent += static_cast<std::size_t>(octets);
        }
    }
    void serve() {
        const FileDescriptor client(::accept(listener_.get(), nullptr, nullptr));
        say(client, script_.greeting);
        for (char octet = 0; octet != '\n' && ::read(client.get(), &octet, 1) == 1;) {
            request_ += octet;
        }
        std::this_thread::sleep_for(script_.thinks);
        say(client, script_.answer);
        for (char octet = 0; script_.stays && ::read(client.get(), &octet, 1) == 1;) {
            request_ += octet;
        }
    }

    Script script_;
    FileDescriptor listener_{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    std::string request_;
    std::thread thread_;
};

std::string answered(const std::string& arguments, StandIn::Script script) {
    const StandIn agent(std::move(script));
    return outputOf(mrpctl(arguments));
}

TEST(MrpctlTables, consecutiveVlansThatAreEqualAreOneLine) {
    std::string rows;
    for (const int vlan : {10, 11, 12, 30, 31, 32, 33, 4094}) {
        const std::string ports = vlan == 32 ? R"(["eth1", "eth12"])" : R"(["eth1"])";
        rows += (rows.empty() ? "" : ",") + (R"({"vlan": )" + std::to_string(vlan)) +
                R"(, "registered": )" + ports + R"(, "fixed": [], "declared": ["é"]})";
    }
    EXPECT_EQ(textOf("vlans", "[" + rows + "]"),
              "VLAN         Registered  Fixed  Forbidden  Configured  Declared\n"
              "10-12,30-31  eth1        -      -          -           é\n"
              "32           eth1,eth12  -      -          -           é\n"
              "33,4094      eth1        -      -          -           é\n");
    // The same VLANs again are those of another attribute; a long list does not widen the column.
    std::string many = R"({"vlan": 9}, {"vlan": 9})";
    for (int vlan = 1000; vlan < 1020; vlan += 2) {
        many += R"(, {"vlan": )" + std::to_string(vlan) + "}";
    }
    const std::string text =
        textOf("vlans", "[" + many + R"(, {"vlan": 5000}, {"vlan": "x"}, {"vlan": 1020}])");
    for (const char* line : {"\n9  ", "\n9,1000,1002,1004,1006,1008,1010,1012  ",
                             "\n1014,1016,1018  ", "\n5000  ", "\nx  ", "\n1020  "}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
}

TEST(MrpctlTables, attributesHaveTheirAgesNamesAndValues) {
    EXPECT_EQ(
        textOf("attributes", R"([
          {"application": "mvrp", "port": "e1", "attributeType": "vlanVector", "key": 1,
           "applicant": "QA", "registrar": "IN", "age": 3.99, "value": "0001", "vlan": 1},
          {"application": "mvrp", "port": "e1", "attributeType": "vlanVector", "key": 2,
           "applicant": "QA", "registrar": "IN", "age": 3.01, "value": "0002", "vlan": 2},
          {"application": "mvrp", "port": "e1", "attributeType": "vlanVector", "key": 3,
           "applicant": "QA", "registrar": "IN", "age": 125, "value": "0003", "vlan": 3},
          {"application": "msrp", "port": "e1", "attributeType": "talkerFailed",
           "key": 144115188086800385, "applicant": "VO", "registrar": "LV", "age": 3725.0},
          {"application": "msrp", "port": "e1", "attributeType": "domain", "key": 6,
           "applicant": "VO", "registrar": "LV", "age": 273600, "srClassId": 6, "srClassVID": 2},
          {"application": "msrp", "port": "e1", "attributeType": "listener", "applicant": "VO",
           "registrar": "LV", "age": null, "streamId": "s", "event": "ready"}])"),
        "Application  Port  Type          Attribute                Applicant  Registrar    Age  "
        "Value\n"
        "mvrp         e1    vlanVector    1-2                      QA         IN            3s  -\n"
        "mvrp         e1    vlanVector    3                        QA         IN         2m05s  -\n"
        "msrp         e1    talkerFailed  02:00:00:00:00:a7:00:01  VO         LV         1h02m  -\n"
        "msrp         e1    domain        6                        VO         LV          3d4h  "
        "srClassVID=2\n"
        "msrp         e1    listener      s                        VO         LV             -  "
        "event=ready\n");
}

TEST(MrpctlTables, eachTableShowsWhatItsRowsHave) {
    EXPECT_EQ(textOf("ports", R"([{"port": "e\u001b[1m\u009b\u007f", "link": false, "role": 2,
          "state": "disabled", "mac": "m", "mtu": 1500, "nativeVlan": 1, "applications": [
            {"application": "mvrp", "packetAccess": true, "error": null, "registered": 12,
             "declared": 3},
            {"application": "msrp", "packetAccess": false, "error": "why", "registered": 0,
             "declared": 0}]}])"),
              "Port              Link  State     Role  MAC   MTU  Native  Application  Registered  "
              "Declared  Packets\n"
              "e\\x1b[1m\\x9b\\x7f  down  disabled     2  m    1500       1  mvrp                 "
              "12         3  yes\n"
              "e\\x1b[1m\\x9b\\x7f  down  disabled     2  m    1500       1  msrp                 "
              " 0         0  no: why\n");
    EXPECT_EQ(textOf("counters", R"([
          {"scope": "application", "application": "mvrp", "counters": {"numOfX": 4}},
          {"scope": "port", "application": "mvrp", "port": "e1", "pdusIn": 10, "pdusOut": 11,
           "malformed": 5, "sendFailures": 6, "eventsIn": {"Lv": 1}, "eventsOut": {"Lv": 2}}])"),
              "Application  Counter  Value\nmvrp         numOfX       4\n\n"
              "Application  Port  Direction  PDUs  New  JoinIn  In  JoinMt  Mt  Lv  LeaveAll  "
              "Faults\n"
              "mvrp         e1    in           10    -       -   -       -   -   1         -       "
              "5\n"
              "mvrp         e1    out          11    -       -   -       -   -   2         -       "
              "6\n");
    const std::string streams =
        textOf("streams", R"([{"streamId": "s", "talkers": [{"port": "e1", "dmac": "d", "age": 1,
          "attributeType": "talkerFailed", "applicant": "VO", "registrar": "IN"}],
          "listeners": [{"port": "e2", "event": "ready", "applicant": "QA", "registrar": "MT"}]}])");
    EXPECT_THAT(streams, HasSubstr("s       talker    e1    talkerFailed  VO         IN          "
                                   "1s  dmac=d\n"));
    EXPECT_THAT(streams, HasSubstr("s       listener  e2    ready         QA         MT          "
                                   " -  -\n"));
    EXPECT_THAT(textOf("timers", R"([{"timer": "leave", "due": 4.19, "attributes": 12}])"),
                HasSubstr("leave  -     4.1s          12\n"));
    EXPECT_THAT(textOf("log", R"([{"time": "t", "severity": 4, "name": null, "text": "a\nb"}])"),
                HasSubstr("t     warning   -     a\\x0ab\n"));
    EXPECT_THAT(textOf("domain", R"([{"port": "e1", "srClassId": 6, "srClassPriority": 3}])"),
                HasSubstr("e1        6         3     -"));
    EXPECT_EQ(textOf("agent", R"([{"uptime": 61, "bridge": {"name": "br0", "found": true}}])"),
              "Agent         Value\nuptime        1m01s\nbridge.name   br0\nbridge.found  yes\n");
    EXPECT_EQ(textOf("doctor", R"([{"severity": "ok", "text": "a", "advice": null},
                                   {"severity": "problem", "text": "b", "advice": "c"}])"),
              "Severity  Finding\nok        a\nproblem   b\n          -> c\n");
    EXPECT_EQ(watchLine(Json::parse(
                  R"({"time": "t", "change": "changed", "event": "ready", "application": "msrp",
          "port": "e1", "attributeType": "listener", "key": 1, "applicant": "QA", "value": "00",
          "registrar": "IN", "streamId": "s"})")),
              "t changed msrp e1 listener s QA IN event=ready");
    EXPECT_THROW(textOf("nothing", "[]"), std::invalid_argument);
}

TEST(MrpctlTables, rowsOfAnyShapeAreShown) {
    for (const char* table : {"agent", "ports", "vlans", "attributes", "streams", "domain",
                              "counters", "timers", "log", "doctor"}) {
        const std::string header = textOf(table, "[]");
        EXPECT_EQ(header.find('\n'), header.size() - 1) << table;  // a line
        for (const char* odd :
             {"[null]", "[1, \"x\", [[1]], {}]",
              R"([{"vlan": -1, "age": "x", "talkers": {"a": 1}, "applications": 1, "link": "x"},
                  {"vlan": 1e300, "age": -1e300, "listeners": "x", "due": 1e300, "severity": 9,
                   "counters": [1], "scope": "port", "eventsIn": 3, "attributeType": "listener",
                   "key": "x", "applications": [1, null], "uptime": {"a": {}}}])"}) {
            const std::string text = textOf(table, odd);
            EXPECT_THAT(text, StartsWith(header.substr(0, 4)));
            EXPECT_THAT(text, testing::Not(HasSubstr(" \n")));
        }
    }
}

TEST(Mrpctl, commandLinesBecomeRequests) {
    const std::string id = "02:00:00:00:00:aa:00:01";
    const std::vector<std::pair<std::string, std::string>> commands{
        {"show vlans", R"({"request":"show","what":"vlans"})"},
        {"show attributes --port a,b --port c --vlan 10,20-30 --state IN --application mvrp --type "
         "listener --stream " +
             id,
         R"({"request":"show","what":"attributes","application":["mvrp"],"port":["a","b","c"],)"
         R"("vlan":["10","20-30"],"stream":[")" +
             id + R"("],"type":["listener"],"state":["IN"]})"},
        {"-j show log --limit 5", R"({"request":"show","what":"log","limit":5})"},
        {"watch --port a --limit 5", R"({"request":"watch","port":["a"],"limit":5})"},
        {"declare vlan --port et1 10-20,30 40 --new --fixed",
         R"({"request":"declare","vlans":[{"ids":["10-20",30,40],"new":true,)"
         R"("registration":"fixed","interfaces":["et1"]}]})"},
        {"declare talker --vlan 2 --max-frame-size 64 --max-interval-frames 1 --priority 3 --rank 0"
         " --latency 9 --dmac 91:e0:f0:00:0e:80 --stream-id " +
             id,
         R"({"request":"declare","talkerAdvertise":[{"streamId":")" + id +
             R"(","dmac":"91:e0:f0:00:0e:80","vlanId":2,"maxFrameSize":64,)"
             R"("maxIntervalFrames":1,"priority":3,"rank":0,"accumulatedLatency":9}]})"},
        {"declare listener --event readyFailed --stream-id " + id,
         R"({"request":"declare","listener":[{"streamId":")" + id +
             R"(","event":"readyFailed"}]})"},
        {"declare domain --class A --priority 3 --vlan 2",
         R"({"request":"declare","domain":[{"srClassId":6,"srClassPriority":3,"srClassVID":2}]})"},
        {"withdraw vlan 7", R"({"request":"withdraw","vlans":[{"ids":[7]}]})"},
        {"withdraw stream " + id + " --port et1,et2",
         R"({"request":"withdraw","streams":[{"streamId":")" + id +
             R"(","interfaces":["et1","et2"]}]})"},
        {"withdraw domain --class 5", R"({"request":"withdraw","domain":[{"srClassId":5}]})"},
        {"wait vlan 10 --port et1",
         R"({"request":"wait","state":"registered","timeout":10.0,"port":"et1","vlan":10})"},
        {"wait stream " + id + " --absent --timeout 0 --type listener",
         R"({"request":"wait","state":"absent","timeout":0.0,"stream":")" + id +
             R"(","type":"listener"})"},
        {"clear counters --application mvrp",
         R"({"request":"clear","what":"counters","application":["mvrp"]})"},
        {"activate", R"({"request":"activate"})"},
        {"doctor", R"({"request":"doctor"})"},
    };
    for (const auto& [arguments, request] : commands) {
        StandIn agent({});
        EXPECT_THAT(outputOf(mrpctl(arguments)), HasSubstr("status 0\n")) << arguments;
        EXPECT_EQ(Json::parse(agent.request()), Json::parse(request)) << arguments;
    }
}

TEST(Mrpctl, jsonHasOneShapeForAnyNumberOfRows) {
    std::string rows;
    for (const std::size_t count : {0U, 1U, 300U}) {
        std::string out = answered("show vlans -j", {rows + okEnd});
        EXPECT_THAT(out, testing::EndsWith("]}\nstatus 0\n"));
        const Json json = Json::parse(out.substr(0, out.size() - 9));
        EXPECT_EQ(json.size(), 1U);
        EXPECT_EQ(json["vlans"].size(), count);
        for (std::size_t more = count; more < (count == 0 ? 1U : 300U); ++more) {
            rows += row(R"({"vlan": 10})");
        }
    }
    EXPECT_EQ(answered("-j activate", {}), "{\"ok\":true}\nstatus 0\n");
    EXPECT_EQ(answered("activate", {}), "status 0\n");
    const std::string refusal = R"({"end": {"ok": false, "code": "refused", "text": "no\nway"}})"
                                "\n";
    const std::string end = R"({"ok":false,"code":"refused","text":"no\nway"})"
                            "\nmrpctl: refused: no\\x0away\nstatus 2\n";
    EXPECT_EQ(answered("-j activate", {refusal}), end);
    EXPECT_EQ(answered("-j show vlans", {refusal}), end);
    // Half a table must not look whole, and is none for people.
    const std::string half = row(R"({"vlan": 10})") + refusal;
    EXPECT_EQ(answered("-j show vlans", {half}),
              "{\"vlans\": [\n{\"vlan\":10}\nmrpctl: refused: no\\x0away\nstatus 2\n");
    EXPECT_EQ(answered("show vlans", {half}), "mrpctl: refused: no\\x0away\nstatus 2\n");
}

TEST(Mrpctl, exitStatusTellsWrongUseFromRefusalFromNoAgent) {
    EXPECT_EQ(outputOf(mrpctl("show vlans")),
              "mrpctl: " + socketPath() + ": No such file or directory\nstatus 3\n");
    EXPECT_THAT(outputOf("MRP_CONTROL=/nowhere " + std::string(MRPCTL) + " activate"),
                StartsWith("mrpctl: /nowhere: No such"));
    EXPECT_THAT(outputOf(mrpctl("--socket " + std::string(200, 'x') + " activate")),
                HasSubstr("status 1\n"));  // twice
    EXPECT_THAT(outputOf("MRP_CONTROL=" + std::string(200, 'x') + ' ' + MRPCTL + " activate"),
                HasSubstr("File name too long\nstatus 3\n"));
    for (const char* wrong :
         {"", "show", "show nothing", "show log --port a", "show vlans --vlan 20-10",
          "declare vlan 0", "declare vlan 1 --fixed --forbidden", "declare domain --class C",
          "wait vlan 1 --absent --declared", "withdraw stream 1", "--timeout 0 activate"}) {
        const std::string out = outputOf(mrpctl(wrong));
        EXPECT_THAT(out, StartsWith("mrpctl: ")) << wrong;
        EXPECT_EQ(out.find('\n') + 1, out.find("status 1\n")) << wrong;  // in one line
    }
    EXPECT_THAT(outputOf(mrpctl("declare vlan --help")), HasSubstr("status 0\n"));

    const std::string end = R"("end": {"ok": false, "code": "timeout", "text": "t"}})"
                            "\n";
    EXPECT_EQ(answered("wait vlan 10", {"{" + end}), "mrpctl: timeout: t\nstatus 2\n");
    EXPECT_EQ(answered("activate", {"", R"({"mrpControl": 1, )" + end}),
              "mrpctl: timeout: t\nstatus 2\n");
    // An agent that waits for us is not silent.
    EXPECT_EQ(answered("--timeout 0.2 wait vlan 10 --timeout 9",
                       {okEnd, good, false, std::chrono::milliseconds(500)}),
              "status 0\n");
    const std::string warning = row(R"({"severity": "warning", "text": "problem"})");
    EXPECT_THAT(answered("doctor", {warning + okEnd}), HasSubstr("status 0\n"));
    const std::string problem = row(R"({"severity": "problem", "text": "x"})");
    EXPECT_THAT(answered("doctor", {problem + warning + okEnd}), HasSubstr("x\nwarning "));
    EXPECT_THAT(answered("-j doctor", {problem + warning + okEnd}), HasSubstr("]}\nstatus 2\n"));
}

TEST(Mrpctl, noAgentMakesItHangOrFail) {
    const std::string rows = row(R"({"vlan": 10})");
    const std::string deep = std::string(100000, '[');
    const std::vector<StandIn::Script> hostile{
        {"", ""},                                    // says nothing at all, and goes
        {"", "", true},                              // and stays
        {"", "SSH-2.0\n"},                           // is something else
        {"", "{}\n"},                                // too
        {"", "{\"mrpControl\": 2}\n"},               // speaks another version
        {"", good, true},                            // never answers
        {rows},                                      // ends in the middle
        {rows + R"({"id": null, "end": {"ok")"},     // of a line
        {"\xff\xfe{\n"},                             // speaks no UTF-8
        {"[1]\n"},                                   // no objects
        {"{\"id\": null}\n"},                        // no answer
        {"{\"end\": 1}\n"},                          // no end
        {row(deep + std::string(100000, ']'))},      // nests
        {deep},                                      // without an end
        {rows + std::string(5U * 1024 * 1024, ' ')}  // also later
    };
    EXPECT_EQ(answered("activate", {std::string(5U * 1024 * 1024, 'x')}),
              "mrpctl: the agent says a line without an end\nstatus 3\n");
    for (std::size_t at = 0; at < hostile.size(); ++at) {
        for (const char* command : {"show vlans", "-j show vlans", "activate"}) {
            const std::string out = answered(std::string("--timeout 0.2 ") + command, hostile[at]);
            EXPECT_THAT(out, HasSubstr("mrpctl: ")) << at << command;
            EXPECT_THAT(out, testing::EndsWith("status 3\n")) << at << command;
        }
    }
}

TEST(Mrpctl, watchIsFlushedAndEndsBySigint) {
    const std::string lines =
        row(R"({"time": "t", "change": "changed", "application": "mvrp", "port": "e1", "vlan": 10,
                "attributeType": "vlanVector", "applicant": "QA", "registrar": "IN"})") +
        row(R"({"time": "t", "change": "removed", "application": "msrp", "port": "e1", "key": 6,
                "attributeType": "domain"})") +
        row(R"({"time": "t", "change": "port", "port": "e1", "link": true, "state": "learning"})") +
        row(R"({"time": "t", "change": "lost", "rows": 12})");
    std::string oneLine;  // JSON of a test may have newlines, an agent's may not
    for (const char octet : lines) {
        oneLine += octet;
        if (oneLine.size() > 1 && octet == '\n' && oneLine[oneLine.size() - 2] != '}') {
            oneLine.back() = ' ';
        }
    }
    const StandIn agent({oneLine, good, true});
    // Longer than it may be silent otherwise.
    const std::string command = "echo $$; exec " + mrpctl("--timeout 0.05 watch");
    std::FILE* pipe = ::popen(command.c_str(), "r");
    std::array<char, 256> line{};
    const auto next = [&] { return std::string(std::fgets(line.data(), line.size(), pipe)); };
    const pid_t pid = std::stoi(next());
    EXPECT_EQ(next(), "t changed mvrp e1 vlanVector 10 QA IN\n");
    EXPECT_EQ(next(), "t removed msrp e1 domain 6\n");
    EXPECT_EQ(next(), "t port e1 link=up state=learning nativeVlan=-\n");
    EXPECT_EQ(next(), "t lost 12 rows\n");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(::kill(pid, SIGINT), 0);
    EXPECT_EQ(::pclose(pipe), 0);
}

TEST(Mrpctl, anOutputThatIsGoneEndsItQuietlyAFullOneDoesNot) {
    std::string rows;
    for (int at = 0; at < 20000; ++at) {
        rows += row(R"({"text": "a message that is long enough to fill pipes"})");
    }
    for (const char* command : {"show log", "-j show log", "watch", "--help"}) {
        const StandIn agent({rows + okEnd});
        const std::string quiet = "{ " + mrpctl(command) + "; echo quiet $? >&2; } | true";
        EXPECT_EQ(outputOf(quiet), "quiet 0\nstatus 0\n") << command;
    }
    EXPECT_EQ(answered("show log >/dev/full", {okEnd}),
              "mrpctl: standard output: No space left on device\nstatus 2\n");
    StandIn agent({okEnd, good, true});
    EXPECT_EQ(outputOf(mrpctl("show log >&-")), "status 0\n");
    EXPECT_EQ(agent.request(), "{\"request\":\"show\",\"what\":\"log\"}\n");  // no table
}

}  // namespace
}  // namespace MrpCtl
