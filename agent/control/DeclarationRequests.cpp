#include "agent/control/DeclarationRequests.h"

#include <algorithm>
#include <limits>
#include <map>
#include <tuple>
#include <utility>

#include "agent/config/DeclarationReader.h"
#include "agent/config/IdText.h"
#include "agent/control/AttributeFilter.h"
#include "agent/control/RequestError.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

// One request declares no more attributes on ports than that.
constexpr std::size_t mostDeclarations = 65536;
constexpr std::size_t mostFaultsTold = 5;

toml::table tableOf(const Json& object);
toml::array arrayOf(const Json& list, const std::string& key);

// Adds the value by `add`, as the configuration file would have it.
template <class Add>
void convert(const Json& value, const std::string& key, Add add) {
    if (value.is_object()) {
        add(tableOf(value));
    } else if (value.is_array()) {
        add(arrayOf(value, key));
    } else if (value.is_string()) {
        add(value.get<std::string>());
    } else if (value.is_boolean()) {
        add(value.get<bool>());
    } else if (value.is_number_integer() &&
               (!value.is_number_unsigned() ||
                value.get<std::uint64_t>() <= std::numeric_limits<std::int64_t>::max())) {
        add(value.get<std::int64_t>());
    } else if (value.is_number()) {
        add(value.get<double>());
    } else {
        RequestMembers::fault(key, "expected a value, found null");
    }
}

toml::table tableOf(const Json& object) {
    toml::table table;
    for (const auto& [key, value] : object.items()) {
        convert(value, key, [&table, &name = key](auto&& converted) {
            table.insert_or_assign(name, std::forward<decltype(converted)>(converted));
        });
    }
    return table;
}

toml::array arrayOf(const Json& list, const std::string& key) {
    toml::array array;
    for (const Json& element : list) {
        convert(element, key, [&array](auto&& converted) {
            array.push_back(std::forward<decltype(converted)>(converted));
        });
    }
    return array;
}

std::string textOf(const ConfigErrors& errors) {
    const std::vector<std::string> texts = errors.texts();
    std::string text;
    for (std::size_t i = 0; i < std::min(texts.size(), mostFaultsTold); ++i) {
        text += (i > 0 ? "; " : "") + texts[i];
    }
    return text + (texts.size() > mostFaultsTold ? "; …" : "");
}

std::vector<Declaration> read(const Json& request, const ControlNode& node,
                              void (DeclarationReader::*readAll)()) {
    Json members = request;
    members.erase("request");
    members.erase("id");
    const toml::table table = tableOf(members);
    ConfigErrors errors("");
    AgentConfig config;
    config.applications.clear();
    for (const auto& instance : node.instances()) {
        config.applications.push_back(instance->application());
    }
    ConfigTable root(table, "", 0, errors);
    (DeclarationReader(root, config, mostDeclarations).*readAll)();
    root.finish();
    if (!errors.empty()) {
        throw RequestError(RequestError::badRequest, textOf(errors));
    }
    if (config.declarations.empty()) {
        throw RequestError(RequestError::badRequest, "expected an attribute at the least");
    }
    return std::move(config.declarations);
}

using Attribute = std::tuple<MrpApplication, AttributeType, AttributeKey>;

Attribute attributeOf(const Declaration& declaration) {
    return {declaration.application, declaration.attributeType, declaration.key};
}

// What the node declares by itself, by attribute.
std::multimap<Attribute, Declaration> declaredOf(const ControlNode& node) {
    std::multimap<Attribute, Declaration> declared;
    for (Declaration& declaration : node.declarations()) {
        const Attribute attribute = attributeOf(declaration);
        declared.emplace(attribute, std::move(declaration));
    }
    return declared;
}

// Whether it is on any of the same ports.
bool meets(const Declaration& a, const Declaration& b) {
    return a.interfaces.empty() || b.interfaces.empty() ||
           std::any_of(a.interfaces.begin(), a.interfaces.end(),
                       [&b](const std::string& name) { return b.concerns(name); });
}

}  // namespace

std::vector<Declaration> declarationsOf(const Json& request, const ControlNode& node) {
    return read(request, node, &DeclarationReader::read);
}

std::vector<Declaration> withdrawalsOf(const Json& request, const ControlNode& node) {
    const auto all = declaredOf(node);
    const auto isDeclared = [&all](const Declaration& declaration) {
        const auto [begin, end] = all.equal_range(attributeOf(declaration));
        return std::any_of(begin, end,
                           [&](const auto& there) { return meets(there.second, declaration); });
    };
    std::vector<Declaration> result;
    bool declared = false;  // some attribute of the stream in hand
    for (Declaration& declaration : read(request, node, &DeclarationReader::readWithdrawals)) {
        const bool stream = declaration.application == MrpApplication::msrp &&
                            declaration.attributeType <= listenerType;
        // Those of a stream follow each other, the talkers first.
        declared = declared && declaration.attributeType != talkerAdvertiseType;
        if (!stream || isDeclared(declaration)) {
            declared = true;
            result.push_back(std::move(declaration));
        } else if (declaration.attributeType == listenerType && !declared) {
            throw RequestError(RequestError::refused,
                               "stream " + idText(declaration.key) + " is not declared");
        }
    }
    return result;
}

}  // namespace MrpAgent
