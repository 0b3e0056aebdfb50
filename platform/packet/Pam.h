#pragma once

#include "platform/base/IntfId.h"
#include "platform/packet/Pkt.h"
#include "platform/state/Entity.h"
#include "platform/state/Notification.h"

namespace Platform {

// Packet access on one interface: a socket that takes frames in and sends frames out.
class Pam : public Entity {
  public:
    explicit Pam(IntfId intfId) : Entity(intfId.name()), intfId_(intfId) {}

    IntfId intfId() const { return intfId_; }

    // Takes the oldest frame that waits, from its destination address on (a kernel-removed 802.1Q
    // tag put back); null when none waits.
    virtual Ptr<Pkt> rxPkt() = 0;
    // Sends a frame as it stands. False: it could not be sent, which the Pam has traced and
    // counted, and is lost. Never gives a readable notification from within.
    virtual bool txPkt(const Ptr<Pkt>& pkt) = 0;

    // Given from the event loop while frames wait; a reactor takes one frame a notification.
    Notification<>& readable() { return readable_; }

  private:
    IntfId intfId_;
    Notification<> readable_;
};

// Packet access on an Ethernet device.
class EthDevPam : public Pam {
  public:
    using Pam::Pam;

    // Whether a frame waits in the socket right now.
    virtual bool hasDataOnSocket() const = 0;
};

}  // namespace Platform
