#pragma once

#include <toml++/toml.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/base/EthAddr.h"
#include "platform/base/Seconds.h"

namespace MrpAgent {

// The faults found in one file, in words for the user, each with its place. Without a file's name
// they have the key's name alone.
class ConfigErrors {
  public:
    explicit ConfigErrors(std::string fileName) : fileName_(std::move(fileName)) {}

    // "agent.toml:12: timers.leaveTime: expected a number of seconds > 0". Line 0 stands for the
    // file as a whole.
    void add(std::size_t line, const std::string& key, const std::string& fault);
    bool empty() const { return errors_.empty(); }
    // In the order of their lines, each text once.
    std::vector<std::string> texts() const;

  private:
    std::string fileName_;
    std::vector<std::pair<std::size_t, std::string>> errors_;
};

enum class Presence { optional, required };

// A text in the file, and its line.
struct LocatedText {
    std::string text;
    std::size_t line;
};

// One TOML table while it is read. A key of the wrong type or range, or a required one that is
// missing, is entered in the errors and read as nothing; keys that nobody has asked for when
// finish() is called are entered too. The document and the errors outlive the table.
class ConfigTable {
  public:
    // `path` is how the table is called in messages; empty for the root.
    ConfigTable(const toml::table& table, std::string path, std::size_t line, ConfigErrors& errors);

    const std::string& path() const { return path_; }
    std::size_t line() const { return line_; }
    // The line of a key's value; the table's own without the key.
    std::size_t lineOf(std::string_view key) const;
    // Enters a fault of the key; an empty one stands for the whole table.
    void errorIs(std::size_t line, std::string_view key, const std::string& fault);

    std::optional<bool> flag(std::string_view key);
    std::optional<Platform::Seconds> seconds(std::string_view key);
    std::optional<std::uint64_t> number(std::string_view key, std::uint64_t min, std::uint64_t max,
                                        Presence presence);
    // Eight octets as text, or a number.
    std::optional<std::uint64_t> id(std::string_view key, Presence presence);
    std::optional<Platform::EthAddr> address(std::string_view key, Presence presence);
    std::optional<std::string> text(std::string_view key, const std::string& expected,
                                    Presence presence);
    // A list of texts, none of them empty or there twice. Nothing when the key is missing or wrong.
    std::optional<std::vector<LocatedText>> texts(std::string_view key, const std::string& expected,
                                                  Presence presence);

    // The elements of an array, or the value itself when it is none; empty without the key.
    std::vector<const toml::node*> elements(std::string_view key, const std::string& expected,
                                            Presence presence);
    std::size_t lineOf(const toml::node& node) const;

    // The table of the key; nothing without it.
    std::optional<ConfigTable> table(std::string_view key);
    // The tables of an array of tables ([[key]]); empty without the key.
    std::vector<ConfigTable> tables(std::string_view key);
    // The names of the keys.
    std::vector<std::string> keys() const;

    void finish();

  private:
    const toml::node* find(std::string_view key, const std::string& expected, Presence presence);
    std::string pathOf(std::string_view key) const;
    template <class Convert>
    auto convert(std::string_view key, const std::string& expected, Presence presence,
                 Convert convert) -> std::invoke_result_t<Convert, const toml::node&>;

    const toml::table* table_;
    std::string path_;
    std::size_t line_;
    ConfigErrors* errors_;
    std::set<std::string, std::less<>> known_;
};

}  // namespace MrpAgent
