#include "agent/service/JournalLog.h"

#include <utility>

namespace MrpAgent {

using namespace Platform;

namespace {

constexpr Seconds retryAfter = 0.01;
constexpr int warning = 4;

// A value with a newline stands behind its length, 64 bits with the lowest octet first.
void addField(std::string& entry, std::string_view name, std::string_view value) {
    entry += name;
    if (value.find('\n') == std::string_view::npos) {
        entry += '=';
    } else {
        constexpr unsigned octetBits = 8;
        constexpr unsigned lengthBits = 64;
        entry += '\n';
        for (unsigned shift = 0; shift < lengthBits; shift += octetBits) {
            entry += static_cast<char>(std::uint64_t{value.size()} >> shift & 0xffU);
        }
    }
    entry += value;
    entry += '\n';
}

}  // namespace

JournalLog::JournalLog(std::string socket, std::string_view identifier,
                       ActivityManager& activityManager)
    : sender_(std::move(socket)),
      identifier_(identifier),
      retry_(activityManager.clock(), [this] { flush(); }) {}

std::string JournalLog::entryOf(int severity, std::string_view message,
                                std::string_view logName) const {
    std::string entry;
    addField(entry, "PRIORITY", std::to_string(severity));
    addField(entry, "SYSLOG_IDENTIFIER", identifier_);
    if (!logName.empty()) {
        addField(entry, "MRP_LOG", logName);
    }
    addField(entry, "MESSAGE", message);
    return entry;
}

void JournalLog::entryIs(int severity, std::string_view message, std::string_view logName) {
    if (pending_ > limit) {
        ++lost_;
        return;
    }
    waiting_.push_back(entryOf(severity, message, logName));
    pending_ += waiting_.back().size();
    // What waits already has been tried this turn; a full journal is not asked again for each
    // entry.
    if (waiting_.size() == 1) {
        flush();
    }
}

void JournalLog::flush() {
    sendWaiting();
    if (waiting_.empty() && lost_ != lostTold_) {
        tellLost();
    }
    const bool done = waiting_.empty() && lost_ == lostTold_;
    retry_.expiryIs(done ? never : retry_.clock().now() + retryAfter);
}

void JournalLog::sendWaiting() {
    while (!waiting_.empty()) {
        const DatagramSender::Sent sent = sender_.send(waiting_.front());
        if (sent == DatagramSender::Sent::later) {
            return;
        }
        if (sent == DatagramSender::Sent::tooLong) {
            ++lost_;
        }
        pending_ -= waiting_.front().size();
        waiting_.pop_front();
    }
}

void JournalLog::tellLost() {
    const std::string text =
        std::to_string(lost_ - lostTold_) + " messages were lost: the journal did not take them";
    if (sender_.send(entryOf(warning, text, {})) == DatagramSender::Sent::yes) {
        lostTold_ = lost_;
    }
}

}  // namespace MrpAgent
