#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>

#include <benchmark/benchmark.h>

#include "Frames.h"
#include "Skipped.h"
#include "agent/instance/MrpInstance.h"
#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/LinuxNetInfo.h"
#include "platform/log/Log.h"

namespace MrpBench {

using namespace Mrp;
using namespace Platform;
using Linux::checked;
using Linux::FileDescriptor;

namespace {

constexpr const char* near = "near";
constexpr const char* far = "far";

// A network namespace with a virtual Ethernet cable in it, and one CPU, for the calling thread and
// those that it starts. What was before comes back at the end.
class Cable {
  public:
    Cable() {
        ::sched_getaffinity(0, sizeof(cpus_), &cpus_);
        made_ = before_ && ::unshare(CLONE_NEWNET) == 0;
        const std::string commands = std::string("{ ip link add ") + near +
                                     " type veth peer name " + far + " && ip link set " + near +
                                     " up && ip link set " + far + " up; } 2>/dev/null";
        if (made_ && std::system(commands.c_str()) == 0) {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(::sched_getcpu(), &one);
            ready_ = ::sched_setaffinity(0, sizeof(one), &one) == 0;
        }
    }
    Cable(const Cable&) = delete;
    Cable& operator=(const Cable&) = delete;
    ~Cable() {
        ::sched_setaffinity(0, sizeof(cpus_), &cpus_);
        if (made_) {
            ::setns(before_.get(), CLONE_NEWNET);
        }
    }

    explicit operator bool() const { return ready_; }

  private:
    FileDescriptor before_{::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC)};
    cpu_set_t cpus_{};
    bool made_ = false;
    bool ready_ = false;
};

// A blocking packet socket for the frames of MVRP that come in at an end of the cable. It waits for
// half a second at the most.
class RawEnd {
  public:
    explicit RawEnd(const char* interface) {
        sockaddr_ll address{};
        address.sll_family = AF_PACKET;
        address.sll_protocol = htons(MrpAgent::etherType(MrpApplication::mvrp));
        address.sll_ifindex = static_cast<int>(::if_nametoindex(interface));
        checked(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
                "binding a packet socket");
        packet_mreq all{};
        all.mr_ifindex = address.sll_ifindex;
        all.mr_type = PACKET_MR_PROMISC;
        checked(::setsockopt(socket_.get(), SOL_PACKET, PACKET_ADD_MEMBERSHIP, &all, sizeof(all)),
                "taking in every address");
        constexpr timeval patience{0, 500000};
        ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    }

    bool send(std::span<const std::uint8_t> frame) const {
        return ::send(socket_.get(), frame.data(), frame.size(), 0) ==
               static_cast<ssize_t>(frame.size());
    }
    // What came in; empty when nothing did.
    std::span<const std::uint8_t> receive() {
        const ssize_t octets = ::recv(socket_.get(), buffer_.data(), buffer_.size(), 0);
        return std::span(buffer_).first(octets > 0 ? static_cast<std::size_t>(octets) : 0);
    }

    // Takes in what comes until nothing does for a while, and tells whether there was something.
    bool drained() {
        constexpr int msecs = 100;
        pollfd readable{socket_.get(), POLLIN, 0};
        bool any = false;
        while (::poll(&readable, 1, msecs) > 0 && !receive().empty()) {
            any = true;
        }
        return any;
    }

  private:
    FileDescriptor socket_{
        checked(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0), "opening a packet socket")};
    std::array<std::uint8_t, 2048> buffer_{};
};

constexpr std::uint16_t vlan = 100;
constexpr std::size_t packedEventAt = ethHeaderOctets + 3 + 4;  // of the first vector's values

// An engine on the far end that declares the VLAN, in its own thread.
class FarEngine {
  public:
    FarEngine() : thread_([this] { run(); }) {}
    ~FarEngine() {
        const std::uint64_t one = 1;
        static_cast<void>(!::write(stop_.get(), &one, sizeof(one)));
        thread_.join();
    }

