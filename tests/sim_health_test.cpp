// The states the simulator's options put a register in (a shift open since a
// given time, the drive's deadline and warnings, documents waiting for the
// data operator), read back through the C interface with the status reads
// of common/FiscalHealth.h; what the state file keeps of them; and the
// options' values it refuses to start with.
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "capi/verda.h"
#include "common/FiscalHealth.h"
#include "support/Sim.h"

namespace {

std::unique_ptr<RunningSimulator> start(std::vector<std::string> args, const TempDir& home) {
    args.insert(args.end(), {"--tcp", "0", "--paper", home.path() + "paper.txt"});
    sim::Options options;
    std::string error;
    EXPECT_TRUE(sim::parseOptions(args, options, error)) << error;
    return std::unique_ptr<RunningSimulator>(new RunningSimulator(options));
}

// The four status reads of a running simulator.
health::Reading readFrom(const RunningSimulator& sim, const TempDir& home) {
    verda_device* d = verda_device_new();
    verda_set_log_dir(d, home.path().c_str());
    verda_set_timeout(d, 500);
    EXPECT_EQ(verda_open_socket(d, "127.0.0.1", sim.port()), VERDA_OK);
    const health::Reading r = health::read(d);
    verda_device_free(d);
    EXPECT_TRUE(r.clock.ok() && r.shift.ok() && r.drive.ok() && r.queue.ok());
    return r;
}

// Against a clock that stands at 10.05.2026 12:00:00, so that every figure
// is exact.
TEST(SimHealth, OptionsPutTheRegisterInEachState) {
    const struct {
        std::vector<std::string> args;
        bool open, over24h;
        int minutes;
        const char* deadline;
        const char* warnings;
        int unsent, first, documents;
        const char* oldest;
    } rows[] = {
        {{}, false, false, 0, "15.03.2029", "0", 0, 0, 0, ""},
        {{"--shift-opened", "09.05.2026 10:00:00"},
         true,
         true,
         1560,
         "15.03.2029",
         "0",
         0,
         0,
         0,
         ""},
        {{"--shift-opened", "-23h"}, true, false, 1380, "15.03.2029", "0", 0, 0, 0, ""},
        {{"--shift-opened", "10.05.2026"}, true, false, 720, "15.03.2029", "0", 0, 0, 0, ""},
        {{"--fn-deadline", "+20d"}, false, false, 0, "30.05.2026", "0", 0, 0, 0, ""},
        {{"--fn-deadline", "-1d12h"}, false, false, 0, "09.05.2026", "0", 0, 0, 0, ""},
        {{"--fn-deadline", "01.06.2026"}, false, false, 0, "01.06.2026", "0", 0, 0, 0, ""},
        {{"--fn-warnings", "137"}, false, false, 0, "15.03.2029", "137", 0, 0, 0, ""},
        {{"--ofd-unsent", "3", "--ofd-unsent-since", "-6d"},
         false,
         false,
         0,
         "15.03.2029",
         "0",
         3,
         1,
         3,
         "04.05.2026 12:00:00"},
        {{"--ofd-unsent", "2"}, false, false, 0, "15.03.2029", "0", 2, 1, 2, "10.05.2026 12:00:00"},
        {{"--ofd-unsent", "0"}, false, false, 0, "15.03.2029", "0", 0, 0, 0, ""},
    };
    for (const auto& row : rows) {
        TempDir home;
        std::vector<std::string> args{"--clock", "10.05.2026 12:00:00"};
        args.insert(args.end(), row.args.begin(), row.args.end());
        const auto sim = start(args, home);
        ASSERT_TRUE(sim->started());
        const health::Reading r = readFrom(*sim, home);
        const std::string name = row.args.empty() ? "defaults" : row.args.front();
        EXPECT_EQ(r.clock.fields, "10.05.2026 12:00:00") << name;
        EXPECT_EQ(r.shift.fields.open, row.open) << name;
        EXPECT_EQ(r.shift.fields.over24h, row.over24h) << name;
        EXPECT_EQ(r.queue.fields.over24h, row.over24h) << name;
        EXPECT_EQ(r.shift.fields.minutes, row.minutes) << name;
        EXPECT_EQ(r.drive.fields.shiftStatus, row.open ? "1" : "0") << name;
        EXPECT_EQ(r.drive.fields.deadline, row.deadline) << name;
        EXPECT_EQ(r.drive.fields.warnings, row.warnings) << name;
        EXPECT_EQ(r.queue.fields.unsent, row.unsent) << name;
        EXPECT_EQ(r.queue.fields.firstUnsent, row.first) << name;
        EXPECT_EQ(r.drive.fields.firstUnsent, row.first) << name;
        EXPECT_EQ(r.queue.fields.lastDocument, row.documents) << name;
        EXPECT_EQ(r.queue.fields.oldest, row.oldest) << name;
    }
}

// The shift and the queue are the register's memory, kept in its state file
// across a restart without the options; the deadline and the warnings hold
// for the run, as the drive's number does. A drive past its last day opens
// no shift.
TEST(SimHealth, TheStateFileKeepsTheShiftAndTheQueue) {
    TempDir home;
    const std::string state = home.path() + "register.json";
    {
        const auto sim =
            start({"--state", state, "--shift-opened", "-2h", "--ofd-unsent", "3",
                   "--ofd-unsent-since", "-1d", "--fn-deadline", "-1d", "--fn-warnings", "8"},
                  home);
        ASSERT_TRUE(sim->started());
        std::ifstream in(state.c_str());
        const nlohmann::json json = nlohmann::json::parse(in);
        EXPECT_EQ(json["shiftOpen"], true);
        EXPECT_EQ(json["unsent"].size(), 3u);
        EXPECT_EQ(json["fiscalDocuments"], 3);

        verda_device* d = verda_device_new();
        verda_set_log_dir(d, home.path().c_str());
        verda_set_timeout(d, 500);
        ASSERT_EQ(verda_open_socket(d, "127.0.0.1", sim->port()), VERDA_OK);
        // The Z report closes the shift after the drive's last day; no new
        // one opens.
        EXPECT_EQ(verda_PrintZReport(d), VERDA_OK);
        int document = 0, sign = 0, shift = 0;
        EXPECT_EQ(verda_OpenShift(d, 1, "1", 1, "", "", "", "", &document, &sign, &shift), 110905);
        EXPECT_STREQ(verda_error_text(110905), "Ошибка ФН: Закончен срок эксплуатации ФН");
        verda_device_free(d);
    }
    const auto sim = start({"--state", state, "--ofd-offline"}, home);
    ASSERT_TRUE(sim->started());
    const health::Reading r = readFrom(*sim, home);
    EXPECT_FALSE(r.shift.fields.open);    // closed by the Z report
    EXPECT_EQ(r.queue.fields.unsent, 4);  // and the report waits too
    EXPECT_EQ(r.drive.fields.deadline, "15.03.2029");
    EXPECT_EQ(r.drive.fields.warnings, "0");
}

TEST(SimHealth, StatesThatCannotBeAreRefusedAtTheStart) {
    const struct {
        std::vector<std::string> args;
        const char* error;
    } rows[] = {
        {{"--shift-opened", "11.05.2026 00:00:00"},
         "--shift-opened: later than the register's clock, 10.05.2026 12:00:00"},
        {{"--ofd-unsent", "1", "--ofd-unsent-since", "11.05.2026"},
         "--ofd-unsent-since: later than the register's clock, 10.05.2026 12:00:00"},
        {{"--unfiscalized", "--shift-opened", "-1h"},
         "--shift-opened: the register is not fiscalized"},
        {{"--fn-deadline", "+99999d"}, "--fn-deadline: beyond the register's calendar"},
        {{"--shift-opened", "-99999d"}, "--shift-opened: beyond the register's calendar"},
    };
    for (const auto& row : rows) {
        std::vector<std::string> args{"--tcp", "0", "--clock", "10.05.2026 12:00:00"};
        args.insert(args.end(), row.args.begin(), row.args.end());
        sim::Options options;
        std::string error;
        ASSERT_TRUE(sim::parseOptions(args, options, error)) << error;
        sim::Simulator simulator(options);
        EXPECT_FALSE(simulator.start(error)) << row.error;
        EXPECT_EQ(error, row.error);
    }
}

}  // namespace
