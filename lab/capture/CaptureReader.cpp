#include "lab/capture/CaptureReader.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "agent/instance/MrpInstance.h"

namespace MrpLab {

using namespace Platform;
using namespace Mrp;

namespace {

std::uint16_t be16(std::span<const std::uint8_t> octets, std::size_t offset) {
    return static_cast<std::uint16_t>(octets[offset] << 8U | octets[offset + 1]);
}

}  // namespace

std::optional<MrpFrame> mrpFrameOf(std::span<const std::uint8_t> octets) {
    constexpr std::size_t addrSize = 6;
    constexpr std::size_t headerSize = 14;
    constexpr std::size_t tagSize = 4;
    constexpr std::uint16_t taggedEtherType = 0x8100;
    constexpr std::uint16_t vlanMask = 0x0fff;
    if (octets.size() < headerSize) {
        return std::nullopt;
    }
    EthAddr::Octets source{};
    std::copy_n(octets.begin() + addrSize, addrSize, source.begin());
    MrpFrame frame{MrpApplication::none, EthAddr(source), std::nullopt, octets,
                   octets.subspan(headerSize)};
    std::uint16_t type = be16(octets, 2 * addrSize);
    if (type == taggedEtherType && octets.size() >= headerSize + tagSize) {
        frame.vlan = be16(octets, headerSize) & vlanMask;
        type = be16(octets, headerSize + 2);
        frame.pdu = octets.subspan(headerSize + tagSize);
    }
    for (const MrpApplication application : {MrpApplication::mvrp, MrpApplication::msrp}) {
        const EthAddr::Octets group = MrpAgent::groupAddr(application).octets();
        if (type == MrpAgent::etherType(application) &&
            std::equal(group.begin(), group.end(), octets.begin())) {
            frame.application = application;
            return frame;
        }
    }
    return std::nullopt;
}

CaptureReader::CaptureReader(std::string fileName)
    : fileName_(std::move(fileName)), pcap_(nullptr, pcap_close) {
    std::array<char, PCAP_ERRBUF_SIZE> error{};
    pcap_.reset(pcap_open_offline_with_tstamp_precision(fileName_.c_str(),
                                                        PCAP_TSTAMP_PRECISION_NANO, error.data()));
    if (!pcap_) {
        const std::string what = error.data();  // names some files itself
        throw std::runtime_error(what.starts_with(fileName_) ? what : fileName_ + ": " + what);
    }
    if (pcap_datalink(pcap_.get()) != DLT_EN10MB) {
        throw std::runtime_error(fileName_ + ": is no capture of Ethernet");
    }
}

std::optional<CaptureReader::Frame> CaptureReader::next() {
    constexpr std::int64_t nanosecondsPerSecond = 1000000000;
    pcap_pkthdr* header = nullptr;
    const std::uint8_t* octets = nullptr;
    const int result = pcap_next_ex(pcap_.get(), &header, &octets);
    if (result == PCAP_ERROR_BREAK) {
        return std::nullopt;
    }
    if (result < 0) {
        throw std::runtime_error(fileName_ + ": " + pcap_geterr(pcap_.get()));
    }
    // The field for microseconds holds nanoseconds, as was asked for.
    return Frame{static_cast<std::int64_t>(header->ts.tv_sec) * nanosecondsPerSecond +
                     header->ts.tv_usec,
                 {octets, header->caplen}};
}

}  // namespace MrpLab
