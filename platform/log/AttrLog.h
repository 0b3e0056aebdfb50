#pragma once

#include <string>
#include <vector>

#include "platform/state/Entity.h"
#include "platform/state/Notification.h"

namespace Platform {

// One output of the attribute log, through which a node exports the changes of its state. Outputs
// are known process-wide by name while they are registered.
class AttrLogOutput : public Entity {
  public:
    using Entity::Entity;
};

// An output that writes to a stream socket.
class AttrLogSocketOutput : public AttrLogOutput {
  public:
    static constexpr int noSocket = -1;

    using AttrLogOutput::AttrLogOutput;

    // The socket's descriptor, noSocket while there is none.
    int fd() const { return fd_; }
    void fdIs(int fd);
    Notification<>& fdChanged() { return fdChanged_; }

    // The kernel's send buffer size of the socket in bytes (SO_SNDBUF), or -1.
    virtual int sendBufferSize() const = 0;
    // The bytes written but not yet taken by the reader (SIOCOUTQ), or -1 with errno set.
    virtual int unsentBytes() const = 0;

  private:
    int fd_ = noSocket;
    Notification<> fdChanged_;
};

// The process's outputs, in the order in which they were registered.
void attrLogOutputAdd(const Ptr<AttrLogOutput>& output);
void attrLogOutputDel(const Ptr<AttrLogOutput>& output);
const std::vector<Ptr<AttrLogOutput>>& attrLogOutputs();

}  // namespace Platform
