#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include "agent/service/ServiceLog.h"
#include "agent/service/ServiceManager.h"
#include "platform/linux/UnixAddress.h"
#include "platform/virtual/VirtualActivityManager.h"

namespace MrpAgent {
namespace {

using namespace Platform;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;

// Listens where the service manager ('@' and an abstract name) or the journal (a path) would.
class SocketStandIn {
  public:
    explicit SocketStandIn(const std::string& prefix) : name(prefix + std::to_string(::getpid())) {
        sockaddr_un address{};
        Linux::unixAddressOf(name, address);
        ::unlink(name.c_str());
        if (name.front() == '@') {
            address.sun_path[0] = '\0';
        }
        Linux::checked(
            ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address),
                   static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size())),
            name);
    }
    ~SocketStandIn() { ::unlink(name.c_str()); }

    // What waits, but for what fill() left there.
    std::vector<std::string> taken(int most = 1000) const {
        std::vector<std::string> datagrams;
        std::string block(300000, '\0');
        for (ssize_t octets = 0; most > 0 && octets >= 0; --most) {
            octets = ::recv(socket_.get(), block.data(), block.size(), MSG_DONTWAIT);
            if (octets > 0) {
                datagrams.push_back(block.substr(0, static_cast<std::size_t>(octets)));
            }
        }
        return datagrams;
    }
    // Takes no more until taken() has made room.
    void fill() const {
        for (DatagramSender sender(name); sender.send("") == DatagramSender::Sent::yes;) {
        }
    }

    const std::string name;

  private:
    Linux::FileDescriptor socket_{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
};

class Service : public testing::Test {
  public:
    SocketStandIn system{"@mrp-service-"};
    SocketStandIn journal{testing::TempDir() + "mrp-journal-"};
    Virtual::VirtualActivityManager loop;
    ServiceEnvironment environment;
};

TEST_F(Service, environmentIsThatOfThisProcessOnly) {
    struct stat file {};
    ASSERT_EQ(::fstat(STDERR_FILENO, &file), 0);
    const std::string stream = std::to_string(file.st_dev) + ":" + std::to_string(file.st_ino);
    const auto read = [](const std::string& usec, int pid, const std::string& journalStream) {
        ::setenv("WATCHDOG_USEC", usec.c_str(), 1);
        ::setenv("WATCHDOG_PID", std::to_string(pid).c_str(), 1);
        ::setenv("JOURNAL_STREAM", journalStream.c_str(), 1);
        return ServiceEnvironment::ofProcess();
    };
    EXPECT_TRUE(read("", 1, stream).journal);
    EXPECT_FALSE(read("", 1, stream + "0").journal);
    EXPECT_EQ(read("1500000", ::getpid(), "").watchdog, 1.5);
    EXPECT_EQ(read("1500000", 1, "").watchdog, std::nullopt);
    for (const char* nonsense : {"", "0", "30s", "-1"}) {
        EXPECT_EQ(read(nonsense, ::getpid(), "").watchdog, std::nullopt) << nonsense;
    }
}

TEST_F(Service, managerHearsStatesAndThatTheLoopRuns) {
    environment.notifySocket = system.name;
    environment.watchdog = 30;
    ServiceManager manager(loop, environment);
    EXPECT_THAT(system.taken(), ElementsAre("WATCHDOG=1\n"));
    loop.runUntil(9.9);
    manager.ready();
    manager.statusIs("standby,\nin step");
    manager.reloading();
    manager.stopping();
    EXPECT_THAT(system.taken(),
                ElementsAre("READY=1\n", "STATUS=standby, in step\n",
                            MatchesRegex("RELOADING=1\nMONOTONIC_USEC=[1-9][0-9]+\n"),
                            "STOPPING=1\n"));
    loop.runUntil(30.5);
    EXPECT_THAT(system.taken(), SizeIs(3));
}

TEST_F(Service, managerThatIsBusyHearsTheNewestOfEachKind) {
    environment.notifySocket = system.name;
    ServiceManager manager(loop, environment);
    system.fill();
    manager.reloading();
    manager.statusIs("old");
    manager.ready();
    manager.statusIs("new");
    system.taken();
    loop.runUntil(60);
    EXPECT_THAT(system.taken(), ElementsAre("READY=1\nSTATUS=new\n"));
    manager.statusIs(std::string(1000000, 'x'));
    manager.stopping();
    EXPECT_THAT(system.taken(), ElementsAre("STOPPING=1\n"));

    environment.notifySocket = "";
    ServiceManager nobody(loop, environment);
    nobody.ready();
    EXPECT_EQ(loop.clock().nextExpiry(), never);
}

TEST_F(Service, logGoesToTheJournalWithItsFieldsElseToStandardError) {
    LogHandle handle("TEST_LOG", 5, "explained", noActionRequired, "%s", 0, 0);
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    environment.standardError = ends[1];
    ServiceLog(loop, environment).tell("running");
    ServiceLog(loop, environment).handleLog(handle, "joined");
    std::string text(100, ' ');
    text.resize(static_cast<std::size_t>(::read(ends[0], text.data(), text.size())));
    EXPECT_EQ(text, "mrp-agent: running\n%TEST_LOG-5: joined\n");
    ::close(ends[0]);
    ::close(ends[1]);

    environment.journal = true;
    environment.journalSocket = journal.name;
    ServiceLog log(loop, environment);
    log.tell("one\ntwo", 3);
    log.handleLog(handle, "joined");
    using namespace std::string_literals;
    EXPECT_THAT(journal.taken(),
                ElementsAre("PRIORITY=3\nSYSLOG_IDENTIFIER=mrp-agent\n"
                            "MESSAGE\n\7\0\0\0\0\0\0\0one\ntwo\n"s,
                            "PRIORITY=5\nSYSLOG_IDENTIFIER=mrp-agent\nMRP_LOG=TEST_LOG\n"
                            "MESSAGE=%TEST_LOG-5: joined\n"));
}

TEST_F(Service, journalThatIsFullLosesNothingUntilTooMuchWaits) {
    JournalLog log(journal.name, "x", loop);
    journal.fill();
    std::size_t kept = 0;
    for (const std::string text(100000, 'x'); log.pending() <= JournalLog::limit; ++kept) {
        log.entryIs(6, text);
    }
    log.entryIs(6, "lost");
    log.entryIs(6, "lost too");
    std::vector<std::string> entries;
    for (int turn = 1; turn < 1000; ++turn) {
        std::ranges::move(journal.taken(3), std::back_inserter(entries));
        loop.runUntil(0.01 * turn);
    }
    ASSERT_EQ(entries.size(), kept + 1);
    EXPECT_THAT(entries.front(), HasSubstr("=x\nMESSAGE=x"));
    EXPECT_THAT(entries.back(), HasSubstr("PRIORITY=4\n"));
    EXPECT_THAT(entries.back(), HasSubstr("MESSAGE=2 messages were lost"));
    EXPECT_EQ(log.pending(), 0U);
    EXPECT_EQ(loop.clock().nextExpiry(), never);

    log.entryIs(6, std::string(1000000, 'x'));  // no datagram holds it
    log.entryIs(6, "small");
    EXPECT_THAT(journal.taken(),
                ElementsAre(HasSubstr("MESSAGE=1 messages were lost"), HasSubstr("MESSAGE=small")));
}

}  // namespace
}  // namespace MrpAgent
