#include "platform/status/Stp.h"

namespace Platform::Stp {

int Status::role(const std::string& stpiName, const std::string& mstiName,
                 const std::string& portName) const {
    const Ptr<StpiStatus> stpi = stpiStatus_.part(stpiName);
    const Ptr<MstiStatus> msti = stpi ? stpi->mstiStatus().part(mstiName) : nullptr;
    const Ptr<PortStatus> port = msti ? msti->portStatus().part(portName) : nullptr;
    return port ? port->role() : 0;
}

std::string perVlanInstanceName(const Bridging::VlanConfig& vlanConfig) {
    return TopologyName::perVlan + std::to_string(vlanConfig.vlanId().value());
}

}  // namespace Platform::Stp
