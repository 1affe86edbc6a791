// verda and verda-sim run as their own processes, as a user runs them: the
// library's log followed across its rotation, and a simulator killed without
// warning that keeps its memory.
#include <signal.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include "support/CliRun.h"
#include "support/Program.h"

namespace {

void append(const std::string& path, const std::string& text) {
    std::ofstream(path.c_str(), std::ios::app | std::ios::binary) << text;
}

// Lines appear as they are written, each once and whole, readable; when the
// library moves the log to ".1" and starts a new one, the rest of the old
// one comes first, then the new one.
TEST(Programs, LogIsFollowedAcrossTheRotation) {
    TempDir dir;
    const std::string log = dir.path() + "CorteliaVERDA.log";
    append(log, "[1] old line\n[2] Start OpenShift();\n");
    Program tool(Program::tool(), {"log", "-f", "-n", "1", log});
    ASSERT_TRUE(tool.waitFor("Start OpenShift();\n")) << tool.output();
    append(log, "[3] OpenShift(OperName=\xCF\xE5\xF2\xF0\xEE\xE2);\n[4] Start Sub");
    append(log, "total();\n");
    ASSERT_TRUE(tool.waitFor("Start Subtotal();\n")) << tool.output();
    append(log, "[5] RegisterSale(PluName=\"\xA7\xB0\xB9\");\n");
    ASSERT_EQ(std::rename(log.c_str(), (log + ".1").c_str()), 0);
    append(log, "[6] Start CloseFiscalInv();\n");
    ASSERT_TRUE(tool.waitFor("[6] Start CloseFiscalInv();\n")) << tool.output();
    EXPECT_EQ(tool.output(),
              "[2] Start OpenShift();\n"
              "[3] OpenShift(OperName=Петров);\n"
              "[4] Start Subtotal();\n"
              "[5] RegisterSale(PluName=\"Чай\");\n"
              "[6] Start CloseFiscalInv();\n");
    const int status = tool.stop(SIGTERM);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
}

// The simulator is killed with SIGKILL after a receipt, and a half-written
// state file lies beside its file as a kill in the middle of a write would
// leave it: a new simulator on the same file goes on where the old one
// stood.
TEST(Programs, KilledSimulatorKeepsItsMemory) {
    TempDir dir;
    const std::string state = dir.path() + "register.json";
    const std::vector<std::string> args{"--tcp",   "127.0.0.1:0", "--paper", dir.path() + "paper",
                                        "--state", state};
    auto verda = [&dir](const std::string& address, std::vector<std::string> words) {
        words.insert(words.begin(), {"--tcp", address, "--timeout", "500"});
        const CliResult result = runCli(words, dir.path());
        EXPECT_EQ(result.code, 0) << result.err;
        return result.out;
    };
    {
        Program simulator(Program::simulator(), args);
        ASSERT_TRUE(simulator.waitFor("\n")) << simulator.output();
        const std::string address = simulator.output().substr(0, simulator.output().find('\n'));
        verda(address, {"shift", "open"});
        verda(address, {"receipt", "Хлеб ржаной=45.50x2", "--pay", "100"});
        simulator.stop(SIGKILL);
    }
    append(state + ".tmp", "{\"format\": \"verda-sim st");

    std::ifstream in(state.c_str());
    const nlohmann::json json = nlohmann::json::parse(in);
    EXPECT_EQ(json["cash"], "91.00");
    EXPECT_EQ(json["shiftTotals"]["receipts"]["sale"]["sum"], "91.00");

    Program simulator(Program::simulator(), args);
    ASSERT_TRUE(simulator.waitFor("\n")) << simulator.output();
    const std::string address = simulator.output().substr(0, simulator.output().find('\n'));
    const std::string status = verda(address, {"status"});
    EXPECT_NE(status.find("\nshift               open, 1, "), std::string::npos) << status;
    EXPECT_NE(status.find("\nreceipts in shift   1\n"), std::string::npos) << status;
    const std::string x = verda(address, {"x-report"});
    EXPECT_NE(x.find("\nsales             91.00  0.00"), std::string::npos) << x;
}

}  // namespace
