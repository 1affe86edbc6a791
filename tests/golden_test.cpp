// The golden sessions, tests/golden/NAME.session: runs of the exported
// functions recorded from the simulated register, one for each area. The
// driver, making the same calls, sends exactly the recorded requests and
// hands back the recorded outputs and log lines; the register, sent the
// recorded requests, gives the recorded replies.
#include <dirent.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <set>

#include "support/Golden.h"
#include "support/Sim.h"

namespace {

std::string folder() {
    const std::string source = __FILE__;
    return source.substr(0, source.rfind('/')) + "/golden/";
}

std::vector<golden::Step> recorded(const golden::Session& session) {
    std::string error;
    const auto steps = golden::read(folder() + session.name + ".session", error);
    EXPECT_EQ(error, "");
    EXPECT_EQ(steps.size(), session.calls.size());
    return steps;
}

class GoldenSession : public DriverTest {
  protected:
    // The session's calls against the driver, the scripted device answering
    // with the recorded replies in turn.
    void replay(const golden::Session& session) {
        const std::vector<golden::Step> steps = recorded(session);
        ASSERT_EQ(steps.size(), session.calls.size());
        auto replies = std::make_shared<std::vector<std::string>>();
        for (const golden::Step& step : steps)
            for (const auto& exchange : step.exchanges) replies->push_back(exchange.second);
        auto next = std::make_shared<std::atomic<size_t>>(0);
        device->onRequest([replies, next](const testing_device::Request&) {
            const size_t i = (*next)++;
            return i < replies->size() ? testing_device::Answer{{(*replies)[i], 0}}
                                       : testing_device::Answer{};
        });
        size_t sent = 0, logged = log().size();
        for (size_t i = 0; i < session.calls.size(); ++i) {
            const golden::Step& step = steps[i];
            SCOPED_TRACE(testing::Message() << "call " << i + 1 << ", " << step.operation);
            ASSERT_EQ(session.calls[i].operation, step.operation);
            EXPECT_EQ(session.calls[i].run(), step.outputs);
            const auto requests = device->requests();
            std::vector<std::string> got, wanted;
            for (size_t r = sent; r < requests.size(); ++r) got.push_back(requests[r].raw);
            for (const auto& exchange : step.exchanges) wanted.push_back(exchange.first);
            EXPECT_EQ(got, wanted);
            sent = requests.size();
            const auto lines = log();
            EXPECT_EQ(
                std::vector<std::string>(lines.begin() + static_cast<long>(logged), lines.end()),
                step.log);
            logged = lines.size();
        }
    }
};

TEST_P(GoldenSession, DriverSendsTheRecordedRequestsAndHandsBackTheOutputs) {
    bool first = true;
    for (const golden::Session& session : golden::sessions()) {
        SCOPED_TRACE("session " + session.name);
        // Each session was recorded from a fresh driver: sequence numbers,
        // model and firmware start anew.
        if (!first) {
            TearDown();
            SetUp();
        }
        first = false;
        replay(session);
    }
}

VERDA_BOTH_TRANSPORTS(GoldenSession);

TEST(GoldenSessionRegister, GivesTheRecordedReplies) {
    for (const golden::Session& session : golden::sessions()) {
        SCOPED_TRACE("session " + session.name);
        const std::vector<golden::Step> steps = recorded(session);
        RunningSimulator simulator(golden::registerOptions(session));
        ASSERT_TRUE(simulator.started());
        SimLine line(simulator.port());
        for (const golden::Step& step : steps)
            for (const auto& exchange : step.exchanges)
                EXPECT_EQ(line.talk(exchange.first), exchange.second) << step.operation;
    }
}

// A session file that no session writes any more would be replayed by
// nothing: each file is a session's and each session has its file.
TEST(GoldenSessionFiles, AreTheSessions) {
    std::set<std::string> files, names;
    DIR* dir = opendir(folder().c_str());
    ASSERT_NE(dir, nullptr);
    const std::string suffix = ".session";
    // readdir64: the 32-bit build's readdir gives up on 64-bit inode numbers.
    while (const dirent64* entry = readdir64(dir)) {
        const std::string name = entry->d_name;
        if (name.size() > suffix.size() &&
            name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
            files.insert(name.substr(0, name.size() - suffix.size()));
    }
    closedir(dir);
    for (const golden::Session& session : golden::sessions()) names.insert(session.name);
    EXPECT_EQ(files, names);
}

}  // namespace
