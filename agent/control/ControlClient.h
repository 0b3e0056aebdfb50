#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "agent/control/Answer.h"
#include "agent/control/ControlRequests.h"
#include "agent/control/TurnQueue.h"
#include "platform/linux/UnixLineQueue.h"
#include "platform/time/Clock.h"

namespace MrpAgent {

class RequestError;

// One connection of the control sockets: takes its requests one after the other, and tells the
// answers as fast as the client reads. It never waits for the client, and holds no more than a
// request's line and what an answer may leave waiting.
class ControlClient final : public TurnQueue::Worker,
                            public std::enable_shared_from_this<ControlClient>,
                            private AnswerOutput {
  public:
    // What a client works with; all of it outlives the client.
    struct Parts {
        ControlRequests& requests;
        TurnQueue& turns;
        Platform::Linux::EpollActivityManager& activityManager;
        Platform::Seconds patience;  // with a client that takes nothing
        // Told of each request, and once when the connection is no more.
        std::function<void()> asked;
        std::function<void(const std::shared_ptr<ControlClient>& client)> ended;
    };

    static constexpr std::size_t lineLimit = 65536;               // octets of a request
    static constexpr std::size_t hardLimit = 4U * 1024U * 1024U;  // octets that may ever wait

    ControlClient(Platform::Linux::FileDescriptor socket, ControlAccess access, Parts parts);
    ControlClient(const ControlClient&) = delete;
    ControlClient& operator=(const ControlClient&) = delete;
    // Without a word to anyone.
    ~ControlClient() override;

    // Says who we are, and listens from now on. Throws std::system_error.
    void start(const Json& greeting);

    bool work() override;

  private:
    void rowIs(const Json& row) override { rowLineIs(jsonLine(row)); }
    void rowLineIs(const std::string& row) override;
    std::size_t waiting() const override { return queue_.waiting(); }
    void workSoon() override { parts_.turns.add(shared_from_this()); }

    void handleReadable();
    void handleWritable();
    bool findLine();
    bool advance();
    bool advanceAnswer();
    void begin(std::string_view line);
    void tellEnd(const Json& end);
    void tellError(const RequestError& error);
    void add(const std::string& line);
    void send();
    void watch();
    bool finished() const;
    void close();

    Platform::Linux::FileDescriptor socket_;
    ControlAccess access_;
    Parts parts_;
    std::string input_;        // what has come and is not begun
    std::size_t lineEnd_ = 0;  // where the line in input_ ends, or how far there is no end
    bool lineThere_ = false;
    std::string id_;  // of the request in hand, as JSON
    std::unique_ptr<Answer> answer_;
    Platform::Linux::UnixLineQueue queue_;
    std::size_t triedAt_ = 0;  // what waited when the socket was last found full
    bool full_ = false;        // lines wait for the socket to become writable
    bool inputEnded_ = false;  // the client sends no more
    bool ending_ = false;      // no more requests; what waits is sent
    bool broken_ = false;      // the connection is no more
    bool watched_ = false;     // by the loop, and what it looks for
    bool reading_ = false;
    bool writing_ = false;
    Platform::Alarm stalled_;
};

}  // namespace MrpAgent
