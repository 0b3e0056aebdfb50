#pragma once

#include <CLI/CLI.hpp>

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "agent/mrpctl/Command.h"

namespace MrpCtl {

// Options that several commands have. They write into a request, which the command's callback then
// takes: the member of a list holds texts, also when there is one only.

// The request, or the declaration in it, that the options of a command fill.
using Request = std::shared_ptr<Json>;
Request requestOf(const char* name);

// What a text must be, for users: an empty text when it is right.
std::string vlanError(const std::string& text);  // "10" or "10-20"
std::string streamIdError(const std::string& text);
std::string macError(const std::string& text);

// A list of texts: the option may be repeated, and lists have commas.
CLI::Option* addList(CLI::App& app, const std::string& option, const std::string& help,
                     const Request& request, const char* member);

// Those filters of the control socket: "application", "port", "vlan", "stream", "type", "state".
void addFilters(CLI::App& app, const Request& request,
                std::initializer_list<std::string_view> filters);

// "--limit".
void addLimit(CLI::App& app, const Request& request, const std::string& help);

}  // namespace MrpCtl
