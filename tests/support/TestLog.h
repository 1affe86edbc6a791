#ifndef VERDA_TESTS_TEST_LOG_H
#define VERDA_TESTS_TEST_LOG_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/ScriptedDevice.h"

// A fresh temporary directory, removed with its contents at the end.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    const std::string& path() const { return path_; }  // with a trailing "/"

  private:
    std::string path_;
};

// The lines of a log file with their "[stamp] " prefix removed.
std::vector<std::string> logLines(const std::string& file);

// Standard output or standard error captured around a piece of code.
std::string captureStdout(const std::function<void()>& run);
std::string captureStderr(const std::function<void()>& run);

// The data of a request or a reply: each field followed by a tab.
std::string tabbed(const std::vector<std::string>& fields);

// A request as a test states it: command number and data bytes.
using Sent = std::pair<unsigned int, std::string>;

// A driver set up as a client sets it up (VERDA::Init and an open transport)
// against a scripted device, with its log in a temporary directory.
class DriverTest : public ::testing::TestWithParam<testing_device::ScriptedDevice::Kind> {
  protected:
    void SetUp() override;
    void TearDown() override;

    // The log lines written so far.
    std::vector<std::string> log() const;
    // The requests received so far, as command and data, and the last one.
    std::vector<Sent> sent();
    Sent lastSent() { return sent().back(); }

    std::unique_ptr<testing_device::ScriptedDevice> device;
    TempDir home;
};

// Runs a DriverTest suite over both transports.
#define VERDA_BOTH_TRANSPORTS(Suite)                                                     \
    INSTANTIATE_TEST_SUITE_P(                                                            \
        Transports, Suite,                                                               \
        ::testing::Values(testing_device::ScriptedDevice::Tcp,                           \
                          testing_device::ScriptedDevice::Pty),                          \
        [](const ::testing::TestParamInfo<testing_device::ScriptedDevice::Kind>& info) { \
            return info.param == testing_device::ScriptedDevice::Tcp ? "Tcp" : "Pty";    \
        })

// Only over TCP: for tests that wait out timeouts, which are 10 times longer
// per unit on a serial line.
#define VERDA_TCP_ONLY(Suite)                                                       \
    INSTANTIATE_TEST_SUITE_P(                                                       \
        Tcp, Suite, ::testing::Values(testing_device::ScriptedDevice::Tcp),         \
        [](const ::testing::TestParamInfo<testing_device::ScriptedDevice::Kind>&) { \
            return std::string("Tcp");                                              \
        })

#endif
