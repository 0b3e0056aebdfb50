#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "mrp/MrpSm/database/MrpAttrIter.h"
#include "mrp/MrpSm/database/MrpAttrLogSm.h"
#include "mrp/MrpSm/database/MrpDatabaseAddSm.h"
#include "mrp/MrpSm/database/MrpDatabaseDeleteSm.h"
#include "mrp/MrpSm/database/PendingRecords.h"
#include "mrp/MrpSm/protocol/MrpApplicantSm.h"
#include "mrp/MrpSm/protocol/MrpLeaveAllSm.h"
#include "mrp/MrpSm/protocol/MrpRegistrarSm.h"
#include "mrp/MrpSm/receive/MrpPamSm.h"
#include "mrp/MrpSm/receive/MrpParsedAttributes.h"
#include "mrp/MrpSm/receive/MrpParsedQueue.h"
#include "mrp/MrpSm/root/MrpLib.h"
#include "mrp/MrpSm/types/MrpConfig.h"
#include "mrp/MrpSm/types/MrpCounters.h"
#include "mrp/MrpSm/types/MrpParseContext.h"
#include "mrp/MrpSm/types/MrpPortCounters.h"
#include "mrp/MrpSm/types/MrpStatus.h"
#include "platform/packet/EthDevPamMan.h"
#include "platform/packet/PamDir.h"
#include "platform/state/EntityManager.h"
#include "platform/state/EntryReactors.h"
#include "platform/status/Bridging.h"
#include "platform/status/Interface.h"
#include "platform/status/IntfStatusManagerRoot.h"
#include "platform/status/Stp.h"
#include "platform/time/TimerWheel.h"

namespace Mrp {

// The engine of one MRP application (IEEE 802.1Q clause 10): owns the state machines, the attribute
// in hand, the collections of the frame in hand and the pending database changes; the committed
// database itself lives in MrpStatus. It is driven by packet sockets, by timers and by the requests
// of its MrpLib, all on one thread, one event at a time.
//
// Its operations are grouped by the rooms that implement them: root, receive, transmit, database.
class MrpSm final : public RefCounted {
  public:
    // See mrpSmFactory for the arguments.
    static Ptr<MrpSm> MrpSmIs(Ptr<const Bridging::Config> brConfig, MrpLib* mrpLib,
                              Ptr<MrpConfig> mrpConfig, Ptr<MrpStatus> mrpStatus,
                              Ptr<const Stp::Status> stpStatus,
                              Ptr<const Bridging::Topology::Config> brTopoConfig,
                              Ptr<Interface::AllEthPhyIntfStatusDir> ethPhyIntfStatusDir,
                              Ptr<EntityManager> entityManager, bool standbyMode);
    MrpSm(const MrpSm&) = delete;
    MrpSm& operator=(const MrpSm&) = delete;
    ~MrpSm();

    // ===== Root =====

    // A standby engine has packet access and nothing else. The agent clears the flag and calls
    // handleStandbyMode() to make it active; there is no way back.
    bool standbyMode() const { return standbyMode_; }
    void standbyModeIs(bool standbyMode) { standbyMode_ = standbyMode; }
    void handleStandbyMode();
    // Whether the protocol runs: everything of an active engine exists. Stays so once it is.
    bool active() const { return active_; }
    // The start-up, which the constructor ends in. A second call aborts.
    void handleInitialized();

    // The port's role has changed in a topology of the spanning-tree status. Counts when it is the
    // one that MRP follows on the port: a change from role 1 or 2 to 3 posts Flush! (clause
    // 10.7.5.2) to every attribute of the port, one from 3 to 1 or 2 Re-declare! (10.7.5.3). Throws
    // what baseSpanningTreeTopo does.
    void handleRole(const std::string& portName, const std::string& mstiName,
                    const std::string& stpiName);
    // The last role seen of each port. A port that is not in it counts as role 0.
    const std::map<IntfId, int>& oldPortRole() const { return oldPortRole_; }
    void oldPortRoleIs(IntfId intfId, int role) { oldPortRole_[intfId] = role; }

