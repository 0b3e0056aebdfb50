#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "agent/instance/MrpInstance.h"
#include "mrp/MrpSm/root/MrpSm.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"

namespace MrpTest {

using namespace Platform;
using namespace Mrp;
using Bytes = std::vector<std::uint8_t>;

// "00 64 2a" or "00642a" as bytes.
Bytes hex(const std::string& text);
std::string text(const Bytes& bytes);

struct SentFrame {
    Seconds at;
    IntfId intfId;
    Bytes frame;

    // What follows the protocol version.
    std::string messages() const { return text(Bytes(frame.begin() + 15, frame.end())); }
};

struct Indication {
    Seconds at;
    bool join;
    MrpAttribute attribute;
    std::uint8_t event;
};

// A library object that records its indications and discards the joins it is told to.
class TestLib final : public MrpLib {
  public:
    bool mrpJoinIndication(const MrpParameters& parameters) override;
    void mrpLeaveIndication(const MrpParameters& parameters) override;

    std::vector<Indication> indications;
    std::function<bool(const Indication&)> onIndication;  // true discards a join

  private:
    bool record(const MrpParameters& parameters, bool join);
};

// One engine on the virtual platform, with interfaces et1, et2, … enabled, and all that it does
// recorded. LeaveAll periods are not randomised. Time begins at 0. The spanning tree is in mode 0
// unless its status is given.
class TestNode {
  public:
    explicit TestNode(MrpApplication application, std::size_t interfaces = 1,
                      const std::function<void(MrpConfig&)>& configure = nullptr,
                      bool standby = false, const Ptr<Stp::Status>& stpStatus = nullptr);
    ~TestNode();

    IntfId intf(std::size_t number) const { return intfs.at(number - 1); }
    Virtual::VirtualEthDev& dev(std::size_t number) { return *devs.at(number - 1); }
    // Runs the timers up to an absolute time.
    void runUntil(Seconds t) { activityManager.runUntil(t); }
    Seconds now() { return activityManager.clock().now(); }

    // A frame of the application with these octets behind the protocol version 0, received and
    // processed now.
    void receive(const std::string& messages, std::size_t number = 1);
    // A whole frame.
    void receiveFrame(const Bytes& frame, bool notify = true, std::size_t number = 1);
    Bytes frameOf(const std::string& messages, std::uint8_t version = 0) const;

    void request(std::uint8_t event, AttributeType type, const Bytes& value,
                 std::size_t number = 1);
    void declareVlan(std::uint16_t vlan, std::size_t number = 1);
    void withdrawVlan(std::uint16_t vlan, std::size_t number = 1);

    // Writes a port's role into the spanning-tree status, in the instance "Stp".
    void portRoleIs(int role, const std::string& msti = "Cist", std::size_t number = 1);

    // "QA/IN", or "-" when no look-up shows the attribute.
    std::string states(AttributeType type, AttributeKey key, std::size_t number = 1);
    // Brings an attribute into existence in the given states, past the protocol.
    Ptr<MrpAttrDatabase> place(AttributeType type, AttributeKey key, MrpApplicantState applicant,
                               MrpRegistrarState registrar, std::size_t number = 1);
    bool committed(AttributeType type, AttributeKey key, std::size_t number = 1);
    MrpSm& sm() { return instance->mrpSm(); }
    MrpCounters& counters() { return *instance->mrpSm().mrpCounters(); }

    Virtual::VirtualActivityManager activityManager;
    MrpAgent::NodeInterfaces interfaces = MrpAgent::NodeInterfaces::make();
    Ptr<Stp::Status> stpStatus;
    std::vector<IntfId> intfs;
    std::vector<Ptr<Virtual::VirtualEthDev>> devs;
    std::vector<SentFrame> sent;
    std::vector<std::string> log;  // "NAME: text"
    Ptr<TestLib> lib = makePtr<TestLib>();
    std::unique_ptr<MrpAgent::MrpInstance> instance;

  private:
    std::vector<Reactor> reactors;
};

}  // namespace MrpTest
