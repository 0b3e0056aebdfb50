// A program outside the tree: one engine of MVRP, on a port in memory, is told of VLAN 100.

#include <cstdio>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/root/MrpSocketFilter.h"
#include "platform/status/KernelNetInfo.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"

using namespace Mrp;

int main() {
    Virtual::VirtualActivityManager loop;
    const IntfId port("port1");
    const auto device = makePtr<Virtual::VirtualEthDev>("port1", loop);
    const auto kernelStatus = makePtr<KernelNetInfo::Status>();
    kernelStatus->valueIs(port, device);
    const auto entityManager = makePtr<EntityManager>("node", loop);
    entityManager->entityIs(kernelStatusPath(defaultNamespaceName), kernelStatus);
    const Ptr<MrpLib> mvrp = mrpLibFactory();
    mvrp->applicationIs(MrpApplication::mvrp);
    mvrp->destinationAddrIs(EthAddr(0x0180c2000021));
    mvrp->ethTypeIs(0x88f5);
    const Ptr<MrpSm> engine =
        mrpSmFactory(makePtr<Bridging::Config>(), mvrp.get(), makePtr<MrpConfig>(),
                     makePtr<MrpStatus>(), nullptr, makePtr<Bridging::Topology::Config>(),
                     makePtr<Interface::AllEthPhyIntfStatusDir>(), entityManager, false);
    engine->pamMan()->filterIs(mrpSocketFilter(mvrp->destinationAddr(), mvrp->ethType()));
    mvrp->mrpInterfaceEnable(port);

    constexpr std::uint8_t joinVlan100[] = {0x01, 0x80, 0xc2, 0,    0,    0x21, 2, 0, 0,
                                            0,    0,    1,    0x88, 0xf5, 0,    1, 2, 0,
                                            1,    0,    0x64, 0x24, 0,    0,    0, 0};
    device->receive(joinVlan100);
    loop.runUntil(1);
    const bool registered = engine->mrpGetAttrFromDatabase(port, vlanType, 100, false) != nullptr;
    std::printf("VLAN 100 %s\n", registered ? "registered" : "missing");
    return registered ? 0 : 1;
}