    const Bridging::Config& brConfig() const { return *brConfig_; }
    MrpLib* mrpLib() const { return mrpLib_; }
    const MrpConfig& mrpConfig() const { return *mrpConfig_; }
    MrpStatus& mrpStatus() const { return *mrpStatus_; }
    const Ptr<const Stp::Status>& stpStatus() const { return stpStatus_; }
    const Ptr<const Bridging::Topology::Config>& brTopoConfig() const { return brTopoConfig_; }
    Interface::AllEthPhyIntfStatusDir& ethPhyIntfStatusDir() const { return *ethPhyIntfStatusDir_; }
    const Ptr<EntityManager>& entityManager() const { return entityManager_; }
    Clock& clock() const;

    // Packet access. The interface status directories are null where they could not be mounted.
    const Ptr<Interface::AllIntfStatusDir>& allIntfStatusDir() const { return allIntfStatusDir_; }
    const Ptr<Interface::AllIntfStatusLocalDir>& allIntfStatusLocalDir() const {
        return allIntfStatusLocalDir_;
    }
    const Ptr<PamDesiredIntfDir>& desiredIntfDir() const { return desiredIntfDir_; }
    const Ptr<EthDevPamCollection>& pamCollection() const { return pamCollection_; }
    const Ptr<EthDevPamMan>& pamMan() const { return pamMan_; }
    MrpPamSm* mrpPamSm() const { return mrpPamSm_.get(); }

    // What exists on an active engine only; null on a standby one.
    MrpCounters* mrpCounters() const { return mrpCounters_.get(); }
    // The counters of the ports that have been in use, and one's own; made at first use.
    const std::map<IntfId, MrpPortCounters>& portCounters() const { return portCounters_; }
    MrpPortCounters& portCountersIs(IntfId intfId) { return portCounters_[intfId]; }
    // Sets all counters, the ports' and the engine's, to 0.
    void countersDel();
    MrpParseContext* parseContext() const { return parseContext_.get(); }
    const Ptr<TimerWheel>& timerWheel() const { return timerWheel_; }
    MrpAttrLogSm* mrpAttrLogSm() const { return mrpAttrLogSm_.get(); }
    MrpDatabaseDeleteSm* mrpDatabaseDeleteSm() const { return mrpDatabaseDeleteSm_.get(); }
    MrpDatabaseAddSm* mrpDatabaseAddSm() const { return mrpDatabaseAddSm_.get(); }
    MrpApplicantSm* applicantSm() const { return applicantSm_.get(); }
    MrpRegistrarSm* registrarSm() const { return registrarSm_.get(); }
    MrpLeaveAllSm* leaveAllSm() const { return leaveAllSm_.get(); }
    // 4 for MSRP, 1 for MVRP, 0 for any other application and on a standby engine.
    std::uint8_t maxAttrTypes() const { return maxAttrTypes_; }

    // Each returns the machine, making it when there is none or when it was made from others.
    Ptr<MrpApplicantSm> applicantSmIs(Ptr<MrpConfig> mrpConfig);
    void applicantSmDel() { applicantSm_ = nullptr; }
    Ptr<MrpRegistrarSm> registrarSmIs(Ptr<MrpConfig> mrpConfig, Ptr<TimerWheel> timerWheel);
    void registrarSmDel() { registrarSm_ = nullptr; }
    // The context of that name, with its events counter at 0.
    void parseContextIs(const char* name);
    void parseContextDel() { parseContext_ = nullptr; }
    void mrpAttrLogSmIs(Ptr<AttrLogSocketOutput> output);
    void mrpAttrLogSmDel() { mrpAttrLogSm_ = nullptr; }
    void mrpDatabaseDeleteSmIs(const Ptr<MrpAttrLogSm>& mrpAttrLogSm, Clock& clock);
    void mrpDatabaseAddSmIs(const Ptr<MrpAttrLogSm>& mrpAttrLogSm, Clock& clock);

    // ===== Receive =====

    // Walks one MRPDU, from its protocol version on, and files what it says.
    void parseMrpdu(Pkt& pkt);
    MrpParseStatus parseMessage(Pkt& pkt);
    MrpParseStatus parseAttributeList(Pkt& pkt);
    MrpParseStatus parseVectorAttribute(Pkt& pkt);
    MrpParseStatus parseMsrpVector(Pkt& pkt);
    MrpParseStatus parseMvrpVector(Pkt& pkt);
    MsrpTalkerAdvertiseAttribute parseTalkerAdvertise(Pkt& pkt);
    MrpParseStatus parseThreePackedEvents(Pkt& pkt);
    MrpParseStatus parseThreeFourPackedEvents(Pkt& pkt);
    void processThreeAndFourPacked(const Pkt& pkt, std::uint8_t event, std::uint16_t valueIndex,
                                   std::size_t threePackedBytes);
    void skipMessageDueToFutureProtocolVersion(Pkt& pkt);
    // Files the value in hand.
    void saveParsedMrpAttribute();

