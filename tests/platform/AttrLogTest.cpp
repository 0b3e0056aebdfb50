#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <array>
#include <ctime>
#include <new>

#include "mrp/MrpSm/database/MrpAttrLogSm.h"
#include "platform/linux/UnixAddress.h"
#include "platform/linux/UnixAttrLog.h"
#include "platform/linux/UnixLineReader.h"

namespace Platform::Linux {
namespace {

using Lines = std::vector<std::string>;

struct Content final : AttrLogContent {
    void readerStarts(AttrLogReader& newReader) override {
        reader = &newReader;
        told.clear();
        stateTold = 0;
    }
    void readerEnds() override { reader = nullptr; }
    bool stateLines(std::string& lines, std::size_t octets) override {
        while (lines.size() < octets && stateTold < stateLineCount) {
            lines += stateTold++ == fault ? throw std::bad_alloc() : next();
        }
        return stateTold < stateLineCount;
    }
    std::size_t stateSize() const override { return 0; }
    std::string refusal() const override { return "another reader\n"; }
    void change() { reader->linesIs(next()); }
    std::string next() {
        return told.emplace_back(std::to_string(told.size()) + std::string(padding, '.')) + "\n";
    }

    AttrLogReader* reader = nullptr;
    Lines told;  // to this reader, in order
    std::size_t stateTold = 0, stateLineCount = 3, padding = 100, fault = SIZE_MAX;
};

struct Client {
    int connectTo(const std::string& path) {
        lines.clear();
        return reader.connectTo(path);
    }
    void take(std::string_view line) {
        if (lines.emplace_back(line) == "enough") {
            reader.close();
        }
    }
    EpollActivityManager& manager;
    Lines lines = {};
    std::string why = {};
    UnixLineReader reader{manager, [this](std::string_view line) { take(line); },
                          [this](const UnixLineReader::Ending& ending) { why = ending.why; }};
};

const char* const clean = "the other side closed the connection";

TEST(EpollActivityManager, tellsNobodyThatADescriptorWhichIsGoneIsWritable) {
    EpollActivityManager manager;
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    const FileDescriptor near(ends[0]), far(ends[1]);
    std::string log;
    manager.descriptorIs(near.get(), [&] {
        log += "readable ";
        manager.descriptorDel(near.get());
    });
    manager.writableIs(near.get(), [&] { log += "writable "; });
    manager.runFor(0);
    ASSERT_EQ(::send(far.get(), "x", 1, 0), 1);
    manager.runFor(0);
    EXPECT_EQ(log, "writable readable ");
}

class AttrLog : public testing::Test {
  protected:
    void TearDown() override {
        ::unlink(path.c_str());
        ::unlink((path + ".lock").c_str());
    }
    Ptr<UnixAttrLog> newLog() {
        auto log = makePtr<UnixAttrLog>("log", path, content, manager);
        log->listen();
        return log;
    }
    FileDescriptor socketAt(decltype(::connect) attach) const {
        FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
        sockaddr_un address{};
        EXPECT_EQ(unixAddressOf(path, address), 0);
        EXPECT_EQ(attach(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        return socket;
    }
    template <class Condition>
    testing::AssertionResult soon(Condition condition) {
        const Seconds end = manager.clock().now() + 5;
        while (!condition() && manager.clock().now() < end) {
            manager.runFor(0);
            client.reader.readArrived();
        }
        return testing::AssertionResult(condition());
    }

    const std::string path = testing::TempDir() + "attrlog-" + std::to_string(::getpid());
    EpollActivityManager manager, standstill;
    Content content;
    Client client{standstill};  // reads only in soon()
};

TEST_F(AttrLog, tellsTheStateAsItIsTakenAndChangesInOrder) {
    content.stateLineCount = 8000;
    Ptr<UnixAttrLog> log = newLog();
    ASSERT_EQ(client.connectTo(path), 0);
    manager.runFor(0.01);
    EXPECT_LT(content.stateTold, 5000U) << "the rest waits where it is, not in the log";
    ASSERT_TRUE(soon([&] {
        content.change();
        EXPECT_LT(log->waiting(), 80000U);
        return client.lines.size() > 8000;
    }));
    ASSERT_TRUE(soon([&] { return client.lines == content.told; }));
    while (log->waiting() < 100000) {
        content.change();
    }
    log = nullptr;
    EXPECT_EQ(content.reader, nullptr);
    ASSERT_TRUE(soon([&] { return !client.reader.connected(); }));
    EXPECT_EQ(client.why, clean);
}

TEST_F(AttrLog, neverWaitsForASlowReaderAndNeverCutsALine) {
    const Ptr<UnixAttrLog> log = newLog();
    int buffer = 0;
    const Reactor shrink = log->fdChanged().react(
        [&] { ::setsockopt(log->fd(), SOL_SOCKET, SO_SNDBUF, &buffer, sizeof(buffer)); });
    Mrp::MrpAttrLogSm watch(log);
    content.padding = 10000;
    for (const int octets : {100000, 1}) {  // a small one takes lines in part
        buffer = octets;
        ASSERT_EQ(client.connectTo(path), 0);
        ASSERT_TRUE(soon([&] { return content.reader != nullptr; }));
        for (int i = 0; i < 100; ++i) {
            content.change();
        }
        manager.runFor(0);
        EXPECT_TRUE(watch.isAttrLogOutClogged());
        client.reader.readArrived();
        for (int i = 0; i < 50 && !watch.isAttrLogOutClogged(); ++i) {
            content.change();  // what waits takes the room before the watch sees any
        }
        EXPECT_TRUE(watch.isAttrLogOutClogged());
        ASSERT_TRUE(soon([&] { return client.lines.size() == content.told.size(); }));
        EXPECT_FALSE(watch.isAttrLogOutClogged());

        const UnixAttrLog::Counters before = log->counters();
        while (log->counters().dropped == before.dropped) {
            content.change();
            ASSERT_LE(log->waiting(), UnixAttrLog::queueLimit);
        }
        ASSERT_NE(content.reader, nullptr) << "nobody is called back from linesIs";
        content.told.resize(content.told.size() + before.droppedLines -
                            log->counters().droppedLines);
        const Lines kept = content.told;
        content.change();
        manager.runFor(0);
        EXPECT_FALSE(watch.isAttrLogOutClogged());
        EXPECT_FALSE(log->connected());
        EXPECT_EQ(content.reader, nullptr);
        ASSERT_TRUE(soon([&] { return !client.reader.connected(); }));
        EXPECT_EQ(client.why, clean);
        EXPECT_EQ(client.lines, kept);
    }
}

TEST_F(AttrLog, hasOneReaderAndHearsNothing) {
    const Ptr<UnixAttrLog> log = newLog();
    Client second{manager};
    content.fault = 1;
    ASSERT_EQ(client.connectTo(path), 0);
    ASSERT_TRUE(soon([&] { return client.why == clean; }));
    content.fault = SIZE_MAX;
    FileDescriptor loud = socketAt(::connect);
    const std::string garbage(100000, 'x');
    EXPECT_GT(::send(loud.get(), garbage.data(), garbage.size(), MSG_DONTWAIT), 0);
    manager.runFor(0.01);
    ::shutdown(loud.get(), SHUT_WR);  // it sends no more; it still reads
    manager.runFor(0.01);
    ASSERT_TRUE(soon([&] { return content.reader != nullptr; }));
    ASSERT_EQ(second.connectTo(path), 0);
    ASSERT_TRUE(soon([&] { return second.why == clean; }));
    EXPECT_EQ(second.lines, Lines{"another reader"});
    EXPECT_TRUE(log->connected());
    const std::clock_t before = std::clock();
    manager.runFor(0.05);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 50) << "the loop spins";
    ASSERT_EQ(client.connectTo(path), 0);
    loud.reset();
    ASSERT_TRUE(soon([&] { return client.lines.size() == content.stateLineCount; }));
    EXPECT_EQ(log->counters().refused, 1U);
}

TEST_F(AttrLog, triesAgainWhenThereIsNoDescriptorForAClient) {
    const Ptr<UnixAttrLog> log = newLog();
    {
        // The undefined-behaviour sanitizer needs descriptors for what it sees the first time.
        const FileDescriptor first = socketAt(::connect);
        ASSERT_TRUE(soon([&] { return log->connected(); }));
    }
    ASSERT_TRUE(soon([&] { return !log->connected(); }));
    ASSERT_EQ(client.connectTo(path), 0);
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
    manager.runFor(0);
    ::setrlimit(RLIMIT_NOFILE, &before);
    manager.runFor(0.05);
    EXPECT_FALSE(log->connected()) << "asked so soon, the system is asked all the time";
    EXPECT_TRUE(soon([&] { return log->connected(); }));
}

TEST_F(AttrLog, replacesNothingButWhatIsLeftBehind) {
    struct stat file {};
    socketAt(::bind).reset();
    for (const mode_t mask : {0U, 0777U}) {
        const mode_t before = ::umask(mask);
        const Ptr<UnixAttrLog> log = newLog();
        EXPECT_EQ(::umask(before), mask);
        EXPECT_EQ(::lstat(path.c_str(), &file), 0);
        EXPECT_EQ(file.st_mode, S_IFSOCK | 0660U);
        EXPECT_THROW(newLog(), std::system_error);
    }
    EXPECT_LT(::lstat(path.c_str(), &file), 0);
    Ptr<UnixAttrLog> log = newLog();
    ::unlink(path.c_str());
    EXPECT_THROW(newLog(), std::system_error);  // the path is taken, whoever removes the file
    ASSERT_EQ(::mknod(path.c_str(), S_IFREG | 0600, 0), 0);
    log = nullptr;
    try {
        newLog();
        ADD_FAILURE();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.what(), path + ": there is a file that is no socket: File exists");
    }
    EXPECT_EQ(::lstat(path.c_str(), &file), 0);
}

TEST_F(AttrLog, aReaderTellsHowItsConnectionEnds) {
    const FileDescriptor listener = socketAt(::bind);
    ::listen(listener.get(), 1);
    const auto endOf = [&](const std::string& stream) {
        EXPECT_EQ(client.connectTo(path), 0);
        const FileDescriptor peer(::accept(listener.get(), nullptr, nullptr));
        EXPECT_EQ(::send(peer.get(), stream.data(), stream.size(), 0), stream.size());
        ::shutdown(peer.get(), SHUT_WR);
        EXPECT_TRUE(soon([&] { return !client.reader.connected(); }));
        return client.why;
    };
    const std::string longest(UnixLineReader::lineLimit, 'x');
    EXPECT_EQ(endOf("\n" + longest + "\nlast\n"), clean);
    EXPECT_EQ(client.lines, (Lines{"", longest, "last"}));
    EXPECT_EQ(endOf("whole\nhalf"), "the connection ended in the middle of a line");
    for (const char* rest : {"x\nmore\n", "x"}) {
        EXPECT_EQ(endOf("whole\n" + longest + rest), "a line of more than 65536 octets");
        EXPECT_EQ(client.lines, Lines{"whole"});
    }
    client.why = "nobody told";
    EXPECT_EQ(endOf("enough\nmore\n"), "nobody told");
    EXPECT_EQ(client.lines, Lines{"enough"});
    EXPECT_EQ(client.connectTo(path + longest), ENAMETOOLONG);
}

}  // namespace
}  // namespace Platform::Linux
