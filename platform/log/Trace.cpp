#include "platform/log/Trace.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <map>
#include <vector>

#include "platform/base/Environment.h"

namespace Platform {

namespace {

struct TraceRegistry {
    std::vector<TraceSource*> sources;
    std::map<std::string, int, std::less<>> levels;  // by name, for sources to come
    TraceSink sink;
};

TraceRegistry& registry() {
    static TraceRegistry& theRegistry = *new TraceRegistry;  // outlives static sources
    return theRegistry;
}

constexpr std::string_view everySource = "*";

bool setOneLevel(std::string_view item) {
    const std::size_t slash = item.find('/');
    if (slash == std::string_view::npos || slash == 0) {
        return false;
    }
    int level = 0;
    const char* first = item.data() + slash + 1;
    const char* last = item.data() + item.size();
    const auto [end, error] = std::from_chars(first, last, level);
    if (error != std::errc{} || end != last || level < TraceSource::off ||
        level > TraceSource::maxLevel) {
        return false;
    }
    setTraceLevel(item.substr(0, slash), level);
    return true;
}

void readEnvironmentOnce() {
    static const bool done = [] {
        const auto list = environmentVariable("MRP_TRACE");
        if (list && !setTraceLevels(*list)) {
            std::fprintf(stderr, "MRP_TRACE: \"%s\" is no list of NAME/LEVEL\n", list->c_str());
        }
        return true;
    }();
    static_cast<void>(done);
}

int levelFor(std::string_view name) {
    const auto& levels = registry().levels;
    if (const auto own = levels.find(name); own != levels.end()) {
        return own->second;
    }
    const auto all = levels.find(everySource);
    return all != levels.end() ? all->second : TraceSource::off;
}

}  // namespace

TraceSource::TraceSource(std::string_view name) : name_(name) {
    readEnvironmentOnce();
    registry().sources.push_back(this);
    level_ = levelFor(name);
}

TraceSource::~TraceSource() {
    std::erase(registry().sources, this);
}

void TraceSource::write(int level, const std::string& text) const {
    if (const TraceSink sink = registry().sink) {
        sink(*this, level, text);
        return;
    }
    std::fprintf(stderr, "%s/%d %s\n", name_.c_str(), level, text.c_str());
}

void setTraceLevel(std::string_view name, int level) {
    if (name == everySource) {
        registry().levels.clear();
    }
    registry().levels[std::string(name)] = level;
    for (TraceSource* source : registry().sources) {
        if (name == everySource || source->name_ == name) {
            source->level_ = level;
        }
    }
}

bool setTraceLevels(std::string_view list) {
    while (!list.empty()) {
        const std::size_t comma = std::min(list.find(','), list.size());
        if (!setOneLevel(list.substr(0, comma))) {
            return false;
        }
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
    return true;
}

void traceSinkIs(TraceSink sink) {
    registry().sink = std::move(sink);
}

}  // namespace Platform
