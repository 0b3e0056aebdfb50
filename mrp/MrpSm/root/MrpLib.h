#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>

#include "mrp/MrpSm/transmit/MrpTxPacketContext.h"
#include "mrp/MrpSm/types/IndexedQueue.h"
#include "mrp/MrpSm/types/MrpParameters.h"
#include "mrp/MrpSm/types/MrpValueImage.h"
#include "platform/base/EthAddr.h"
#include "platform/base/Ptr.h"
#include "platform/base/Seconds.h"
#include "platform/status/Bridging.h"

namespace Mrp {

class MrpSm;

// One MRP application as the agent sees it: who it is (application, group address, EtherType), the
// requests that the agent makes of it, the indications that it gives, and the transmit side with
// the MRPDUs under construction. The protocol itself is in the MrpSm that mrpSmFactory makes for
// it.
//
// An agent that wants indications derives from it. All operations run on the agent's one thread.
class MrpLib : public RefCounted {
  public:
    using PacketContexts = std::map<IntfId, Ptr<MrpTxPacketContext>>;

    MrpLib() = default;
    MrpLib(const MrpLib&) = delete;
    MrpLib& operator=(const MrpLib&) = delete;
    virtual ~MrpLib() = default;

    // Indications (IEEE 802.1Q clause 10.2), called in the middle of a state machine event. They
    // may make requests and disable interfaces; they do not end the engine. The attribute is the
    // one in the parse context. True: the application discards the join, and the attribute is not
    // registered.
    virtual bool mrpJoinIndication(const MrpParameters& parameters);
    virtual void mrpLeaveIndication(const MrpParameters& parameters);
    virtual void mrpLeaveAllIndication(const MrpParameters& parameters);
    // Hooks for requests of other agents; they do nothing.
    void mrpJoinReq(const MrpParameters& parameters);
    void mrpLeaveReq(const MrpParameters& parameters);

    // --- Identity, set before the MrpSm is made ---

    MrpApplication application() const { return application_; }
    void applicationIs(MrpApplication application) { application_ = application; }
    const EthAddr& destinationAddr() const { return destinationAddr_; }
    void destinationAddrIs(const EthAddr& addr) { destinationAddr_ = addr; }
    std::uint16_t ethType() const { return ethType_; }
    void ethTypeIs(std::uint16_t ethType) { ethType_ = ethType; }

    // The engine; null before it is made and after it has gone. The agent's entries test it; the
    // operations that the engine itself calls are for a live one only.
    MrpSm* mrpSm() const { return mrpSm_; }
    void mrpSmIs(MrpSm* mrpSm) { mrpSm_ = mrpSm; }

    // The native VLAN of the port; 0 when the bridging configuration has no entry for it.
    std::uint16_t getNativeVlanId(IntfId intfId) const;

    // The name of the spanning-tree topology whose port roles MRP follows on the port; empty when
    // there is none. Throws std::range_error for a native VLAN that no bridge can carry, where the
    // name depends on it.
    std::string baseSpanningTreeTopo(IntfId intfId) const;

    // --- The agent's entries ---

    // Asks for packet access on the interface; MRP runs on it once that exists.
    void mrpInterfaceEnable(IntfId intfId);
    // Sends what is pending, drops all records and leave timers of the interface (a standby engine
    // keeps them) and gives up packet access.
    void mrpInterfaceDisable(IntfId intfId);
    // Queues one committed record for deletion.
    void mrpCleanUpIntfDatabaseAttribute(IntfId intfId, AttributeType attributeType,
                                         AttributeKey key);

    // Applies one request to the attribute in the transmit image, once for every interface in the
    // output queue, which is empty afterwards. The attributeEvent is one of AttributeEvent:
    // newEvent, joinIn or joinMt declare, lv withdraws, leaveAll sends a LeaveAll on each queued
    // interface, internalLeave forgets the attribute. All but leaveAll act on the interface of the
    // request.
    void mrpSendAttribute(const MrpParameters& parameters);

    // The interfaces that the next request is for.
    void mrpOutIntfQueueIs(std::uint32_t index, IntfId intfId);
    void mrpOutIntfQueueEnq(IntfId intfId);
    IntfId mrpOutIntfQueueDeq();  // the empty IntfId when the queue is empty
    void mrpOutIntfQueueDel(std::uint32_t index);
    void mrpOutIntfQueueDelAll();
    const IndexedQueue<IntfId>& mrpOutIntfQueue() const { return mrpOutIntfQueue_; }

    // The value of each type as it was received last, and as it will be sent next.
    MrpValueImage& rxImage() { return rxImage_; }
    const MrpValueImage& rxImage() const { return rxImage_; }
    MrpValueImage& txImage() { return txImage_; }
    const MrpValueImage& txImage() const { return txImage_; }

    // --- Values of a received vector ---

    // Steps the received image to the value of that index; indices come in order from 0.
    void mrpValueFromFirstValue(std::uint16_t valueIndex);
    void mrpMsrpValueFromFirstValue();
    void mrpMvrpValueFromFirstValue();
    void mrpIncrementTalkerAdvertise();
    void mrpIncrementTalkerFailed();
    void mrpIncrementListenerVector();
    void mrpIncrementDomainVector();
    void mrpIncrementVlanVector();

    // --- Transmit: one event into the MRPDU of an interface ---
    // `second` chooses the second MRPDU under construction, in which the copy of a doubled message
    // travels.

