// The simulator's state file and command line.
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include <gtest/gtest.h>

#include "support/SimRegister.h"

namespace {

using Fields = std::vector<std::string>;

class SimState : public SimTest {
    void configure(sim::Options& o) override { o.stateFile = home.path() + "register.state"; }
};

// The state is written after each command, so a simulator stopped in the
// middle of a receipt resumes it.
TEST_P(SimState, StoppedRegisterResumesWhereItStood) {
    ok(0x30, request({"1", "1", "1", "4", "", "", ""}));
    ok(0x30, request({"1", "1", "1", "0", "", "", ""}));
    ok(0x31, request({"Tea", "A", "10.00", "1.000", "0", "0.00", "1", "", "", "", "", ""}));
    ok(0xFF, request({"Dept_name", "2", cp866("Бакалея")}));
    disconnect();
    stopSimulator();
    EXPECT_EQ(access(options.stateFile.c_str(), F_OK), 0);
    EXPECT_NE(access((options.stateFile + ".tmp").c_str(), F_OK), 0);

    startSimulator(options);
    connect();
    EXPECT_EQ(ok(0x4C, ""), (Fields{"1", "1", "1", "10.00", "0.00"}));
    EXPECT_EQ(ok(0xFF, "Dept_name\t2\t\t"), Fields{cp866("Бакалея")});
    ok(0x35, "0\t10.00\t");
    const Fields closed = ok(0x38, "");
    ASSERT_EQ(closed.size(), 5u);
    EXPECT_EQ(closed[0], "1");
    EXPECT_EQ(closed[1], "2");
}

// Only a change is written: each write is a new file renamed into place, so
// a command that changes nothing leaves the same file.
TEST_P(SimState, ReadsDoNotRewriteTheFile) {
    ok(0x30, request({"1", "1", "1", "4", "", "", ""}));
    ok(0x2D, "");  // the data operator takes the shift's opening
    struct stat before, after;
    ASSERT_EQ(stat(options.stateFile.c_str(), &before), 0);
    ok(0x2D, "");
    ok(0x4B, "");
    ASSERT_EQ(stat(options.stateFile.c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    ok(0x46, "0\t5.00\t");
    ASSERT_EQ(stat(options.stateFile.c_str(), &after), 0);
    EXPECT_NE(before.st_ino, after.st_ino);
}

TEST_P(SimState, DamagedStateFileIsRefused) {
    sim::Options other = options;
    other.stateFile = home.path() + "damaged.state";
    std::ofstream(other.stateFile.c_str()) << "not a register";
    sim::Simulator simulator(other);
    std::string error;
    EXPECT_FALSE(simulator.start(error));
    EXPECT_EQ(error, "state file " + other.stateFile + " is damaged or not a state file");
}

TEST_P(SimState, BusyPortIsRefused) {
    sim::Options other = options;
    other.port = simulator->port();
    sim::Simulator second(other);
    std::string error;
    EXPECT_FALSE(second.start(error));
    EXPECT_EQ(error.find("cannot listen on 127.0.0.1:" + std::to_string(other.port) + ": "), 0u)
        << error;
}

VERDA_TCP_ONLY(SimState);

TEST(SimOptions, BadInputGivesAMessage) {
    const struct {
        std::vector<std::string> args;
        const char* error;
    } rows[] = {
        {{}, "choose --pty or --tcp"},
        {{"--tcp"}, "--tcp needs a value"},
        {{"--tcp", "70000"}, "bad value for --tcp: 70000"},
        {{"--tcp", "localhost:"}, "bad value for --tcp: localhost:"},
        {{"--pty", "--columns", "40"}, "bad value for --columns: 40"},
        {{"--pty", "--nak", "1.5"}, "bad value for --nak: 1.5"},
        {{"--pty", "--baud", "fast"}, "bad value for --baud: fast"},
        {{"--pty", "--frobnicate"}, "unknown option --frobnicate"},
        {{"--pty", "extra"}, "unknown option extra"},
    };
    for (const auto& row : rows) {
        sim::Options options;
        std::string error;
        EXPECT_FALSE(sim::parseOptions(row.args, options, error));
        EXPECT_EQ(error, row.error);
    }
}

TEST(SimOptions, IdentityAndFaultsAreTaken) {
    sim::Options o;
    std::string error;
    ASSERT_TRUE(sim::parseOptions({"--tcp", "10.0.0.5:4001", "--model", "ЛАРН-1000 Ф", "--drop",
                                   "0.25", "--seed", "9", "--firmware", "944123"},
                                  o, error))
        << error;
    EXPECT_EQ(o.transport, sim::Options::Tcp);
    EXPECT_EQ(o.host, "10.0.0.5");
    EXPECT_EQ(o.port, 4001);
    EXPECT_EQ(o.identity.model, cp866("ЛАРН-1000 Ф"));
    EXPECT_EQ(o.identity.columns, 48);
    EXPECT_EQ(o.identity.firmware, "944123");
    EXPECT_DOUBLE_EQ(o.faults.drop, 0.25);
    EXPECT_EQ(o.seed, 9u);
}

}  // namespace
