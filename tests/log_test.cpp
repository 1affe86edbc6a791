// The rotating log file.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <fstream>
#include <set>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"
#include "tools/log.h"

namespace {

std::string readAll(const std::string& path) {
    std::ifstream in(path.c_str(), std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void makeFileOfSize(const std::string& path, off_t size) {
    std::ofstream(path.c_str()).put('x');
    ASSERT_EQ(truncate(path.c_str(), size), 0);
}

TEST(Log, LinesAreStampedWithLocalTime) {
    TempDir dir;
    const std::string path = dir.path() + "CorteliaVERDA.log";
    EXPECT_EQ(GetFileSize(path), -1);
    logrotate(path, "Start CheckConnection();");
    logrotate(path, "");
    logrotate(path, "two\nlines");
    const std::string text = readAll(path);
    // "[Thu Nov 12 22:33:38 2026] " before each line: asctime's 24 characters.
    time_t now = time(nullptr);
    const std::string year = std::to_string(localtime(&now)->tm_year + 1900);
    const std::vector<std::string> lines = {"Start CheckConnection();", "", "two\nlines"};
    size_t at = 0;
    for (const auto& line : lines) {
        ASSERT_LT(at + 27, text.size());
        EXPECT_EQ(text[at], '[');
        EXPECT_EQ(text.substr(at + 4, 1) + text.substr(at + 8, 1), "  ");
        EXPECT_EQ(text.substr(at + 14, 1) + text.substr(at + 17, 1), "::");
        EXPECT_EQ(text.substr(at + 21, 4), year);
        EXPECT_EQ(text.substr(at + 25, 2), "] ");
        EXPECT_EQ(text.substr(at + 27, line.size() + 1), line + "\n");
        at += 27 + line.size() + 1;
    }
    EXPECT_EQ(at, text.size());
    EXPECT_EQ(GetFileSize(path), static_cast<int>(text.size()));
}

TEST(Log, RotatesAboveTenMebibytesToOneOlderGeneration) {
    TempDir dir;
    const std::string path = dir.path() + "CorteliaVERDA.log";
    makeFileOfSize(path, 10485760);  // exactly the limit: kept
    logrotate(path, "kept");
    EXPECT_EQ(GetFileSize(path), 10485760 + 27 + 5);
    EXPECT_EQ(GetFileSize(path + ".1"), -1);

    std::ofstream(path + ".1") << "former generation";
    logrotate(path, "rotated");  // now above the limit
    EXPECT_EQ(GetFileSize(path + ".1"), 10485760 + 27 + 5);
    EXPECT_EQ(logLines(path), std::vector<std::string>{"rotated"});
}

TEST(Log, RotationWhileAnotherProcessAppendsSplitsNoLine) {
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

TEST(Log, DriverOperationsCarryOnWhenTheLogFails) {
    testing_device::ScriptedDevice device(testing_device::ScriptedDevice::Tcp);
    device.replyAlways("0\t");
    VERDA::Init();
    vr35->homeDir = "/nonexistent-verda-dir/";
    VERDA::setTimeOut(30);
    captureStdout([&] { ASSERT_TRUE(VERDA::OpenSocket("127.0.0.1", device.port())); });
    std::string err = captureStderr([] { EXPECT_TRUE(VERDA::CheckConnection()); });
    const std::string line =
        "Error: No such file or directory /nonexistent-verda-dir/CorteliaVERDA.log\n";
    EXPECT_EQ(err, line + line);  // one per logged line
    VERDA::CloseSocket();
    VERDA::Done();
    vr35 = nullptr;
}

TEST(Log, InitTakesTheHomeOfTheRealUserAndEnablesTheLog) {
    VERDA::Init();
    ASSERT_FALSE(vr35->homeDir.empty());
    EXPECT_EQ(vr35->homeDir.back(), '/');
    EXPECT_TRUE(vr35->logEnabled);
    VERDA::Done();
    vr35 = nullptr;
    VR35 plain;  // a driver made directly does not log
    EXPECT_FALSE(plain.logEnabled);
}

}  // namespace