    void mrpSendAttributeIntf(const MrpParameters& parameters, IntfId intfId, bool second);
    // A LeaveAll vector of the type, into the first MRPDU.
    void mrpSendLeaveAll(AttributeType attributeType, IntfId intfId);
    // Appends an event for the value of those octets, of a type that the application has.
    void mrpAppendEvent(MrpTxPacketContext& context, AttributeType attributeType,
                        std::span<const std::uint8_t> value, std::uint8_t event);
    // How many octets of MRPDU make a packet of the interface full, so that it is sent at once:
    // what is still to come must have room. And whether a packet has got there.
    std::size_t mrpFullPacketSize(IntfId intfId) const;
    bool mrpPacketFull(const MrpTxPacketContext& context, std::size_t fullSize) const;

    void mrpSendMsrpAttributeIntf(const MrpParameters& parameters, IntfId intfId, bool second);
    void mrpSendMvrpAttributeIntf(const MrpParameters& parameters, IntfId intfId, bool second);
    void mrpSendTalkerAdvertise(std::uint8_t event, IntfId intfId, bool second);
    void mrpSendTalkerFailed(std::uint8_t event, IntfId intfId, bool second);
    void mrpSendListenerVector(std::uint8_t event, IntfId intfId, bool second);
    void mrpSendDomainVector(std::uint8_t event, IntfId intfId, bool second);
    void mrpSendVlanVector(std::uint8_t event, IntfId intfId, bool second);

    // Write a new vector at the context's vector position; return its size. A pending LeaveAll
    // rides on it.
    std::size_t mrpEncodeTalkerVector(MrpTxPacketContext& context,
                                      const MsrpTalkerAdvertiseAttribute& value,
                                      std::uint8_t event);
    std::size_t mrpEncodeTalkerFailedVector(MrpTxPacketContext& context,
                                            const MsrpTalkerFailedAttribute& value,
                                            std::uint8_t event);
    std::size_t mrpEncodeListenerVector(MrpTxPacketContext& context,
                                        const MsrpListenerAttribute& value, std::uint8_t event);
    std::size_t mrpEncodeDomainVector(MrpTxPacketContext& context, const MsrpDomainAttribute& value,
                                      std::uint8_t event);
    std::size_t mrpEncodeVlanVector(MrpTxPacketContext& context, const MvrpVlanAttribute& value,
                                    std::uint8_t event);

    // The MRPDUs under construction.
    const PacketContexts& mrpTxPacketContext() const { return mrpTxPacketContext_; }
    const PacketContexts& mrpTxSecondPacketContext() const { return mrpTxSecondPacketContext_; }
    // Null when the interface has none.
    Ptr<MrpTxPacketContext> packetContext(IntfId intfId, bool second) const;
    void mrpTxPacketContextIs(IntfId intfId, Ptr<MrpTxPacketContext> context);
    void mrpTxPacketContextDel(IntfId intfId);
    void mrpTxSecondPacketContextIs(IntfId intfId, Ptr<MrpTxPacketContext> context);
    void mrpTxSecondPacketContextDel(IntfId intfId);
    // The interface of the last packet sent.
    IntfId lastTxIntf() const { return lastTxIntf_; }
    void lastTxIntfIs(IntfId intfId) { lastTxIntf_ = intfId; }

    // --- Records of the attribute in hand, for mrpSendAttribute ---

    void mrpCleanUpIntfDatabase(IntfId intfId);
    void mrpHandleInternalLeave();
    void mrpDeleteAttrOnDefaultStates();

  private:
    // Whether there is an engine, and its protocol runs.
    bool active() const;
    Ptr<Bridging::VlanConfig> nativeVlanConfig(IntfId intfId) const;
    Ptr<MrpTxPacketContext> openPacketContext(const MrpParameters& parameters, IntfId intfId,
                                              bool second);
    void flushWhenFull(IntfId intfId, bool second);
    std::size_t encodeVector(MrpTxPacketContext& context, std::span<const std::uint8_t> firstValue,
                             std::uint8_t event);
    bool mustOpenMessage(const MrpTxPacketContext& context, AttributeType attributeType,
                         std::uint8_t event) const;
    template <class InSequence, class Encode, class Extend>
    void appendMsrp(MrpTxPacketContext& context, AttributeType attributeType, std::uint8_t event,
                    InSequence inSequence, Encode encode, Extend extend);
    // Append one event to a packet under construction.
    void append(MrpTxPacketContext& context, const MsrpTalkerAdvertiseAttribute& value,
                std::uint8_t event);
    void append(MrpTxPacketContext& context, const MsrpTalkerFailedAttribute& value,
                std::uint8_t event);
    void append(MrpTxPacketContext& context, const MsrpListenerAttribute& value,
                std::uint8_t event);
    void append(MrpTxPacketContext& context, const MsrpDomainAttribute& value, std::uint8_t event);
    void append(MrpTxPacketContext& context, const MvrpVlanAttribute& value, std::uint8_t event);
    template <class Value>
    void appendTo(const Ptr<MrpTxPacketContext>& context, const Value& value, std::uint8_t event) {
        if (context) {
            append(*context, value, event);
        }
    }
    void applyRequest(const MrpParameters& parameters, IntfId queued, Seconds leaveAllTime);
    void sendLeaveAllRequest(const MrpParameters& parameters, IntfId queued, Seconds leaveAllTime);
    void declare(MrpApplicantEvent event);

    MrpApplication application_ = MrpApplication::none;
    EthAddr destinationAddr_;
    std::uint16_t ethType_ = 0;
    MrpValueImage rxImage_;
    MrpValueImage txImage_;
    PacketContexts mrpTxPacketContext_;
    PacketContexts mrpTxSecondPacketContext_;
    IndexedQueue<IntfId> mrpOutIntfQueue_;
    IntfId lastTxIntf_;
    MrpSm* mrpSm_ = nullptr;
};

// Makes an MrpLib with all fields at their initial values. Throws std::range_error "null ValidPtr"
// when there is no memory.
Ptr<MrpLib> mrpLibFactory();

}  // namespace Mrp
