// The simulator's state file and command line.
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include "support/Sim.h"
#include "wire/Command.h"

namespace {

class SimState : public SimTest {
    void configure(sim::Options& o) override { o.stateFile = home.path() + "register.state"; }
};

// The state is written after each command, so a simulator stopped in the
// middle of a receipt resumes it.
TEST_P(SimState, StoppedRegisterResumesWhereItStood) {
    ok(0x30, tabbed({"1", "1", "1", "4", "", "", ""}));
    ok(0x30, tabbed({"1", "1", "1", "0", "", "", ""}));
    ok(0x31, tabbed({"Tea", "A", "10.00", "1.000", "0", "0.00", "1", "", "", "", "", ""}));
    ok(0xFF, tabbed({"Dept_name", "2", to866("Бакалея")}));
    disconnect();
    stopSimulator();
    EXPECT_EQ(access(options.stateFile.c_str(), F_OK), 0);
    EXPECT_NE(access((options.stateFile + ".tmp").c_str(), F_OK), 0);

    startSimulator();
    connect();
    EXPECT_EQ(ok(0x4C, ""), (Fields{"1", "1", "1", "10.00", "0.00"}));
    EXPECT_EQ(ok(0xFF, "Dept_name\t2\t\t"), Fields{to866("Бакалея")});
    ok(0x35, "0\t10.00\t");
    const Fields closed = ok(0x38, "");
    ASSERT_EQ(closed.size(), 5u);
    EXPECT_EQ(closed[0], "1");
    EXPECT_EQ(closed[1], "2");
}

// Only a change is written: each write is a new file renamed into place, so
// a command that changes nothing leaves the same file.
TEST_P(SimState, ReadsDoNotRewriteTheFile) {
    ok(0x30, tabbed({"1", "1", "1", "4", "", "", ""}));
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

std::string readFile(const std::string& path) {
    std::ifstream in(path.c_str(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A file of the older text form is read once and kept from then on as
// JSON that a person reads: named fields, UTF-8 text, amounts and times as
// the register shows them.
TEST_P(SimState, TextFormIsReadOnceAndKeptAsJson) {
    stopSimulator();
    const std::string source = std::string(__FILE__);
    std::ofstream(options.stateFile.c_str(), std::ios::binary)
        << readFile(source.substr(0, source.rfind('/')) + "/data/text-form.state");
    const std::string said = captureStderr([&] { startSimulator(); });
    EXPECT_EQ(said, "verda-sim: state file " + options.stateFile + " converted to JSON\n");
    connect();
    EXPECT_EQ(ok(0xFF, "Header\t1\t\t"), Fields{to866("ООО Ромашка")});

    const std::string text = readFile(options.stateFile);
    EXPECT_NE(text.find("\n  \"cash\": \"1162.81\",\n"), std::string::npos) << text;
    const nlohmann::json json = nlohmann::json::parse(text);
    EXPECT_EQ(json["serial"], "VS00000042");
    EXPECT_EQ(json["shiftOpen"], true);
    EXPECT_EQ(json["shiftOpenedAt"], "15.03.2026 12:00:00");
    EXPECT_EQ(json["shiftTotals"]["byTaxGroup"]["sale"][1], "80.91");
    EXPECT_EQ(json["articles"]["7"]["name"], "Кофе зерновой");
    EXPECT_EQ(json["articles"]["7"]["stock"], "10.000");
    EXPECT_EQ(json["journal"][0]["lines"][0], "Хлеб ржаной");
    EXPECT_EQ(json["parameters"]["Header\t1"], "ООО Ромашка");

    // Read back as JSON, every byte of the register's text survives.
    std::string all;
    for (int b = 0x20; b < 256; ++b) all += static_cast<char>(b);
    ok(0xFF, tabbed({"Header", "2", all}));
    disconnect();
    stopSimulator();
    startSimulator();
    connect();
    EXPECT_EQ(ok(0xFF, "Header\t2\t\t"), Fields{all});
}

// A file that holds no valid state is refused, with what is wrong and where,
// and left as it is: nothing is replaced by a fresh register.
TEST_P(SimState, DamagedStateFileIsRefusedAndKept) {
    ok(0x30, tabbed({"1", "1", "1", "4", "", "", ""}));
    const std::string good = readFile(options.stateFile);
    auto changed = [&good](const std::function<void(nlohmann::ordered_json&)>& change) {
        nlohmann::ordered_json json = nlohmann::ordered_json::parse(good);
        change(json);
        return json.dump(2);
    };
    const std::string other = home.path() + "damaged.state";
    const std::string prefix = "state file " + other + ": ";
    const struct {
        std::string text, error;  // error: the start of the message after the prefix
    } cases[] = {
        {"not a register", "not valid JSON: parse error at line 1, column 2"},
        {good.substr(0, good.size() / 2), "not valid JSON: parse error at line "},
        {"{}", "not a verda-sim state file"},
        {changed([](nlohmann::ordered_json& j) { j["version"] = 2; }),
         "version 2 is not the one this verda-sim reads (1)"},
        {changed([](nlohmann::ordered_json& j) { j["cash"] = 12.5; }),
         "cash: expected an amount such as \"12.50\""},
        {changed([](nlohmann::ordered_json& j) { j["shiftTotals"]["byTaxGroup"].erase("sale"); }),
         "shiftTotals.byTaxGroup.sale: missing"},
        {changed([](nlohmann::ordered_json& j) { j["journal"][0]["lines"][0] = 7; }),
         "journal[0].lines[0]: expected text"},
        {changed([](nlohmann::ordered_json& j) { j["taxRates"].erase(0); }),
         "taxRates: expected a list of 6"},
        {changed([](nlohmann::ordered_json& j) {
             j["articles"]["x"] = nlohmann::ordered_json::object();
         }),
         "articles.x: expected a number as the key"},
        {changed([](nlohmann::ordered_json& j) { j["shiftOpenedAt"] = "yesterday"; }),
         "shiftOpenedAt: expected a time such as \"15.03.2026 12:00:00\""},
        {"verda-sim-state-1\nx56 1 2", "is damaged: its older text form cannot be read"},
    };
    sim::Options options2 = options;
    options2.stateFile = other;
    for (const auto& c : cases) {
        std::ofstream(other.c_str(), std::ios::binary) << c.text;
        sim::Simulator simulator2(options2);
        std::string error;
        EXPECT_FALSE(simulator2.start(error));
        const std::string expected = c.error.rfind("is damaged", 0) == 0
                                         ? "state file " + other + " " + c.error
                                         : prefix + c.error;
        EXPECT_EQ(error.rfind(expected, 0), 0u) << error;
        EXPECT_EQ(readFile(other), c.text);
    }
    // A file that cannot be read at all: here a folder.
    options2.stateFile = home.path();
    sim::Simulator simulator2(options2);
    std::string error;
    EXPECT_FALSE(simulator2.start(error));
    EXPECT_EQ(error, "cannot read state file " + home.path() + ": Is a directory");
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
        {{"--tcp", "70000"}, "bad value for --tcp: 70000"},
        {{"--tcp", "localhost:"}, "bad value for --tcp: localhost:"},
        {{"--pty", "--columns", "40"}, "bad value for --columns: 40"},
        {{"--pty", "--nak", "1.5"}, "bad value for --nak: 1.5"},
        {{"--pty", "--baud", "fast"}, "bad value for --baud: fast"},
        {{"--pty", "--hang-up-after", "Nope"}, "bad value for --hang-up-after: Nope"},
        {{"--pty", "--hang-up-after", "CloseFiscalInv:0"},
         "bad value for --hang-up-after: CloseFiscalInv:0"},
        {{"--pty", "--hang-up-after", "256"}, "bad value for --hang-up-after: 256"},
        {{"--pty", "--hang-up-ms", "-1"}, "bad value for --hang-up-ms: -1"},
        {{"--pty", "--clock", "31.02.2026 10:00:00"}, "bad value for --clock: 31.02.2026 10:00:00"},
        {{"--pty", "--clock", "01.03.2026"}, "bad value for --clock: 01.03.2026"},
        {{"--pty", "--state", "r.state", "--clock", "01.03.2026 10:00:00"},
         "--clock and --state do not go together"},
        {{"--pty", "--shift-opened", "+1h"}, "bad value for --shift-opened: +1h"},
        {{"--pty", "--shift-opened", "-25x"}, "bad value for --shift-opened: -25x"},
        {{"--pty", "--shift-opened", "-"}, "bad value for --shift-opened: -"},
        {{"--pty", "--shift-opened", "-h"}, "bad value for --shift-opened: -h"},
        {{"--pty", "--shift-opened", "31.02.2026 10:00:00"},
         "bad value for --shift-opened: 31.02.2026 10:00:00"},
        {{"--pty", "--fn-deadline", "01.03.2026 10:00:00"},
         "bad value for --fn-deadline: 01.03.2026 10:00:00"},
        {{"--pty", "--fn-deadline", "+5"}, "bad value for --fn-deadline: +5"},
        {{"--pty", "--fn-deadline", "+123456d"}, "bad value for --fn-deadline: +123456d"},
        {{"--pty", "--fn-warnings", "256"}, "bad value for --fn-warnings: 256"},
        {{"--pty", "--fn-warnings", "0x08"}, "bad value for --fn-warnings: 0x08"},
        {{"--pty", "--ofd-unsent", "-1"}, "bad value for --ofd-unsent: -1"},
        {{"--pty", "--ofd-unsent", "10001"}, "bad value for --ofd-unsent: 10001"},
        {{"--pty", "--ofd-unsent-since", "-1d"}, "--ofd-unsent-since goes with --ofd-unsent"},
        {{"--pty", "--ofd-unsent", "1", "--ofd-unsent-since", "+1d"},
         "bad value for --ofd-unsent-since: +1d"},
        {{"--pty", "--frobnicate"}, "unknown option --frobnicate"},
        {{"--pty", "extra"}, "unexpected argument extra"},
    };
    for (const auto& row : rows) {
        sim::Options options;
        std::string error;
        EXPECT_FALSE(sim::parseOptions(row.args, options, error));
        EXPECT_EQ(error, row.error);
    }
}

TEST(SimOptions, HangUpTakesAnOperationOrACommandNumber) {
    const struct {
        std::vector<std::string> args;
        int command, nth, ms;
    } rows[] = {
        {{"--pty"}, -1, 1, 3000},
        {{"--pty", "--hang-up-after", "CloseFiscalInv"},
         wire::number(wire::Command::CloseFiscalInv),
         1,
         3000},
        {{"--pty", "--hang-up-after", "RegisterSale:2", "--hang-up-ms", "50"},
         wire::number(wire::Command::RegisterSale),
         2,
         50},
        {{"--pty", "--hang-up-after", "OpenShift"},
         wire::number(wire::Command::OpenFiscalInv),
         1,
         3000},
        {{"--pty", "--hang-up-after", "53:3"}, 53, 3, 3000},
    };
    for (const auto& row : rows) {
        sim::Options o;
        std::string error;
        ASSERT_TRUE(sim::parseOptions(row.args, o, error)) << error;
        EXPECT_EQ(o.hangUp.command, row.command) << row.args.back();
        EXPECT_EQ(o.hangUp.nth, row.nth) << row.args.back();
        EXPECT_EQ(o.hangUp.ms, row.ms) << row.args.back();
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
    EXPECT_EQ(o.identity.model, to866("ЛАРН-1000 Ф"));
    EXPECT_EQ(o.identity.columns, 48);
    EXPECT_EQ(o.identity.firmware, "944123");
    EXPECT_DOUBLE_EQ(o.faults.drop, 0.25);
    EXPECT_EQ(o.seed, 9u);
}

}  // namespace
