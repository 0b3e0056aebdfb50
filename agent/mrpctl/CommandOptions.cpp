#include "agent/mrpctl/CommandOptions.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <vector>

namespace MrpCtl {

namespace {

// "02:00" or "02-00", so many octets.
bool isOctets(const std::string& text, std::size_t count) {
    constexpr std::size_t each = 3;
    if (text.size() != count * each - 1) {
        return false;
    }
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool right = at % each == 2
                               ? text[at] == ':' || text[at] == '-'
                               : std::isxdigit(static_cast<unsigned char>(text[at])) != 0;
        if (!right) {
            return false;
        }
    }
    return true;
}

std::optional<unsigned> vlanOf(std::string_view text) {
    constexpr unsigned maxVlan = 4094;
    unsigned vlan = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), vlan);
    const bool right = error == std::errc{} && end == text.data() + text.size() && vlan >= 1;
    return right && vlan <= maxVlan ? std::optional(vlan) : std::nullopt;
}

const std::map<std::string_view, const char*> filterHelp{
    {"application", "Only of mvrp or msrp"},
    {"port", "Only on these ports"},
    {"vlan", "Only these VLANs, such as 10 or 10-20"},
    {"stream", "Only these streams, such as 02:00:00:00:00:aa:00:01"},
    {"type", "Only attributes of these types"},
    {"state", "Only in these states: an applicant's or registrar's (QA, IN, ...), registered or "
              "declared"}};

const std::vector<std::string> applications{"mvrp", "msrp"};
const std::vector<std::string> types{"vlanVector", "talkerAdvertise", "talkerFailed", "listener",
                                     "domain"};
const std::vector<std::string> states{"VO", "VP", "VN", "AN",         "AA",      "QA",
                                      "LA", "AO", "QO", "AP",         "QP",      "LO",
                                      "IN", "LV", "MT", "registered", "declared"};

}  // namespace

Request requestOf(const char* name) {
    return std::make_shared<Json>(Json{{"request", name}});
}

std::string vlanError(const std::string& text) {
    const std::size_t dash = text.find('-');
    const auto first = vlanOf(std::string_view(text).substr(0, dash));
    const auto last =
        dash == std::string::npos ? first : vlanOf(std::string_view(text).substr(dash + 1));
    return first && last && *first <= *last
               ? ""
               : "expected VLANs from 1 to 4094, such as 10 or 10-20, found " + text;
}

std::string streamIdError(const std::string& text) {
    constexpr std::size_t octets = 8;
    return isOctets(text, octets)
               ? ""
               : "expected a Stream ID, such as 02:00:00:00:00:aa:00:01, found " + text;
}

std::string macError(const std::string& text) {
    constexpr std::size_t octets = 6;
    return isOctets(text, octets)
               ? ""
               : "expected a MAC address, such as 91:e0:f0:00:0e:80, found " + text;
}

CLI::Option* addList(CLI::App& app, const std::string& option, const std::string& help,
                     const Request& request, const char* member) {
    const auto take = [request, member](const std::vector<std::string>& texts) {
        (*request)[member] = texts;
    };
    CLI::Option* list = app.add_option_function<std::vector<std::string>>(option, take, help);
    list->delimiter(',');
    if (!list->get_positional()) {
        list->allow_extra_args(false);
    }
    return list;
}

void addFilters(CLI::App& app, const Request& request,
                std::initializer_list<std::string_view> filters) {
    for (const std::string_view filter : filters) {
        const auto known = filterHelp.find(filter);
        CLI::Option* option =
            addList(app, "--" + std::string(filter), known->second, request, known->first.data());
        if (filter == "application") {
            option->check(CLI::IsMember(applications));
        } else if (filter == "port") {
            option->type_name("PORT");
        } else if (filter == "vlan") {
            option->type_name("VLANS")->check(vlanError);
        } else if (filter == "stream") {
            option->type_name("STREAM")->check(streamIdError);
        } else if (filter == "type") {
            option->check(CLI::IsMember(types));
        } else {
            option->type_name("STATE")->check(CLI::IsMember(states));
        }
    }
}

void addLimit(CLI::App& app, const Request& request, const std::string& help) {
    const auto take = [request](const std::uint32_t& limit) { (*request)["limit"] = limit; };
    app.add_option_function<std::uint32_t>("--limit", take, help)
        ->type_name("N")
        ->check(CLI::Range(1U, std::numeric_limits<std::uint32_t>::max()));
}

}  // namespace MrpCtl
