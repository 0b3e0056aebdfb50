#pragma once

#include <functional>
#include <sstream>
#include <string>
#include <string_view>

namespace Platform {

// The traces of one part of a program, told apart by name and switched by level: messages of a
// level up to the source's are written, 0 (what went wrong) to 9 (everything). A source is off (-1)
// until something sets it: setTraceLevel, or at start the environment variable MRP_TRACE, a list as
// in "MrpSm/8,Linux/3" ("*" names every source). Sources live as long as the process.
class TraceSource final {
  public:
    static constexpr int off = -1;
    static constexpr int maxLevel = 9;

    explicit TraceSource(std::string_view name);
    TraceSource(const TraceSource&) = delete;
    TraceSource& operator=(const TraceSource&) = delete;
    ~TraceSource();

    bool enabled(int level) const { return level <= level_; }
    int level() const { return level_; }
    const std::string& name() const { return name_; }

    void write(int level, const std::string& text) const;

  private:
    friend void setTraceLevel(std::string_view, int);

    int level_ = off;
    std::string name_;
};

// Sets the level of the sources of that name ("*": of all), also of those that come later.
void setTraceLevel(std::string_view name, int level);

// Reads a list as in the environment variable. False when it is none; what stands before the fault
// has been set.
bool setTraceLevels(std::string_view list);

// Where traces go; null restores standard error.
using TraceSink =
    std::function<void(const TraceSource& source, int level, const std::string& text)>;
void traceSinkIs(TraceSink sink);

}  // namespace Platform

// Writes the streamed message to the source. Nothing of it is evaluated while the level is off.
#define PLATFORM_TRACE(source, level, message)                                                     \
    do {                                                                                           \
        if ((source).enabled(level)) [[unlikely]] {                                                \
            std::ostringstream traceStream_;                                                       \
            traceStream_ << message; /* NOLINT(bugprone-macro-parentheses): a stream expression */ \
            (source).write(level, traceStream_.str());                                             \
        }                                                                                          \
    } while (false)
