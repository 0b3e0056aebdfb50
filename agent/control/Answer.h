#pragma once

#include <cstddef>
#include <string>

#include "agent/status/StatusJson.h"

namespace MrpAgent {

// Where the rows of an answer go: a client, which may read them slowly.
class AnswerOutput {
  public:
    AnswerOutput() = default;
    AnswerOutput(const AnswerOutput&) = delete;
    AnswerOutput& operator=(const AnswerOutput&) = delete;
    virtual ~AnswerOutput() = default;

    // An answer that makes rows at its own pace makes none while more octets wait than that, and is
    // not asked for any.
    static constexpr std::size_t enough = 65536;

    // Behind the rows before. Calls nobody back.
    virtual void rowIs(const Json& row) = 0;
    // The same of a row that is a line already.
    virtual void rowLineIs(const std::string& row) { rowIs(Json::parse(row)); }
    // The octets that the client has not taken.
    virtual std::size_t waiting() const = 0;
    // Has the answer's work() called soon, from the event loop.
    virtual void workSoon() = 0;
};

// The answer to one request, as long as it is told. It goes before its output does, never within
// one of its own functions.
class Answer {
  public:
    // `more`: has more to do at once. `waits`: until it has workSoon() called. `done`: all is told.
    enum class State { more, waits, done };

    Answer() = default;
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;
    virtual ~Answer() = default;

    // Does a slice of its work, well under a millisecond. Throws RequestError, which ends it.
    virtual State work() = 0;
    // Whether the client's next request ends it; else that waits.
    virtual bool endsByRequest() const { return false; }
};

}  // namespace MrpAgent
