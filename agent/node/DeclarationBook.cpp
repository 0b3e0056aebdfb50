#include "agent/node/DeclarationBook.h"

#include <algorithm>

#include "agent/config/IdText.h"

namespace MrpAgent {

using namespace Mrp;

namespace {

using Declarations = std::vector<Declaration>;

bool meet(const Declaration& a, const Declaration& b) {
    return a.interfaces.empty() || b.interfaces.empty() ||
           std::any_of(a.interfaces.begin(), a.interfaces.end(),
                       [&](const std::string& name) { return b.concerns(name); });
}

bool sameValue(const Declaration& a, const Declaration& b) {
    return a.value == b.value && a.registration == b.registration;
}

std::string nameOf(const Declaration& declaration) {
    if (declaration.application == MrpApplication::mvrp) {
        return "VLAN " + std::to_string(declaration.key);
    }
    const std::string type(attributeTypeName(declaration.attributeType, declaration.application));
    return declaration.attributeType == domainType ? type + " " + std::to_string(declaration.key)
                                                   : type + " " + idText(declaration.key);
}

// What is left of a declaration without those of the other one's ports. Nothing when that cannot
// be said: one of every port cannot be without some.
std::optional<Declarations> without(const Declaration& declaration, const Declaration& other) {
    if (other.interfaces.empty()) {
        return Declarations{};
    }
    if (declaration.interfaces.empty()) {
        return std::nullopt;
    }
    Declaration rest = declaration;
    std::erase_if(rest.interfaces, [&](const std::string& name) { return other.concerns(name); });
    return rest.interfaces.empty() ? Declarations{} : Declarations{rest};
}

}  // namespace

DeclarationBook::Key DeclarationBook::keyOf(const Declaration& declaration) {
    return {declaration.application, declaration.attributeType, declaration.key};
}

std::optional<std::string> DeclarationBook::takeOut(Page& page, const Declaration& out,
                                                    bool& found) {
    const auto entry = page.find(keyOf(out));
    if (entry == page.end()) {
        return std::nullopt;
    }
    Declarations left;
    for (const Declaration& declaration : entry->second) {
        if (!meet(declaration, out)) {
            left.push_back(declaration);
            continue;
        }
        found = true;
        const auto rest = without(declaration, out);
        if (!rest) {
            return nameOf(out) + " is declared on every port, and cannot be without some of them";
        }
        left.insert(left.end(), rest->begin(), rest->end());
    }
    if (left.empty()) {
        page.erase(entry);
    } else {
        entry->second = std::move(left);
    }
    return std::nullopt;
}

bool DeclarationBook::has(const Declaration& declaration) const {
    for (const Page* page : {&configured_, &requested_}) {
        const auto entry = page->find(keyOf(declaration));
        if (entry != page->end() &&
            std::any_of(entry->second.begin(), entry->second.end(), [&](const Declaration& there) {
                return meet(there, declaration) && sameValue(there, declaration);
            })) {
            return true;
        }
    }
    return false;
}

void DeclarationBook::configIs(const Declarations& declarations) {
    configured_.clear();
    for (const Declaration& declaration : declarations) {
        configured_[keyOf(declaration)].push_back(declaration);
    }
    // What a request has replaced stays replaced. Where that cannot be said both count.
    for (const auto& [key, requests] : requested_) {
        for (const Declaration& requested : requests) {
            bool found = false;
            static_cast<void>(takeOut(configured_, requested, found));
        }
    }
}

std::optional<std::string> DeclarationBook::declare(const Declarations& declarations) {
    DeclarationBook changed = *this;
    for (const Declaration& declaration : declarations) {
        if (changed.has(declaration)) {
            return nameOf(declaration) + " is declared already";
        }
        for (Page* page : {&changed.configured_, &changed.requested_}) {
            bool found = false;
            if (auto obstacle = takeOut(*page, declaration, found)) {
                return obstacle;
            }
        }
        changed.requested_[keyOf(declaration)].push_back(declaration);
    }
    *this = std::move(changed);
    return std::nullopt;
}

std::optional<std::string> DeclarationBook::withdraw(const Declarations& declarations) {
    DeclarationBook changed = *this;
    for (const Declaration& declaration : declarations) {
        bool found = false;
        for (Page* page : {&changed.configured_, &changed.requested_}) {
            if (auto obstacle = takeOut(*page, declaration, found)) {
                return obstacle;
            }
        }
        if (!found) {
            return nameOf(declaration) + " is not declared";
        }
    }
    *this = std::move(changed);
    return std::nullopt;
}

Declarations DeclarationBook::all() const {
    Declarations all;
    for (const Page* page : {&requested_, &configured_}) {
        for (const auto& [key, declarations] : *page) {
            all.insert(all.end(), declarations.begin(), declarations.end());
        }
    }
    return all;
}

}  // namespace MrpAgent
