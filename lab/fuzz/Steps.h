#pragma once

#include <optional>

#include "FuzzNode.h"
#include "Input.h"

namespace MrpFuzz {

// Reads an input as what happens to a node: its first octet says how the node starts, and then each
// step is an octet that says what happens and the octets that say how. Every octet is valid
// everywhere, and what the input lacks at its end is 0.
class Steps {
  public:
    explicit Steps(Input& input);

    // Whether there is a step left that is worth its time.
    bool more();
    // Takes one step, and checks what holds behind it and not behind every one.
    void step();

    // Nothing happens any more, for so long.
    void rest(Platform::Seconds time);

    FuzzNode& node() { return node_; }
    // False once an indication has changed a port's role (the end of a leave then takes those along
    // that it began), and once there is an attribute of key 0.
    bool leavesAreTimed();

  private:
    // What the next indications do, and how many of them.
    enum class Reaction : std::uint8_t {
        nothing,
        discard,
        fail,
        request,
        disable,
        disableAndEnable,
        role,
        leaveAll,
        requestAndFail,
    };
    using Step = void (Steps::*)();

    static FuzzNode::Start readStart(std::uint8_t octet);

    void passTime();
    void receiveRaw();
    void receiveAny();
    void receiveAssembled();
    void takeIn(Platform::IntfId intfId, const Bytes& frame, std::uint8_t how);
    void request();
    void sendAttribute();
    void changeRole();
    void changeStp();
    void changeConfig();
    void changeIntfConfig();
    void enable();
    void disable();
    void disable(Platform::IntfId intfId);
    void changeDevice();
    void becomeActive();
    void clog();
    void recycle();
    void cleanUp();
    void transmitAllLeaveAll();
    void readReaction();

    bool handleIndication();
    void makeRequest(std::uint8_t how, std::uint8_t key);

    Input& input_;
    FuzzNode node_;
    unsigned left_ = 200;
    bool leavesAreTimed_ = true;
    std::optional<Platform::IntfId> disabled_;  // by the step in hand, and not enabled again
    Reaction reaction_ = Reaction::nothing;
    unsigned reactions_ = 0;
    std::uint8_t reactionHow_ = 0;
    std::uint8_t reactionKey_ = 0;
};

}  // namespace MrpFuzz
