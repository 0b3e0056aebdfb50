#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/UnixLineQueue.h"
#include "platform/linux/UnixListener.h"
#include "platform/log/AttrLog.h"

namespace Platform::Linux {

// An attribute log on a Unix stream socket. It listens on a path and has one reader at a time,
// which is told the content's state and then its changes; another one is refused in one line.
//
// It never waits for its reader. Lines that the socket does not take wait here, up to queueLimit
// octets, or twice what the whole state would be; beyond that the connection ends. It ends at the
// end of a line, always: no reader sees half of one. What a reader sends is thrown away; it may
// also say that it sends nothing.
//
// Held by Ptr; those whom it calls back may drop theirs.
class UnixAttrLog final : public AttrLogSocketOutput, private AttrLogReader {
  public:
    struct Counters {
        std::uint64_t readers = 0;       // that were accepted
        std::uint64_t refused = 0;       // because there was another
        std::uint64_t dropped = 0;       // whose connection was ended because they were too slow
        std::uint64_t droppedLines = 0;  // that waited for these, and were lost
    };
    // How often the system had no room for a client, which goes on waiting.
    std::uint64_t failures() const { return listener_ ? listener_->failures() : 0; }

    static constexpr std::size_t queueLimit = 8U * 1024 * 1024;
    static constexpr unsigned pathMode = 0660;  // of the socket's file

    // Readers can connect when it listens. `content` and the activity manager outlive it.
    UnixAttrLog(std::string name, std::string path, AttrLogContent& content,
                EpollActivityManager& activityManager);
    UnixAttrLog(const UnixAttrLog&) = delete;
    UnixAttrLog& operator=(const UnixAttrLog&) = delete;
    // Ends the connection, telling content, and removes the path.
    ~UnixAttrLog() override;

    // Listens on the path, once. A socket that a process which is gone has left there is replaced;
    // one that somebody listens on, or a file of any other kind, is an error. Throws
    // std::system_error whose text begins with the path; it can be tried again then.
    void listen();

    const std::string& path() const { return path_; }
    bool connected() const { return fd() != noSocket; }
    // The octets that wait here for the reader.
    std::size_t waiting() const { return queue_.waiting(); }
    const Counters& counters() const { return counters_; }

    int sendBufferSize() const override;
    int unsentBytes() const override;

  private:
    void linesIs(std::string_view lines) override;
    void linesLost() override;

    void handleClients();
    void clientIs(FileDescriptor client);
    void refuse(const FileDescriptor& client);
    void handleReadable();
    void handleGone();
    void watch(EpollActivityManager::Callback readable);
    void handleWritable();
    void postWork();
    void work();

    bool append(std::string_view lines);
    void appendState();
    void send();
    void watchWritable();
    void endSoon();
    void end();
    void tellEnd();
    void closeSocket();

    std::string path_;
    AttrLogContent& content_;
    EpollActivityManager& activityManager_;
    Counters counters_;
    FileDescriptor socket_;
    UnixLineQueue queue_;
    bool stateLeft_ = false;   // to be asked for
    bool full_ = false;        // lines wait for the loop to find the socket writable
    std::size_t triedAt_ = 0;  // what waited when the socket was last found full
    bool watching_ = false;    // whether the loop looks for that
    // The connection takes no lines any more. It is there until the line that is partly out is out.
    bool ending_ = false;
    bool posted_ = false;
    // By which posted work finds out that the log is gone.
    std::shared_ptr<UnixAttrLog*> self_ = std::make_shared<UnixAttrLog*>(this);
    std::optional<UnixListener> listener_;
};

}  // namespace Platform::Linux
