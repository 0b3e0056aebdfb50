#include "mrp/MrpSm/database/MrpAttrLogSm.h"

#include <cerrno>
#include <utility>

#include "mrp/MrpSm/types/MrpTrace.h"

namespace Mrp {

MrpAttrLogSm::MrpAttrLogSm(Ptr<AttrLogSocketOutput> output) : output_(std::move(output)) {
    handleInitialized();
}

void MrpAttrLogSm::handleInitialized() {
    MRP_TRACE(8, "MrpAttrLogSm::handleInitialized()");
    if (output_) {
        fdReactor_ = output_->fdChanged().react([this] { attrLogSockFdIs(output_->fd()); });
        attrLogSockFdIs(output_->fd());
    }
    initialized_ = true;
}

void MrpAttrLogSm::attrLogSockFdIs(std::int32_t fd) {
    attrLogSockFd_ = fd;
    handleAttrLogSockFd();
}

void MrpAttrLogSm::handleAttrLogSockFd() {
    if (attrLogSockFd_ == AttrLogSocketOutput::noSocket) {
        return;
    }
    attrLogKernTxBufferSize_ = output_->sendBufferSize();
    attrLogKernTxBufferThreshold_ =
        attrLogKernTxBufferSize_ >= 0 ? attrLogKernTxBufferSize_ / 2 : -1;
    MRP_TRACE(8, "handleAttrLogSockFd"
                     << "(), Socket Fd:" << attrLogSockFd_
                     << ", Kernel Tx Buffer Size:" << attrLogKernTxBufferSize_
                     << ", Kernel Tx Buffer Threshold:" << attrLogKernTxBufferThreshold_);
}

std::int32_t MrpAttrLogSm::getAttrLogKernTxBufferUsage() const {
    if (attrLogSockFd_ == AttrLogSocketOutput::noSocket) {
        return -1;
    }
    const std::int32_t usage = output_->unsentBytes();
    if (usage < 0) {
        MRP_TRACE(0, "attribute log: unsent bytes unknown, errno " << errno);
        return -1;
    }
    return usage;
}

bool MrpAttrLogSm::isAttrLogOutClogged() {
    if (!output_) {
        return false;
    }
    attrLogKernTxBufferUsageIs(getAttrLogKernTxBufferUsage());
    // Signed on both sides: an unknown usage (-1) is above no threshold, an unknown threshold is
    // below every known usage.
    if (attrLogKernTxBufferThreshold_ < attrLogKernTxBufferUsage_) {
        MRP_TRACE(8, "Tx Buffer usage:" << attrLogKernTxBufferUsage_
                                        << " is above threshold:" << attrLogKernTxBufferThreshold_);
        return true;
    }
    return false;
}

}  // namespace Mrp
