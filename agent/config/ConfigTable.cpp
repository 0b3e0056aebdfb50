#include "agent/config/ConfigTable.h"

#include <algorithm>
#include <cmath>

#include "agent/config/IdText.h"

namespace MrpAgent {

using namespace Platform;

void ConfigErrors::add(std::size_t line, const std::string& key, const std::string& fault) {
    std::string text = fileName_;
    if (!text.empty()) {
        text += line > 0 ? ":" + std::to_string(line) + ": " : ": ";
    }
    text += key.empty() ? fault : key + ": " + fault;
    errors_.emplace_back(line, std::move(text));
}

std::vector<std::string> ConfigErrors::texts() const {
    auto sorted = errors_;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> result;
    for (auto& [line, text] : sorted) {
        if (std::find(result.begin(), result.end(), text) == result.end()) {
            result.push_back(std::move(text));
        }
    }
    return result;
}

ConfigTable::ConfigTable(const toml::table& table, std::string path, std::size_t line,
                         ConfigErrors& errors)
    : table_(&table), path_(std::move(path)), line_(line), errors_(&errors) {}

std::size_t ConfigTable::lineOf(const toml::node& node) const {
    // What the parser made up, such as the parents of a dotted key, has no line.
    return node.source().begin.line > 0 ? node.source().begin.line : line_;
}

std::size_t ConfigTable::lineOf(std::string_view key) const {
    const toml::node* node = table_->get(key);
    return node != nullptr ? lineOf(*node) : line_;
}

std::string ConfigTable::pathOf(std::string_view key) const {
    const bool both = !path_.empty() && !key.empty();
    return path_ + (both ? "." : "") + std::string(key);
}

void ConfigTable::errorIs(std::size_t line, std::string_view key, const std::string& fault) {
    errors_->add(line, pathOf(key), fault);
}

const toml::node* ConfigTable::find(std::string_view key, const std::string& expected,
                                    Presence presence) {
    known_.emplace(key);
    const toml::node* node = table_->get(key);
    if (node == nullptr && presence == Presence::required) {
        errorIs(line_, key, "expected " + expected + ", found nothing");
    }
    return node;
}

template <class Convert>
auto ConfigTable::convert(std::string_view key, const std::string& expected, Presence presence,
                          Convert convert) -> std::invoke_result_t<Convert, const toml::node&> {
    const toml::node* node = find(key, expected, presence);
    if (node == nullptr) {
        return std::nullopt;
    }
    auto result = convert(*node);
    if (!result) {
        errorIs(lineOf(*node), key, "expected " + expected);
    }
    return result;
}

std::optional<bool> ConfigTable::flag(std::string_view key) {
    return convert(key, "true or false", Presence::optional,
                   [](const toml::node& node) { return node.value_exact<bool>(); });
}

std::optional<Seconds> ConfigTable::seconds(std::string_view key) {
    return convert(key, "a number of seconds > 0", Presence::optional,
                   [](const toml::node& node) -> std::optional<Seconds> {
                       if (!node.is_number()) {
                           return std::nullopt;
                       }
                       const auto value = node.value<double>();
                       return value && std::isfinite(*value) && *value > 0 ? value : std::nullopt;
                   });
}

std::optional<std::uint64_t> ConfigTable::number(std::string_view key, std::uint64_t min,
                                                 std::uint64_t max, Presence presence) {
    const std::string expected =
        "a whole number from " + std::to_string(min) + " to " + std::to_string(max);
    return convert(key, expected, presence,
                   [min, max](const toml::node& node) -> std::optional<std::uint64_t> {
                       const auto value = node.value_exact<std::int64_t>();
                       if (!value || *value < 0) {
                           return std::nullopt;
                       }
                       const auto number = static_cast<std::uint64_t>(*value);
                       return number >= min && number <= max ? std::optional(number) : std::nullopt;
                   });
}

std::optional<std::uint64_t> ConfigTable::id(std::string_view key, Presence presence) {
    return convert(key, "eight octets like \"02:00:00:00:00:aa:00:01\", or a whole number >= 0",
                   presence, [](const toml::node& node) -> std::optional<std::uint64_t> {
                       if (const auto text = node.value_exact<std::string>()) {
                           return idOf(*text);
                       }
                       const auto value = node.value_exact<std::int64_t>();
                       return value && *value >= 0
                                  ? std::optional(static_cast<std::uint64_t>(*value))
                                  : std::nullopt;
                   });
}

std::optional<EthAddr> ConfigTable::address(std::string_view key, Presence presence) {
    return convert(key, "a MAC address like \"02:00:00:00:00:aa\"", presence,
                   [](const toml::node& node) {
                       const auto text = node.value_exact<std::string>();
                       return text ? EthAddr::parse(*text) : std::nullopt;
                   });
}

std::optional<std::string> ConfigTable::text(std::string_view key, const std::string& expected,
                                             Presence presence) {
    return convert(key, expected, presence,
                   [](const toml::node& node) { return node.value_exact<std::string>(); });
}

std::optional<std::vector<LocatedText>>
ConfigTable::texts(std::string_view key, const std::string& expected, Presence presence) {
    return convert(key, expected, presence,
                   [this](const toml::node& node) -> std::optional<std::vector<LocatedText>> {
                       const toml::array* array = node.as_array();
                       if (array == nullptr || array->empty()) {
                           return std::nullopt;
                       }
                       std::vector<LocatedText> result;
                       std::set<std::string> seen;
                       for (const toml::node& element : *array) {
                           const auto text = element.value_exact<std::string>();
                           if (!text || text->empty() || !seen.insert(*text).second) {
                               return std::nullopt;
                           }
                           result.push_back({*text, lineOf(element)});
                       }
                       return result;
                   });
}

std::vector<const toml::node*>
ConfigTable::elements(std::string_view key, const std::string& expected, Presence presence) {
    const toml::node* node = find(key, expected, presence);
    if (node == nullptr) {
        return {};
    }
    const toml::array* array = node->as_array();
    if (array == nullptr) {
        return {node};
    }
    std::vector<const toml::node*> result;
    for (const toml::node& element : *array) {
        result.push_back(&element);
    }
    if (result.empty()) {
        errorIs(lineOf(*node), key, "expected " + expected);
    }
    return result;
}

std::optional<ConfigTable> ConfigTable::table(std::string_view key) {
    return convert(key, "a table ([" + pathOf(key) + "])", Presence::optional,
                   [this, key](const toml::node& node) -> std::optional<ConfigTable> {
                       const toml::table* table = node.as_table();
                       return table != nullptr ? std::optional<ConfigTable>(
                                                     {*table, pathOf(key), lineOf(node), *errors_})
                                               : std::nullopt;
                   });
}

std::vector<ConfigTable> ConfigTable::tables(std::string_view key) {
    const auto found = convert(
        key, "an array of tables ([[" + pathOf(key) + "]])", Presence::optional,
        [this, key](const toml::node& node) -> std::optional<std::vector<ConfigTable>> {
            const toml::array* array = node.as_array();
            if (array == nullptr || !array->is_homogeneous(toml::node_type::table)) {
                return std::nullopt;
            }
            std::vector<ConfigTable> result;
            for (const toml::node& element : *array) {
                result.emplace_back(*element.as_table(), pathOf(key), lineOf(element), *errors_);
            }
            return result;
        });
    return found.value_or(std::vector<ConfigTable>{});
}

std::vector<std::string> ConfigTable::keys() const {
    std::vector<std::string> result;
    for (const auto& [key, node] : *table_) {
        result.emplace_back(key.str());
    }
    return result;
}

void ConfigTable::finish() {
    std::string expected;
    for (const std::string& key : known_) {
        expected += (expected.empty() ? "" : ", ") + key;
    }
    for (const auto& [key, node] : *table_) {
        if (!known_.contains(key.str())) {
            const std::size_t line = key.source().begin.line;
            errorIs(line > 0 ? line : line_, key.str(),
                    "unknown key, expected one of: " + expected);
        }
    }
}

}  // namespace MrpAgent
