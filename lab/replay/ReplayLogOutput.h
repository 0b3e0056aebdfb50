#pragma once

#include "platform/log/AttrLog.h"

namespace MrpLab {

// An attribute log's socket whose reader is as far behind as it is told to be: its send buffer is
// either full or empty. Nothing is written to it.
class ReplayLogOutput final : public Platform::AttrLogSocketOutput {
  public:
    explicit ReplayLogOutput(const std::string& name) : AttrLogSocketOutput(name) {
        constexpr int someSocket = 0;  // asked for its numbers only, and here the answers are
        fdIs(someSocket);
    }

    int sendBufferSize() const override { return bufferOctets; }
    int unsentBytes() const override { return clogged_ ? bufferOctets : 0; }

    void cloggedIs(bool clogged) { clogged_ = clogged; }

  private:
    static constexpr int bufferOctets = 65536;

    bool clogged_ = false;
};

}  // namespace MrpLab
