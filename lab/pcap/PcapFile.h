#pragma once

#include <pcap/pcap.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace MrpLab {

// A capture file of Ethernet frames. Throws std::runtime_error that names the file when it cannot
// be written.
class PcapFile {
  public:
    explicit PcapFile(std::string fileName);

    // Appends a frame that was seen now.
    void frameIs(std::span<const std::uint8_t> frame);
    // Appends a frame that was seen at a time since the epoch.
    void frameIs(std::span<const std::uint8_t> frame, std::chrono::microseconds at);
    // Appends a frame as a capture gives it.
    void frameIs(const pcap_pkthdr& header, const std::uint8_t* bytes);
    // Writes out what is buffered.
    void flush();

    std::size_t frames() const { return frames_; }
    const std::string& fileName() const { return fileName_; }

  private:
    std::string fileName_;
    std::unique_ptr<pcap_t, void (*)(pcap_t*)> pcap_;
    std::unique_ptr<pcap_dumper_t, void (*)(pcap_dumper_t*)> dumper_;
    std::size_t frames_ = 0;
};

// Writes the MRP frames that an interface of the thread's network namespace sends and receives,
// until SIGINT or SIGTERM. Throws std::runtime_error when the interface cannot be captured on.
void captureInterface(const std::string& interfaceName, PcapFile& file);

}  // namespace MrpLab