    // Set when an MRPDU's protocol version is newer than ours, until the frame has been processed.
    // One flag for the whole process.
    static bool futureProtocolVersion() { return futureProtocolVersion_; }
    static void futureProtocolVersionIs(bool future) { futureProtocolVersion_ = future; }

    // While set, a frame is walked and counted, but nothing of it is filed and no LeaveAll acted
    // on. Clear again after each frame.
    bool recycledPkt() const { return recycledPkt_; }
    void recycledPktIs(bool recycled) { recycledPkt_ = recycled; }

    // The next value of the vector in hand and its event.
    void processMrpEvent(std::uint8_t event, std::uint16_t valueIndex);
    // Applies what the frame in hand said: received LeaveAlls, MSRP Domains, all else.
    void processParsedAttributes(IntfId intfId);
    void processParsedAttribute(const MrpParsedAttribute& parsed, IntfId intfId);
    void mrpProcessRxLeaveAll(IntfId intfId, AttributeType attributeType);

    // The frame in hand: types with a received LeaveAll, attributes, and their places in the order
    // in which they came. Empty between frames.
    const std::map<AttributeType, bool>& mrpRxLeaveAll() const { return mrpRxLeaveAll_; }
    void mrpRxLeaveAllIs(AttributeType type, bool received) { mrpRxLeaveAll_[type] = received; }
    void mrpRxLeaveAllDel(AttributeType type) { mrpRxLeaveAll_.erase(type); }
    void mrpRxLeaveAllDelAll() { mrpRxLeaveAll_.clear(); }
    const MrpParsedAttributes& mrpParsedAttribute() const { return mrpParsedAttribute_; }
    MrpParsedQueue& mrpParsedAttributeKey() { return mrpParsedAttributeKey_; }
    // Those of MSRP Domains, which go first.
    MrpParsedQueue& msrpParsedDomainKey() { return msrpParsedDomainKey_; }
    // Forgets the rest of the frame in hand; that of an interface, if it is the one that received
    // it.
    void dropParsed();
    void dropParsedOf(IntfId intfId);

    // Where received events are counted while a frame is in hand: those of its port.
    void eventsInHandIs(MrpPortCounters::Events* events) {
        eventsInHand_ = events != nullptr ? events : &nobodysEvents_;
    }

    // ===== Transmit =====

    // Finishes and sends one packet under construction, if there is one.
    void mrpTransmitTxPacket(IntfId intfId, bool second);
    // The first, then the second packet of the interface.
    void mrpTransmitTxAttributes(IntfId intfId);
    // The same for every interface that has a first packet.
    void mrpTransmitTxAttributes();
    // The source address of frames sent on the interface: its own, else the bridge's.
    EthAddr txSourceAddr(IntfId intfId) const;

    // ===== Database =====

