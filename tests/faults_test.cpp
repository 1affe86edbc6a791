// A hostile or failing line: the driver ends every call within its limits,
// and the log survives whatever happens around it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <random>
#include <set>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"
#include "tools/log.h"

using testing_device::Answer;
using testing_device::replyFrame;
using testing_device::Request;

namespace {

// A host program ignores SIGPIPE, as one that talks TCP must.
class IgnoreSigpipe : public ::testing::Environment {
  public:
    void SetUp() override { signal(SIGPIPE, SIG_IGN); }
};
const auto* const kIgnoreSigpipe = ::testing::AddGlobalTestEnvironment(new IgnoreSigpipe);

size_t count(const std::vector<std::string>& lines, const std::string& line) {
    return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
}

class Faults : public DriverTest {};

TEST_P(Faults, NakStormEndsAfterFiveSends) {
    device->onRequest([](const Request&) { return Answer{{"\x15\x15\x15", 0}}; });
    captureStdout([] { EXPECT_FALSE(VERDA::CheckConnection()); });
    EXPECT_EQ(g_ResultCode, 100001);
    EXPECT_EQ(device->requests().size(), 5u);
    auto lines = log();
    EXPECT_EQ(count(lines, "NACK"), 5u);
    EXPECT_EQ(count(lines, "REPEAT"), 4u);
}

TEST_P(Faults, LongSynFloodThenTheReply) {
    device->onRequest([](const Request& r) {
        Answer answer;
        for (int i = 0; i < 40; ++i) answer.push_back({std::string(50, '\x16'), 5});
        answer.push_back({replyFrame(r.seq, r.command, "0\t"), 5});
        return answer;
    });
    EXPECT_TRUE(VERDA::CheckConnection());
    EXPECT_EQ(device->requests().size(), 1u);
}

TEST_P(Faults, RandomNoiseWithoutPreambleBeforeEveryReply) {
    std::mt19937 random(7);
    device->onRequest([&random](const Request& r) {
        std::string noise(1 + random() % 200, '\0');
        for (char& c : noise) {
            do c = static_cast<char>(random());
            while (c == '\x01' || c == '\x15');
        }
        return Answer{{noise, 0}, {replyFrame(r.seq, r.command, "0\t"), 1}};
    });
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(VERDA::CheckConnection()) << i;
    EXPECT_EQ(device->requests().size(), 5u);
}

VERDA_BOTH_TRANSPORTS(Faults);

class SilentDevice : public DriverTest {};

TEST_P(SilentDevice, StopsAnsweringAndComesBack) {
    device->then([](const Request& r) { return testing_device::reply(r, "0\t"); });
    for (int i = 0; i < 5; ++i) device->then([](const Request&) { return Answer{}; });
    device->replyAlways("0\t");
    EXPECT_TRUE(VERDA::CheckConnection());
    captureStdout([] { EXPECT_FALSE(VERDA::CheckConnection()); });
    EXPECT_EQ(g_ResultCode, 100001);
    EXPECT_TRUE(VERDA::CheckConnection());
    EXPECT_EQ(device->requests().size(), 7u);
}

VERDA_TCP_ONLY(SilentDevice);

class LostLink : public DriverTest {};

TEST_P(LostLink, PeerThatHangsUpEndsTheCallWithFailure) {
    device->replyAlways("0\t");
    EXPECT_TRUE(VERDA::CheckConnection());
    device->hangUp();
    captureStdout([] { EXPECT_FALSE(VERDA::CheckConnection()); });
    EXPECT_EQ(g_ResultCode, 100001);
    EXPECT_EQ(log().back(), "CheckConnection(); ErrorCode: 100001");
}

VERDA_BOTH_TRANSPORTS(LostLink);

TEST(LogFaults, ReadOnlyHomeLeavesOnlyTheErrorLine) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind root";
    TempDir dir;
    ASSERT_EQ(chmod(dir.path().c_str(), 0500), 0);
    testing_device::ScriptedDevice device(testing_device::ScriptedDevice::Tcp);
    device.replyAlways("0\t");
    VERDA::Init();
    vr35->homeDir = dir.path();
    captureStdout([&] { VERDA::OpenSocket("127.0.0.1", device.port()); });
    std::string err = captureStderr([] { EXPECT_TRUE(VERDA::CheckConnection()); });
    const std::string line = "Error: Permission denied " + dir.path() + "CorteliaVERDA.log\n";
    EXPECT_EQ(err, line + line);
    VERDA::CloseSocket();
    VERDA::Done();
    vr35 = nullptr;
    chmod(dir.path().c_str(), 0700);
}

TEST(LogFaults, RotationWhileAnotherProcessAppendsSplitsNoLine) {
    TempDir dir;
    const std::string path = dir.path() + "CorteliaVERDA.log";
    {
        std::ofstream(path.c_str()).put('x');
        ASSERT_EQ(truncate(path.c_str(), 10485760 - 2000), 0);
    }
    const int kLines = 300;
    const pid_t child = fork();
    if (child == 0) {
        for (int i = 0; i < kLines; ++i) logrotate(path, "child " + std::to_string(i));
        _exit(0);
    }
    for (int i = 0; i < kLines; ++i) logrotate(path, "parent " + std::to_string(i));
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));

    // Without a lock the two may both rotate, and a second rename can replace
    // the older generation: lines may be lost, but none is split or doubled.
    std::multiset<std::string> seen;
    for (const std::string& file : {path + ".1", path}) {
        std::ifstream in(file.c_str(), std::ios::binary);
        std::string line;
        while (std::getline(in, line)) {
            if (line[0] == 'x') continue;  // the padding
            ASSERT_TRUE(line.size() > 27 && line[0] == '[' && line.substr(25, 2) == "] ") << line;
            const std::string text = line.substr(27);
            ASSERT_TRUE(text.rfind("parent ", 0) == 0 || text.rfind("child ", 0) == 0) << text;
            seen.insert(text);
        }
    }
    for (const auto& text : seen) EXPECT_EQ(seen.count(text), 1u) << text;
    EXPECT_GT(seen.size(), 0u);
    EXPECT_LT(GetFileSize(path), 10485760);  // a rotation took place
}

}  // namespace
