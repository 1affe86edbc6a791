// The golden session, tests/golden/shift.session: a whole shift recorded
// from the simulated register. The driver, making the same calls, sends
// exactly the recorded requests and hands back the recorded outputs and log
// lines; the register, sent the recorded requests, gives the recorded replies.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "support/Golden.h"
#include "support/Sim.h"

namespace {

std::vector<golden::Step> session() {
    const std::string source = __FILE__;
    std::string error;
    const auto steps =
        golden::read(source.substr(0, source.rfind('/')) + "/golden/shift.session", error);
    EXPECT_EQ(error, "");
    EXPECT_EQ(steps.size(), golden::shift().size());
    return steps;
}

class GoldenSession : public DriverTest {};

TEST_P(GoldenSession, DriverSendsTheRecordedRequestsAndHandsBackTheOutputs) {
    const std::vector<golden::Step> steps = session();
    const std::vector<golden::Call> calls = golden::shift();
    ASSERT_EQ(steps.size(), calls.size());
    auto replies = std::make_shared<std::vector<std::string>>();
    for (const golden::Step& step : steps)
        for (const auto& exchange : step.exchanges) replies->push_back(exchange.second);
    auto next = std::make_shared<std::atomic<size_t>>(0);
    device->onRequest([replies, next](const testing_device::Request&) {
        const size_t i = (*next)++;
        return i < replies->size() ? testing_device::Answer{{(*replies)[i], 0}}
                                   : testing_device::Answer{};
    });
    size_t sent = 0, logged = 0;
    for (size_t i = 0; i < calls.size(); ++i) {
        const golden::Step& step = steps[i];
        SCOPED_TRACE(testing::Message() << "call " << i + 1 << ", " << step.operation);
        ASSERT_EQ(calls[i].operation, step.operation);
        EXPECT_EQ(calls[i].run(), step.outputs);
        const auto requests = device->requests();
        std::vector<std::string> got, recorded;
        for (size_t r = sent; r < requests.size(); ++r) got.push_back(requests[r].raw);
        for (const auto& exchange : step.exchanges) recorded.push_back(exchange.first);
        EXPECT_EQ(got, recorded);
        sent = requests.size();
        const auto lines = log();
        EXPECT_EQ(std::vector<std::string>(lines.begin() + static_cast<long>(logged), lines.end()),
                  step.log);
        logged = lines.size();
    }
}

VERDA_BOTH_TRANSPORTS(GoldenSession);

TEST(GoldenSessionRegister, GivesTheRecordedReplies) {
    const std::vector<golden::Step> steps = session();
    RunningSimulator simulator(golden::registerOptions());
    ASSERT_TRUE(simulator.started());
    SimLine line(simulator.port());
    for (const golden::Step& step : steps)
        for (const auto& exchange : step.exchanges)
            EXPECT_EQ(line.talk(exchange.first), exchange.second) << step.operation;
}

}  // namespace