    // The record of an attribute; null when there is none or its deletion is pending. With
    // `lookInAddPending` pending additions are seen, and go first.
    MrpAttrDatabase* mrpGetAttrFromDatabase(IntfId intfId, AttributeType attributeType,
                                            AttributeKey key, bool lookInAddPending) const;
    // The keys that such look-ups show for an interface and type, ascending.
    std::vector<AttributeKey> visibleKeys(IntfId intfId, AttributeType attributeType) const;
    // The record of the attribute in hand, pending additions first; made when `create` is set.
    Ptr<MrpAttrDatabase> mrpGetAttribute(bool create);
    // A record in its default states, filled with the value in hand (of the transmit image when
    // `fromTxImage` is set, else of the received one). An existing one is reset likewise.
    Ptr<MrpAttrDatabase> mrpAddAttrToDatabase(IntfId intfId, AttributeType attributeType,
                                              AttributeKey key, bool fromTxImage);
    // Puts a record into the committed database, or what it says into the one that is there.
    void createEntryInDatabase(const MrpAttribute& attribute, const Ptr<MrpAttrDatabase>& record);
    // Queues the attribute in hand for deletion.
    void mrpDeleteAttrFromDatabase();
    // Copies the value in hand into the record, from the transmit or the received image.
    void mrpPopulateValueInDatabase(MrpAttrDatabase& record, bool fromTxImage) const;
    void mrpPopulateMsrpValueInDatabase(MrpAttrDatabase& record, bool fromTxImage) const;
    void mrpPopulateMvrpValueInDatabase(MrpAttrDatabase& record, bool fromTxImage) const;
    // Whether the received value equals the one stored for the attribute in hand.
    bool mrpRxVectorSameAsDatabaseAttr();
    bool msrpRxVectorSameAsDatabaseAttr();
    bool mvrpRxVectorSameAsDatabaseAttr() const;
    // Makes an attribute the one in hand and loads its stored value into both images.
    void mrpFillContextFromDatabase(const MrpAttribute& attribute);
    void mrpFillMsrpContextFromDatabase(const MrpAttribute& attribute);
    void mrpFillMvrpContextFromDatabase(const MrpAttribute& attribute);
    // Loads a parsed value into both images; a Domain that has a record keeps its stored value in
    // the transmit image, so that we go on declaring our own.
    void fillMrpLibFromSavedValue(IntfId intfId, const MrpParsedAttribute& parsed);
    void fillMsrpLibFromSavedValue(IntfId intfId, const MrpParsedAttribute& parsed);
    void fillMvrpLibFromSavedValue(IntfId intfId, const MrpParsedAttribute& parsed);
    // The key that an image has for the attribute type in hand.
    AttributeKey mrpGetTxAttributeKey() const;
    AttributeKey msrpGetTxAttributeKey() const;
    AttributeKey mvrpGetTxAttributeKey() const;
    AttributeKey mrpGetRxAttributeKey() const;
    AttributeKey msrpGetRxAttributeKey() const;
    AttributeKey mvrpGetRxAttributeKey() const;

    // How long a registration on the interface outlives the event that ends it.
    Seconds mrpGetLeaveTime(IntfId intfId) const;

    // Pending changes, applied by the reviews.
    Ptr<MrpAttrDatabase> addAttrToAddPending(const MrpAttribute& attribute);
    void removeAttrFromAddPending(const MrpAttribute& attribute);
    void addAttrToDeletePending(const MrpAttribute& attribute);
    const PendingRecords& addPendingAttr() const { return addPendingAttr_; }
    void addPendingAttrIs(const MrpAttribute& attribute, Ptr<MrpAttrDatabase> record);
    void addPendingAttrDel(const MrpAttribute& attribute);
    const PendingRecords& deletePendingAttr() const { return deletePendingAttr_; }
    void deletePendingAttrIs(const MrpAttribute& attribute, Ptr<MrpAttrDatabase> record);
    void deletePendingAttrDel(const MrpAttribute& attribute);
    // Forgets the deletions: what they were for stays.
    void deletePendingAttrDelAll();
    // Of a committed attribute.
    bool deletePending(const MrpAttribute& attribute) const {
        const MrpAttrDatabase* record =
            deletePendingAttr_.empty() ? nullptr : committedRecord(attribute);
        return record != nullptr && deletePending(attribute, *record);
    }
    // Removes the committed record.
    void committedRecordDel(const MrpAttribute& attribute);

    // The attributes known by interface and type.
    const std::unordered_map<MrpAttrIter::Key, Ptr<MrpAttrIter>>& mrpAttrIter() const {
        return mrpAttrIter_;
    }
    // Null when there is no set for the key.
    Ptr<MrpAttrIter> mrpAttrIter(const MrpAttrIter::Key& key) const;
    Ptr<MrpAttrIter> mrpAttrIterIs(const MrpAttrIter::Key& key);
    void mrpAttrIterDel(const MrpAttrIter::Key& key) {
        mrpAttrIter_.erase(key);
        lastAttrIter_ = nullptr;
    }
    void mrpAttrIterDelAll() {
        mrpAttrIter_.clear();
        lastAttrIter_ = nullptr;
    }
    void addToAttrIter(IntfId intfId, AttributeType attributeType, AttributeKey key);
    void removeFromAttrIter(IntfId intfId, AttributeType attributeType, AttributeKey key);

    // The application's committed database; null for an unsupported application.
    MrpApplicationDatabase* applicationDatabase() const;
    // Publishes or withdraws the LeaveAll time of an interface and type.
    void leaveAllTimeIs(IntfId intfId, AttributeType attributeType, Seconds time);
    void leaveAllTimeDel(IntfId intfId, AttributeType attributeType);

