#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "TestNode.h"

// What tests of the wire format share.
namespace MrpTest::Wire {

// The number as big-endian octets, in hexadecimal.
std::string be(std::uint64_t number, int octets);
// Without the blanks that make octets readable.
std::string dense(const std::string& octets);
// The octets of a hexadecimal text, put into a value slot.
void fill(std::span<std::uint8_t> slot, const std::string& value);

// Value records as they are stored, in hexadecimal.
std::string talker(std::uint64_t streamId, std::uint64_t dmac);
std::string failed(std::uint64_t streamId, std::uint64_t dmac);
std::string listener(std::uint64_t streamId, unsigned declaration);
std::string domain(unsigned classId, unsigned priority);
std::string vlan(unsigned vlanId);

// Parses an MRPDU with these octets behind the version, processes nothing of it, and tells what it
// did: "TYPE:KEY=EVENT" for every value filed (Domains first; a key filed twice shows its last
// event twice), "LA:TYPE" for every LeaveAll, then "v", "u" and "m" once for each step of the
// counters of wrong versions, unknown types and malformed packets, and "e" with the number of
// events handed on.
std::string parsed(TestNode& node, const std::string& body, std::uint8_t version = 0);

// An engine that is told what to send, event by event.
class Sender {
  public:
    explicit Sender(MrpApplication application, std::size_t interfaces = 1,
                    const std::function<void(MrpConfig&)>& configure = nullptr)
        : node(application, interfaces, configure) {}

    void send(AttributeType type, const std::string& value, std::uint8_t event, bool second = false,
              std::size_t number = 1);
    // Sends what is pending on the interface. All messages since the last time, in order, "|"
    // between frames.
    std::string flush(std::size_t number = 1);

    TestNode node;

  private:
    std::size_t shown_ = 0;
};

}  // namespace MrpTest::Wire
