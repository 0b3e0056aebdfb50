#pragma once

#include <cstdint>

#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/base/Ptr.h"
#include "platform/log/AttrLog.h"

namespace Mrp {

// Watches the send buffer of the attribute log's socket, so that the database reviews can pause
// while its reader lags behind. Without a socket the log never counts as clogged.
class MrpAttrLogSm final : public RefCounted {
  public:
    // The output may be null.
    explicit MrpAttrLogSm(Ptr<AttrLogSocketOutput> output);

    // Whether more than half of the send buffer waits to be read. Asks the kernel at each call.
    bool isAttrLogOutClogged();

    // In octets; -1 where nothing is known.
    std::int32_t attrLogSockFd() const { return attrLogSockFd_; }
    std::int32_t attrLogKernTxBufferSize() const { return attrLogKernTxBufferSize_; }
    std::int32_t attrLogKernTxBufferThreshold() const { return attrLogKernTxBufferThreshold_; }
    std::int32_t attrLogKernTxBufferUsage() const { return attrLogKernTxBufferUsage_; }
    // The octets that wait in the send queue right now, or -1.
    std::int32_t getAttrLogKernTxBufferUsage() const;

  private:
    void handleInitialized();
    void handleAttrLogSockFd();
    void attrLogSockFdIs(std::int32_t fd);
    void attrLogKernTxBufferUsageIs(std::int32_t usage) { attrLogKernTxBufferUsage_ = usage; }

    Ptr<AttrLogSocketOutput> output_;
    std::int32_t attrLogSockFd_ = -1;
    std::int32_t attrLogKernTxBufferSize_ = -1;
    std::int32_t attrLogKernTxBufferThreshold_ = -1;
    std::int32_t attrLogKernTxBufferUsage_ = -1;
    bool initialized_ = false;
    Reactor fdReactor_;
};

}  // namespace Mrp
