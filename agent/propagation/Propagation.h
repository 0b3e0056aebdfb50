#pragma once

#include <vector>

#include "agent/instance/Declaration.h"
#include "platform/base/IntfId.h"
#include "platform/base/Seconds.h"

namespace MrpAgent {

// What joins the ports of a node in one application (MAP, clause 10.3): which ports there are and
// which of them forward, what is registered on each, and what the node therefore declares on the
// others, together with what it declares by itself.
//
// Indications come in the middle of a state machine event. They are noted; what follows from them,
// and from every other change, is worked off from the event loop. So no request re-enters the
// engine.
class Propagation {
  public:
    Propagation() = default;
    Propagation(const Propagation&) = delete;
    Propagation& operator=(const Propagation&) = delete;
    virtual ~Propagation() = default;

    // MRP runs on the port from now on. It does not forward yet, and nothing is registered or
    // declared on it.
    virtual void portIs(Platform::IntfId port) = 0;
    // MRP does not run on it any more; what was registered and declared there is gone. No request
    // is made of it.
    virtual void portDel(Platform::IntfId port) = 0;
    // Whether the port is in the set of forwarding ports. `topologyChange`: a spanning tree has
    // changed this (tcDetected, clause 13.25), so that what it brings is announced as New.
    virtual void forwardingIs(Platform::IntfId port, bool forwarding, bool topologyChange) = 0;

    // All that the node declares or forbids by itself, in place of what was said before; on ports
    // that come later too. Declarations of other applications are passed over.
    virtual void declarationsAre(const std::vector<Declaration>& declarations) = 0;

    // Indications (clause 10.2). True: the registration is to be discarded.
    virtual bool joinIndicated(const Mrp::MrpAttribute& attribute, bool isNew) = 0;
    virtual void leaveIndicated(const Mrp::MrpAttribute& attribute) = 0;

    // The engine has dropped registrations of the port without an indication (Flush!, clause
    // 10.7.5.2); what is left of them is in its database.
    virtual void flushed(Platform::IntfId port, const MrpInstance& instance) = 0;

    // The node goes on from the engine's database, which a standby has filled: what is registered
    // and declared there is taken for granted. What nobody asks for is withdrawn only after
    // `patience`, by when the neighbours have told anew what they declare. Ports that are not there
    // are passed over.
    virtual void resume(const MrpInstance& instance, Platform::Seconds patience) = 0;
};

}  // namespace MrpAgent
