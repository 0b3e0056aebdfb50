#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>

#include "DatabaseMirror.h"
#include "FrameJudge.h"
#include "FuzzLib.h"
#include "agent/instance/MrpInstance.h"
#include "platform/log/AttrLog.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"

namespace MrpFuzz {

// An attribute log whose reader keeps up, or is behind by the whole buffer.
class FuzzLogOutput final : public Platform::AttrLogSocketOutput {
  public:
    using AttrLogSocketOutput::AttrLogSocketOutput;

    int sendBufferSize() const override { return bufferOctets; }
    int unsentBytes() const override { return clogged ? bufferOctets : 0; }

    bool clogged = false;

  private:
    static constexpr int bufferOctets = 65536;
};

// One engine on the virtual platform with two interfaces. What it sends is judged at once. Time
// begins at 0.
class FuzzNode {
  public:
    struct Start {
        Mrp::MrpApplication application = Mrp::MrpApplication::mvrp;
        bool standby = false;  // with a few attributes in its database
        bool flooding = false;
        bool log = false;
        bool stp = false;
        bool sizeLimit = false;  // of frames on the second interface
    };

    explicit FuzzNode(const Start& start);
    FuzzNode(const FuzzNode&) = delete;
    FuzzNode& operator=(const FuzzNode&) = delete;
    ~FuzzNode();

    // The interface of an octet's lowest bit.
    Platform::IntfId intf(std::uint8_t number) const { return intfs_[number % intfs_.size()]; }
    // The interface's device; null while it is away.
    Platform::Virtual::VirtualEthDev* dev(Platform::IntfId intfId) const;
    // A device comes, in place of the one before if there is one.
    void devIs(Platform::IntfId intfId);
    void devDel(Platform::IntfId intfId);
    // Interfaces that are never there, for requests.
    Platform::IntfId stranger() const { return stranger_; }

    // Time passes. Ends by itself after a minute in all.
    void pass(Platform::Seconds time);
    // Time passes in which nothing happens, after what waits in the sockets has been read: with a
    // LeaveAll period and a leave time that are set short.
    void rest(Platform::Seconds time);
    bool spent() const { return manager_.clock().now() >= lifetime; }
    Platform::Seconds now() const { return manager_.clock().now(); }

    // What a port's spanning tree says of it. Nothing without one.
    void roleIs(Platform::IntfId intfId, const char* msti, int role);

    MrpAgent::MrpInstance& instance() { return *instance_; }
    Mrp::MrpSm& mrpSm() { return instance_->mrpSm(); }
    FuzzLib& lib() { return *lib_; }
    Mrp::MrpConfig& config() { return *config_; }
    Platform::Stp::Status* stpStatus() { return stpStatus_.get(); }
    FuzzLogOutput* log() { return log_.get(); }
    Mrp::MrpApplication application() const { return lib_->application(); }
    std::size_t attributes();
    const DatabaseMirror& mirror() const { return *mirror_; }

  private:
    static constexpr Platform::Seconds lifetime = 60;

    void fillDatabase();
    void handleSent(std::span<const std::uint8_t> frame);

    struct Device {
        Platform::Ptr<Platform::Virtual::VirtualEthDev> dev;
        Platform::Reactor sentReactor;
    };

    std::array<Platform::IntfId, 2> intfs_{Platform::IntfId("et1"), Platform::IntfId("et2")};
    Platform::IntfId stranger_{"stranger"};
    mutable Platform::Virtual::VirtualActivityManager manager_;
    MrpAgent::NodeInterfaces interfaces_ = MrpAgent::NodeInterfaces::make();
    std::map<Platform::IntfId, Device> devices_;
    Platform::Ptr<FuzzLib> lib_ = Platform::makePtr<FuzzLib>();
    Platform::Ptr<Mrp::MrpConfig> config_ = Platform::makePtr<Mrp::MrpConfig>();
    Platform::Ptr<Platform::Stp::Status> stpStatus_;
    Platform::Ptr<FuzzLogOutput> log_;
    FrameJudge& judge_;
    std::unique_ptr<MrpAgent::MrpInstance> instance_;
    std::optional<DatabaseMirror> mirror_;
};

}  // namespace MrpFuzz
