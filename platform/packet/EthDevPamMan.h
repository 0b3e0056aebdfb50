#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/packet/EthDev.h"
#include "platform/packet/PamDir.h"
#include "platform/status/DeviceIntfStatus.h"

namespace Platform {

// The packet-access manager of one protocol: keeps a Pam in the collection for every interface that
// is wanted, has a device, and let packet access be opened; while the manager is enabled.
class EthDevPamMan final : public Entity {
  public:
    EthDevPamMan(Ptr<PamDesiredIntfDir> desiredIntfDir, Ptr<EthDevPamCollection> pamCollection,
                 Ptr<DeviceIntfStatusDir> deviceIntfStatusDir);
    // Removes the packet access that it made.
    ~EthDevPamMan() override;

    // Settings for sockets opened from then on; set before the manager is enabled.
    void ethProtocolIs(std::uint16_t protocol) { parameters_.ethProtocol = protocol; }
    void listenAddrIs(const EthAddr& addr) { parameters_.listenAddr = addr; }
    void filterIs(SocketFilter filter) { parameters_.filter = std::move(filter); }
    void maxRxPktDataIs(std::size_t octets) { parameters_.maxRxPktData = octets; }
    // One socket an interface is the only way here; the setting documents the choice.
    void socketPerIntfIs(bool socketPerIntf);
    void enabledIs(bool enabled);

    const EthDevPamParameters& parameters() const { return parameters_; }
    // Why the interface's packet access could not be opened, at the last try.
    std::optional<std::string> openError(IntfId intfId) const;

  private:
    void handleIntf(IntfId intfId);
    void open(IntfId intfId, const Ptr<EthDev>& device);

    Ptr<PamDesiredIntfDir> desiredIntfDir_;
    Ptr<EthDevPamCollection> pamCollection_;
    Ptr<DeviceIntfStatusDir> deviceIntfStatusDir_;
    EthDevPamParameters parameters_;
    bool enabled_ = false;
    std::map<IntfId, Ptr<EthDev>> openDevices_;  // on which the Pams were opened
    std::map<IntfId, std::string> openErrors_;
    Reactor desiredReactor_;
    Reactor deviceReactor_;
};

}  // namespace Platform