  private:
    void run() const {
        Linux::EpollActivityManager manager;
        MrpAgent::NodeInterfaces interfaces = MrpAgent::NodeInterfaces::make();
        Linux::LinuxNetInfo netInfo(manager, interfaces.kernelStatus, interfaces.allIntfStatus,
                                    interfaces.ethPhyIntfStatus);
        const IntfId intfId{far};
        static_cast<void>(netInfo.addInterface(intfId.name()));
        MrpAgent::MrpInstance::Parameters parameters;
        parameters.mrpConfig = makePtr<MrpConfig>();
        constexpr Seconds none = 1e6;
        parameters.mrpConfig->leaveAllTimeIs(none);
        MrpAgent::MrpInstance instance(manager, interfaces, parameters);
        instance.enable(intfId);
        instance.request(intfId, vlanType, AttributeEvent::joinIn,
                         std::array<std::uint8_t, 2>{vlan >> 8U, vlan & 0xffU});
        manager.descriptorIs(stop_.get(), [&manager] { manager.stop(); });
        manager.run();
    }

    FileDescriptor stop_{checked(::eventfd(0, EFD_CLOEXEC), "making an event")};
    std::thread thread_;
};

// Sends the frames back as they are.
class FarEcho {
  public:
    FarEcho() : thread_([this] { run(); }) {}
    ~FarEcho() {
        ending_ = true;
        thread_.join();
    }

  private:
    void run() {
        while (!ending_) {
            const auto frame = end_.receive();
            if (!frame.empty()) {
                end_.send(frame);
            }
        }
    }

    std::atomic<bool> ending_ = false;
    RawEnd end_{far};
    std::thread thread_;
};

// A frame there, and the answer back; false when it is not an answer.
bool exchange(RawEnd& end, const Frame& frame, std::uint8_t answer) {
    if (!end.send(frame)) {
        return false;
    }
    const auto received = end.receive();
    return received.size() > packedEventAt && received[packedEventAt] == answer;
}

bool worksSoon(RawEnd& end, const Frame& frame, std::uint8_t answer) {
    constexpr int attempts = 10;
    for (int i = 0; i < attempts; ++i) {
        if (exchange(end, frame, answer)) {
            return true;
        }
    }
    return false;
}

// Real time: both threads have their part in it.
void perRoundTrip(benchmark::State& state, std::chrono::steady_clock::time_point begin) {
    const std::chrono::duration<double> span = std::chrono::steady_clock::now() - begin;
    state.counters["per_round_trip"] = span.count() / static_cast<double>(state.iterations());
}

template <class Far>
void roundTrips(benchmark::State& state, std::uint8_t answerEvent) {
    const Cable cable;
    if (!cable) {
        skip(state, "no network namespace with a virtual Ethernet cable to be had here");
        return;
    }
    logSinkIs(nullptr);
    const Frame frame = oneVlanFrame(vlan, AttributeEvent::joinMt);
    const std::uint8_t answer = oneVlanFrame(vlan, answerEvent).at(packedEventAt);
    RawEnd end(near);
    const Far other;
    if (!worksSoon(end, frame, answer)) {
        state.SkipWithError("there is no answer");
        return;
    }
    end.drained();  // whoever began with more than an answer is not to be a frame ahead
    bool done = true;
    const auto begin = std::chrono::steady_clock::now();
    for (auto _ : state) {
        done = exchange(end, frame, answer) && done;
    }
    perRoundTrip(state, begin);
    if (!done || end.drained()) {
        state.SkipWithError("not every frame was answered once");
    }
}

// The neighbour has not registered what we declare (JoinMt), so it is told at once, by JoinIn: we
// have registered its own.
void roundTrip(benchmark::State& state) {
    roundTrips<FarEngine>(state, AttributeEvent::joinIn);
}
void echo(benchmark::State& state) {
    roundTrips<FarEcho>(state, AttributeEvent::joinMt);
}

}  // namespace

BENCHMARK(roundTrip)->Name("Wire/RoundTrip")->Unit(benchmark::kMicrosecond);
BENCHMARK(echo)->Name("Floor/WireRoundTrip")->Unit(benchmark::kMicrosecond);

}  // namespace MrpBench
