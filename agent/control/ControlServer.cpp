#include "agent/control/ControlServer.h"

#include <sys/socket.h>

#include <array>
#include <utility>

#include "agent/control/ControlClient.h"
#include "agent/control/RequestError.h"

namespace MrpAgent {

using namespace Platform;
using Linux::FileDescriptor;

namespace {

constexpr int protocolVersion = 1;
constexpr int clientsATurn = 8;

}  // namespace

ControlServer::ControlServer(ControlNode& node, const LogMemory& log,
                             Linux::EpollActivityManager& activityManager, Parameters parameters)
    : node_(node),
      activityManager_(activityManager),
      parameters_(std::move(parameters)),
      ages_(activityManager.clock()),
      requests_({node, ages_, log, activityManager.clock(), parameters_.wallClock,
                 [this] { return status(); }, parameters_.version, parameters_.changeLimit}),
      turns_(activityManager) {}

ControlServer::~ControlServer() = default;

void ControlServer::listen() {
    const auto listenOn = [this](std::optional<Linux::UnixListener>& listener,
                                 const std::optional<std::string>& path, ControlAccess access) {
        if (path) {
            listener.emplace(*path, pathMode, activityManager_,
                             [this, &listener, access] { handleClients(*listener, access); });
        }
    };
    try {
        listenOn(readWrite_, parameters_.path, ControlAccess::readWrite);
        listenOn(readOnly_, parameters_.readOnlyPath, ControlAccess::readOnly);
    } catch (...) {
        readWrite_.reset();
        throw;
    }
    ages_.instancesAre(node_.instances());
}

Json ControlServer::status() const {
    return {{"clients", clients_.size()}, {"refused", refused_}, {"requests", asked_}};
}

Json ControlServer::greeting() const {
    return {{"mrpControl", protocolVersion},
            {"program", parameters_.program},
            {"version", parameters_.version}};
}

void ControlServer::handleClients(Linux::UnixListener& listener, ControlAccess access) {
    for (int i = 0; i < clientsATurn; ++i) {
        FileDescriptor socket = listener.accept();
        if (!socket) {
            return;
        }
        const std::size_t limit =
            access == ControlAccess::readWrite ? clientLimit : clientLimit - reservedClients;
        if (clients_.size() < limit) {
            clientIs(std::move(socket), access);
        } else {
            refuse(socket, limit);
        }
    }
}

void ControlServer::clientIs(FileDescriptor socket, ControlAccess access) {
    const auto client = std::make_shared<ControlClient>(
        std::move(socket), access,
        ControlClient::Parts{
            requests_, turns_, activityManager_, parameters_.patience, [this] { ++asked_; },
            [this](const std::shared_ptr<ControlClient>& ended) { clients_.erase(ended); }});
    Json hello = greeting();
    hello["access"] = access == ControlAccess::readWrite ? "readWrite" : "readOnly";
    client->start(hello);
    clients_.insert(client);
}

void ControlServer::refuse(const FileDescriptor& socket, std::size_t limit) {
    ++refused_;
    const Json end = {{"ok", false},
                      {"code", RequestError::busy},
                      {"text", "there are " + std::to_string(limit) + " clients already"}};
    const std::string line = jsonLine({{"mrpControl", protocolVersion}, {"end", end}}) + "\n";
    static_cast<void>(::send(socket.get(), line.data(), line.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
    std::array<char, 4096> unread;  // closed with octets unread, it would look like a failure
    static_cast<void>(::recv(socket.get(), unread.data(), unread.size(), MSG_DONTWAIT));
}

}  // namespace MrpAgent
