#pragma once

#include <cstddef>
#include <string>
#include <string_view>
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

// Who reads an attribute log now.
class AttrLogReader {
  public:
    virtual ~AttrLogReader() = default;

    // Whole lines for the reader, each with its newline, behind those it has been given before.
    // Never waits, and calls nobody back.
    virtual void linesIs(std::string_view lines) = 0;
    // Lines that the reader should have been given are lost, for want of memory: it is given no
    // more, and has to begin anew. Calls nobody back either.
    virtual void linesLost() = 0;
};

// What an attribute log tells its reader: first the state, piece by piece as the reader takes it,
// then changes. An output asks it, from the event loop; it outlives the output.
class AttrLogContent {
  public:
    virtual ~AttrLogContent() = default;

    // There is a reader now, to be told the state from its beginning; it stays until readerEnds().
    virtual void readerStarts(AttrLogReader& reader) = 0;
    virtual void readerEnds() = 0;
    // Appends the next lines of the state: one at the least, and no more once there are `octets`.
    // False when these are the last; asked no more then. Between two calls linesIs() may be used
    // for what changes in the part that has been told.
    virtual bool stateLines(std::string& lines, std::size_t octets) = 0;
    // About how many octets the whole state has as lines. Twice as many may wait for a reader.
    virtual std::size_t stateSize() const = 0;
    // The line, with its newline, for one who connects while there is another reader.
    virtual std::string refusal() const = 0;
};

// The process's outputs, in the order in which they were registered.
void attrLogOutputAdd(const Ptr<AttrLogOutput>& output);
void attrLogOutputDel(const Ptr<AttrLogOutput>& output);
const std::vector<Ptr<AttrLogOutput>>& attrLogOutputs();

}  // namespace Platform