  private:
    template <class T, class... Args>
    friend Ptr<T> Platform::makePtr(Args&&... args);

    // The reactors on the spanning-tree status, one a part on each level of it.
    using PortReactors = EntryReactors<std::string, Ptr<Stp::PortStatus>, Reactor>;
    using MstiReactors = EntryReactors<std::string, Ptr<Stp::MstiStatus>, PortReactors>;
    using StpiReactors = EntryReactors<std::string, Ptr<Stp::StpiStatus>, MstiReactors>;

    // The record that look-ups showed last, valid while nothing has been added to or removed from
    // the database.
    struct RecordInHand {
        MrpAttribute attribute;
        Ptr<MrpAttrDatabase> record;
        std::uint64_t generation = 0;
    };

    MrpSm(Ptr<const Bridging::Config> brConfig, MrpLib* mrpLib, Ptr<MrpConfig> mrpConfig,
          Ptr<MrpStatus> mrpStatus, Ptr<const Stp::Status> stpStatus,
          Ptr<const Bridging::Topology::Config> brTopoConfig,
          Ptr<Interface::AllEthPhyIntfStatusDir> ethPhyIntfStatusDir,
          Ptr<EntityManager> entityManager, bool standbyMode);

    // Root
    void stpStatusIs(Ptr<const Stp::Status> stpStatus);
    std::unique_ptr<MstiReactors> stpiStatusIs(const Ptr<Stp::StpiStatus>& stpiStatus);
    std::unique_ptr<PortReactors> mstiStatusIs(const std::string& stpiName,
                                               const Ptr<Stp::MstiStatus>& mstiStatus);
    void postToAllTypes(IntfId intfId, MrpApplicantEvent applicantEvent,
                        MrpRegistrarEvent registrarEvent);
    void doInitializePamMan();
    void doInitializeCounters();
    void timerWheelIs(Clock& clock, unsigned tickMsecs, std::size_t initialMaxTicks,
                      bool preserveOrder, std::size_t defaultBucketSize);
    void rebuildAttrIter();
    Ptr<AttrLogSocketOutput> findAttrLogOutput() const;
    void becomeActive();

    // Receive
    MrpParseStatus malformed();
    MrpParseStatus cutShort();
    MrpParseStatus unidentifiedAttributeType();
    MrpParseStatus packedBytesMissing(std::size_t wanted, std::size_t left);
    MrpParseStatus countEmptyLeaveAll();
    // Takes the vectors at the packet's head that have values, as long as they are whole and nobody
    // follows the trace. Whether there were any.
    bool fileVectors(Pkt& pkt);
    void lastValueIs(const MrpParsedVector& vector, const std::uint8_t* firstValue,
                     std::uint16_t values);
    void countEvents(const std::uint8_t* packed, std::uint16_t values);
    void processParsedQueue(MrpParsedQueue& queue, IntfId intfId);
    MrpRegistrarState declaredState(const MrpParsedAttributeKey& key) const;
    void processRxLeaveAll(const MrpAttribute& attribute);
    class QuietWalk;
    class SilentRun;
    // Takes values off the queue as long as they change nothing that anybody can see. Whether there
    // were any.
    bool passQuietValues(MrpParsedQueue& queue, IntfId intfId);
    // The same for values of one vector as long as nothing comes of them but other states.
    bool passSilentValues(MrpParsedQueue& queue, IntfId intfId);
    void loadImages(const MrpParsedPlace& place);
    void showQuietValue(const MrpParsedPlace& place, IntfId intfId);

    // Transmit
    void closePacket(MrpTxPacketContext& context) const;

    // Database
    void databaseChanged() { ++databaseGeneration_; }
    MrpAttrDatabase* committedRecord(const MrpAttribute& attribute) const;
    // The mark says at once of most records that they are not; it may be that of an engine before.
    bool deletePending(const MrpAttribute& attribute, const MrpAttrDatabase& committed) const {
        return committed.deletionPending() && deletePendingAttr_.contains(attribute);
    }
    Ptr<MrpAttrDatabase> newRecord(const MrpAttribute& attribute);
    void populateValue(MrpAttrDatabase& record, bool fromTxImage, MrpApplication application) const;
    void fillImages(const MrpAttribute& attribute, MrpApplication application);
    bool fillImages(const MrpParsedAttribute& parsed, MrpApplication application);

