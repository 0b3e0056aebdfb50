#include "lab/pcap/PcapFile.h"

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <utility>

#include "platform/linux/EpollActivityManager.h"

namespace MrpLab {

namespace {

constexpr int maxFrame = 65535;

using PcapPtr = std::unique_ptr<pcap_t, void (*)(pcap_t*)>;

PcapPtr openCapture(const std::string& interfaceName) {
    char error[PCAP_ERRBUF_SIZE] = "";
    PcapPtr capture(pcap_create(interfaceName.c_str(), error), pcap_close);
    if (!capture) {
        throw std::runtime_error(interfaceName + ": " + error);
    }
    pcap_set_snaplen(capture.get(), maxFrame);
    pcap_set_promisc(capture.get(), 1);
    pcap_set_immediate_mode(capture.get(), 1);
    if (pcap_activate(capture.get()) < 0 || pcap_setnonblock(capture.get(), 1, error) < 0) {
        throw std::runtime_error(interfaceName + ": " + pcap_geterr(capture.get()));
    }
    bpf_program program{};
    const bool filtered =
        pcap_compile(capture.get(), &program, "ether proto 0x88f5 or ether proto 0x22ea", 1,
                     PCAP_NETMASK_UNKNOWN) == 0 &&
        pcap_setfilter(capture.get(), &program) == 0;
    pcap_freecode(&program);
    if (!filtered) {
        throw std::runtime_error(interfaceName + ": " + pcap_geterr(capture.get()));
    }
    return capture;
}

}  // namespace

PcapFile::PcapFile(std::string fileName)
    : fileName_(std::move(fileName)),
      pcap_(pcap_open_dead(DLT_EN10MB, maxFrame), pcap_close),
      dumper_(pcap_ ? pcap_dump_open(pcap_.get(), fileName_.c_str()) : nullptr, pcap_dump_close) {
    if (!dumper_) {
        // The library's message begins with the name.
        throw std::runtime_error(pcap_ ? pcap_geterr(pcap_.get()) : fileName_ + ": out of memory");
    }
}

void PcapFile::frameIs(std::span<const std::uint8_t> frame) {
    using namespace std::chrono;
    frameIs(frame, duration_cast<microseconds>(system_clock::now().time_since_epoch()));
}

void PcapFile::frameIs(std::span<const std::uint8_t> frame, std::chrono::microseconds at) {
    constexpr auto perSecond = std::chrono::microseconds::period::den;
    pcap_pkthdr header{};
    header.ts.tv_sec = static_cast<decltype(header.ts.tv_sec)>(at.count() / perSecond);
    header.ts.tv_usec = static_cast<decltype(header.ts.tv_usec)>(at.count() % perSecond);
    header.caplen = static_cast<bpf_u_int32>(frame.size());
    header.len = header.caplen;
    frameIs(header, frame.data());
}

void PcapFile::frameIs(const pcap_pkthdr& header, const std::uint8_t* bytes) {
    pcap_dump(reinterpret_cast<u_char*>(dumper_.get()), &header, bytes);
    ++frames_;
}

void PcapFile::flush() {
    if (pcap_dump_flush(dumper_.get()) != 0 || std::ferror(pcap_dump_file(dumper_.get())) != 0) {
        throw std::runtime_error(fileName_ + ": cannot be written");
    }
}

void captureInterface(const std::string& interfaceName, PcapFile& file) {
    Platform::Linux::EpollActivityManager activityManager;
    activityManager.signalIs(SIGINT, [&] { activityManager.stop(); });
    activityManager.signalIs(SIGTERM, [&] { activityManager.stop(); });
    const PcapPtr capture = openCapture(interfaceName);
    const auto takeFrames = [&] {
        const auto take = [](u_char* user, const pcap_pkthdr* header, const u_char* bytes) {
            reinterpret_cast<PcapFile*>(user)->frameIs(*header, bytes);
        };
        const int count = pcap_dispatch(capture.get(), -1, take, reinterpret_cast<u_char*>(&file));
        if (count < 0) {
            activityManager.stop();
        }
    };
    activityManager.descriptorIs(pcap_get_selectable_fd(capture.get()), takeFrames);
    activityManager.run();
    file.flush();
}

}  // namespace MrpLab
