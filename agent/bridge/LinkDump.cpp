#include "agent/bridge/LinkDump.h"

#include <sys/socket.h>

#include <system_error>

#include "agent/bridge/LinkMessage.h"

namespace MrpAgent {

namespace {

constexpr Platform::Seconds answerLimit = 5;  // the kernel answers at once, but for its own locks
constexpr int attempts = 100;                 // of readings that are disturbed

}  // namespace

void LinkDump::begin() {
    table_.clear();
    disturbed_ = false;
    family_ = AF_UNSPEC;
    socket_.sendLinkDump(family_);
}

RouteSocket::Answer LinkDump::advance() {
    using Answer = RouteSocket::Answer;
    while (true) {
        const Answer answer =
            socket_.receive([this](const nlmsghdr& message) { linkMessageIs(message, table_); });
        if (answer == Answer::incomplete) {
            return answer;
        }
        disturbed_ |= answer == Answer::disturbed;
        if (family_ == AF_BRIDGE) {
            return disturbed_ ? Answer::disturbed : Answer::complete;
        }
        family_ = AF_BRIDGE;
        socket_.sendLinkDump(family_);
    }
}

void LinkDump::readNow() {
    for (int i = 0; i < attempts; ++i) {
        begin();
        RouteSocket::Answer answer = advance();
        while (answer == RouteSocket::Answer::incomplete) {
            if (!socket_.wait(answerLimit)) {
                throw std::system_error(ETIMEDOUT, std::generic_category(),
                                        "reading the kernel's interfaces");
            }
            answer = advance();
        }
        if (answer == RouteSocket::Answer::complete) {
            return;
        }
    }
    throw std::system_error(EAGAIN, std::generic_category(),
                            "the kernel's interfaces change all the time");
}

}  // namespace MrpAgent
