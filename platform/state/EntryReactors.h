#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "platform/state/Directory.h"

namespace Platform {

// Keeps one Watch for each entry of a directory: made for the entries that are there and for every
// one that is added later, dropped with its entry, and made anew when the entry gets another value.
// A Watch is whatever reacts to the entry: a Reactor, or the EntryReactors of the level below.
template <class Key, class Value, class Watch>
class EntryReactors {
  public:
    using Make = std::function<std::unique_ptr<Watch>(const Key& key, const Value& value)>;

    // The directory outlives it.
    EntryReactors(const Directory<Key, Value>& directory, Make make)
        : directory_(directory),
          make_(std::move(make)),
          reactor_(directory.changed().react([this](const Key& key) { handleEntry(key); })) {
        for (const Key& key : directory_.keys()) {
            handleEntry(key);
        }
    }
    EntryReactors(const EntryReactors&) = delete;
    EntryReactors& operator=(const EntryReactors&) = delete;

  private:
    void handleEntry(const Key& key) {
        watches_.erase(key);
        if (const auto value = directory_.value(key)) {
            watches_[key] = make_(key, *value);
        }
    }

    const Directory<Key, Value>& directory_;
    Make make_;
    std::map<Key, std::unique_ptr<Watch>> watches_;
    Reactor reactor_;
};

}  // namespace Platform
