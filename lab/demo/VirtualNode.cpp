#include "lab/demo/VirtualNode.h"

#include <utility>

namespace MrpLab {

using namespace Platform;
using namespace MrpAgent;

namespace {

constexpr std::size_t mtu = 1500;
constexpr std::size_t frameSizeLimit = mtu + 14;  // octets, from the destination address on
constexpr int roleForwarding = 2;                 // as the engine counts roles

// Holds the rows of an answer. It never has enough.
class RowKeeper final : public AnswerOutput {
  public:
    void rowIs(const Json& row) override { rows_.push_back(row); }
    std::size_t waiting() const override { return 0; }
    void workSoon() override {}

    VirtualNode::Rows taken() { return std::move(rows_); }

  private:
    VirtualNode::Rows rows_;
};

}  // namespace

VirtualNode::VirtualNode(ActivityManager& activityManager, std::string name,
                         const std::vector<std::string>& ports, AgentConfig config,
                         std::uint64_t addr)
    : name_(std::move(name)),
      node_(activityManager, std::move(config), [](const std::string&) {}),
      ages_(activityManager.clock()),
      requests_({node_, ages_, log_, activityManager.clock(), [] { return WallTime(); },
                 [] { return Json(); }}) {
    node_.run(Node::Role::active, EthAddr(addr));
    ages_.instancesAre(node_.instances());
    node_.spanningTreeIs(false);
    for (const std::string& portName : ports) {
        Port port;
        port.device = makePtr<Virtual::VirtualEthDev>(portName, activityManager);
        port.state = {portName, true, "forwarding", roleForwarding, true, EthAddr(addr), mtu, 0};
        ++addr;
        const IntfId intfId(portName);
        node_.interfaces().allIntfStatus->valueIs(intfId, {frameSizeLimit});
        node_.interfaces().ethPhyIntfStatus->valueIs(intfId, {port.state.addr});
        node_.interfaces().kernelStatus->valueIs(intfId, port.device);
        node_.portIs(port.state);
        ports_.emplace(portName, std::move(port));
    }
}

Virtual::VirtualEthDev& VirtualNode::device(const std::string& port) {
    return *ports_.at(port).device;
}

void VirtualNode::linkIs(const std::string& port, bool link) {
    Port& changed = ports_.at(port);
    changed.device->linkUpIs(link);
    changed.state.link = link;
    changed.state.forwarding = link;
    changed.state.state = link ? "forwarding" : "disabled";
    changed.state.role = link ? roleForwarding : 0;
    node_.portIs(changed.state);
}

VirtualNode::Rows VirtualNode::request(const Json& request) {
    RowKeeper rows;
    // There is none of what is done at once.
    const auto answer = requests_.answer(request, ControlAccess::readWrite, rows);
    while (answer && answer->work() == Answer::State::more) {
    }
    return rows.taken();
}

}  // namespace MrpLab