    Ptr<const Bridging::Config> brConfig_;
    MrpLib* mrpLib_;
    Ptr<MrpConfig> mrpConfig_;
    Ptr<MrpStatus> mrpStatus_;
    Ptr<const Stp::Status> stpStatus_;
    Ptr<const Bridging::Topology::Config> brTopoConfig_;
    Ptr<Interface::AllEthPhyIntfStatusDir> ethPhyIntfStatusDir_;
    Ptr<EntityManager> entityManager_;
    bool standbyMode_;

    Ptr<Interface::AllIntfStatusDir> allIntfStatusDir_;
    Ptr<Interface::AllIntfStatusLocalDir> allIntfStatusLocalDir_;
    Ptr<DeviceIntfStatusDir> deviceIntfStatusDir_;
    Ptr<IntfStatusManagerRoot> intfStatusManagerRoot_;
    Ptr<PamDesiredIntfDir> desiredIntfDir_;
    Ptr<EthDevPamCollection> pamCollection_;
    Ptr<EthDevPamMan> pamMan_;
    Ptr<MrpPamSm> mrpPamSm_;
    std::map<IntfId, int> oldPortRole_;
    std::unique_ptr<StpiReactors> stpiStatus_;

    Ptr<MrpApplicantSm> applicantSm_;
    Ptr<MrpRegistrarSm> registrarSm_;
    Ptr<MrpLeaveAllSm> leaveAllSm_;
    Ptr<MrpParseContext> parseContext_;
    Ptr<MrpCounters> mrpCounters_;
    std::uint8_t maxAttrTypes_ = 0;
    bool recycledPkt_ = false;
    std::map<AttributeType, bool> mrpRxLeaveAll_;
    MrpParsedAttributes mrpParsedAttribute_;
    MrpParsedQueue mrpParsedAttributeKey_{mrpParsedAttribute_, false};
    MrpParsedQueue msrpParsedDomainKey_{mrpParsedAttribute_, true};
    IntfId parsedIntfId_;  // which received the frame in hand; empty between frames
    Ptr<MrpAttrLogSm> mrpAttrLogSm_;
    std::unordered_map<MrpAttrIter::Key, Ptr<MrpAttrIter>> mrpAttrIter_;
    PendingRecords deletePendingAttr_;  // which are in the database still, and marked there
    PendingRecords addPendingAttr_;
    Ptr<MrpDatabaseDeleteSm> mrpDatabaseDeleteSm_;
    Ptr<MrpDatabaseAddSm> mrpDatabaseAddSm_;
    bool initialized_ = false;
    bool active_ = false;
    Ptr<TimerWheel> timerWheel_;

    std::map<IntfId, MrpPortCounters> portCounters_;
    MrpPortCounters::Events nobodysEvents_;
    MrpPortCounters::Events* eventsInHand_ = &nobodysEvents_;

    std::uint64_t databaseGeneration_ = 1;
    mutable RecordInHand recordInHand_;
    mutable MrpApplicationDatabase* applicationDatabase_ = nullptr;
    Ptr<MrpAttrIter> lastAttrIter_;  // which was changed last; null once a set has gone

    static bool futureProtocolVersion_;
};

// Makes the engine of an application and runs its start-up.
//   brConfig             the bridge's address and native VLANs
//   mrpLib               the application; not owned, and outlives the engine
//   mrpConfig            timers and flags, followed while the engine runs
//   mrpStatus            where the database is published; may hold one from a standby's time
//   stpStatus            spanning-tree status, or null
//   brTopoConfig         VLAN to topology
//   ethPhyIntfStatusDir  addresses of Ethernet interfaces
//   entityManager        the node's state, by path
//   standbyMode          true on the standby supervisor
// Throws std::range_error "null ValidPtr" when there is no memory.
Ptr<MrpSm> mrpSmFactory(Ptr<const Bridging::Config> brConfig, MrpLib* mrpLib,
                        Ptr<MrpConfig> mrpConfig, Ptr<MrpStatus> mrpStatus,
                        Ptr<const Stp::Status> stpStatus,
                        Ptr<const Bridging::Topology::Config> brTopoConfig,
                        Ptr<Interface::AllEthPhyIntfStatusDir> ethPhyIntfStatusDir,
                        Ptr<EntityManager> entityManager, bool standbyMode);

}  // namespace Mrp
