// verda doctor and verda discover as a technician runs them: against
// simulated registers put in each state by the simulator's options, scripted
// registers that refuse or answer nonsense, silent ports and dead links.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <csignal>
#include <ctime>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "common/FiscalHealth.h"
#include "support/CliRun.h"
#include "support/Sim.h"

using testing_device::Request;
using testing_device::ScriptedDevice;

namespace {

const char* const kChecks[] = {"link",         "register",       "clock",  "shift",
                               "fiscal drive", "drive deadline", "unsent", "warnings"};

// The verdict of each check, as the text lines give it ("name  verdict  text").
std::map<std::string, std::string> verdicts(const std::string& out) {
    std::map<std::string, std::string> found;
    std::istringstream lines(out);
    std::string line;
    while (std::getline(lines, line))
        for (const std::string name : {"link", "register", "clock", "shift", "fiscal drive",
                                       "drive deadline", "unsent", "warnings", "verdict"})
            if (line.compare(0, name.size() + 2, name + "  ") == 0) {
                std::istringstream rest(line.substr(name.size()));
                rest >> found[name];
            }
    return found;
}

std::string line(const std::string& out, const std::string& name) {
    std::istringstream lines(out);
    std::string l;
    while (std::getline(lines, l))
        if (l.compare(0, name.size() + 2, name + "  ") == 0) return l;
    return "(no " + name + ")";
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class CliHealth : public ::testing::Test {
  protected:
    // A register that hangs up must not end the tests, as it does not end the tool.
    void SetUp() override { std::signal(SIGPIPE, SIG_IGN); }

    std::unique_ptr<RunningSimulator> simulator(std::vector<std::string> args) {
        args.insert(args.end(), {"--paper", home.path() + "paper.txt"});
        sim::Options options;
        std::string error;
        EXPECT_TRUE(sim::parseOptions(args, options, error)) << error;
        return std::unique_ptr<RunningSimulator>(new RunningSimulator(options));
    }
    CliResult verda(std::vector<std::string> args) { return runCli(args, home.path()); }

    TempDir home;
};

// Each state the simulator can be put in, through the whole of doctor: the
// line of each check, the reasons, the exit status, the same in JSON; and
// the promise behind "blocked": the register then refuses to sell, and
// otherwise it sells.
TEST_F(CliHealth, DoctorJudgesEachStateAsTheRegisterActs) {
    const struct {
        std::vector<std::string> sim;
        std::map<std::string, std::string> notOk;  // checks whose verdict is not ok
        std::vector<std::string> reasons;
    } rows[] = {
        {{}, {}, {}},
        {{"--shift-opened", "-23h30m"}, {{"shift", "attention"}}, {"shift-near-24h"}},
        {{"--shift-opened", "-25h"}, {{"shift", "blocked"}}, {"shift-over-24h"}},
        {{"--fn-deadline", "+10d"}, {{"drive deadline", "attention"}}, {"drive-deadline-near"}},
        {{"--fn-deadline", "-1d"}, {{"drive deadline", "blocked"}}, {"drive-expired"}},
        {{"--ofd-unsent", "4", "--ofd-unsent-since", "-6d"},
         {{"unsent", "attention"}},
         {"unsent-old"}},
        {{"--ofd-unsent", "2", "--ofd-unsent-since", "-2d"}, {}, {}},
        {{"--fn-warnings", "6"}, {{"warnings", "attention"}}, {"drive-warnings"}},
        {{"--shift-opened", "-30h", "--fn-deadline", "-3d", "--ofd-unsent", "1",
          "--ofd-unsent-since", "-10d", "--fn-warnings", "128"},
         {{"shift", "blocked"},
          {"drive deadline", "blocked"},
          {"unsent", "attention"},
          {"warnings", "attention"}},
         {"shift-over-24h", "drive-expired", "unsent-old", "drive-warnings"}},
    };
    for (const auto& row : rows) {
        std::string name;
        for (const std::string& arg : row.sim) name += arg + " ";
        std::vector<std::string> args{"--tcp", "0"};
        args.insert(args.end(), row.sim.begin(), row.sim.end());
        const auto sim = simulator(args);
        ASSERT_TRUE(sim->started()) << name;
        const std::vector<std::string> at{"--tcp", sim->address(), "--timeout", "500"};
        auto run = [&](std::vector<std::string> words) {
            words.insert(words.begin(), at.begin(), at.end());
            return verda(words);
        };

        const CliResult text = run({"doctor"});
        const std::map<std::string, std::string> got = verdicts(text.out);
        std::string overall = "ok", codes;
        for (const std::string check : kChecks) {
            const auto bad = row.notOk.find(check);
            const std::string expected = bad == row.notOk.end() ? "ok" : bad->second;
            EXPECT_EQ(got.count(check) ? got.at(check) : "(none)", expected)
                << name << line(text.out, check);
            if (expected == "blocked" || (expected == "attention" && overall == "ok"))
                overall = expected;
        }
        for (const std::string& code : row.reasons) codes += (codes.empty() ? "" : ", ") + code;
        EXPECT_EQ(got.count("verdict") ? got.at("verdict") : "(none)", overall) << name;
        const std::string verdictLine = line(text.out, "verdict");
        const std::string tail = codes.empty() ? "all fine" : "  " + codes;
        EXPECT_EQ(
            verdictLine.substr(verdictLine.size() - std::min(verdictLine.size(), tail.size())),
            tail)
            << name << text.out;
        EXPECT_EQ(text.code, overall == "ok" ? 0 : 1) << name;
        EXPECT_EQ(text.err, overall == "ok" ? "" : "verda: the verdict is " + overall + "\n")
            << name;

        // The same checks in JSON.
        const CliResult json = run({"doctor", "--json"});
        EXPECT_EQ(json.code, text.code);
        const nlohmann::json j = nlohmann::json::parse(json.out);
        EXPECT_EQ(j["verdict"], overall) << name;
        ASSERT_EQ(j["checks"].size(), 8u);
        for (size_t i = 0; i < 8; ++i) {
            EXPECT_EQ(j["checks"][i]["check"], kChecks[i]);
            EXPECT_EQ(j["checks"][i]["verdict"], got.at(kChecks[i])) << name << kChecks[i];
        }
        std::vector<std::string> jsonCodes;
        for (const auto& r : j["reasons"]) jsonCodes.push_back(r["code"]);
        EXPECT_EQ(jsonCodes, row.reasons) << name;
        EXPECT_EQ(j["register"]["model"], "ВЕРДА 35V-Ф");
        EXPECT_EQ(j["health"]["fiscal_drive"]["phase"]["code"], "fiscal");

        // Blocked means the register refuses to sell; anything else sells.
        run({"shift", "open"});
        const CliResult sale = run({"receipt", "Хлеб=10"});
        EXPECT_EQ(sale.code == 0, overall != "blocked") << name << sale.err;
    }
}

// What the lines say, beyond their verdicts: the shift's opening on the
// register's clock, the waiting documents and the oldest, the warnings in
// words, the deadline's date.
TEST_F(CliHealth, DoctorSaysWhatItFound) {
    const auto sim =
        simulator({"--tcp", "0", "--shift-opened", "-2h", "--fn-deadline", "01.01.2036",
                   "--ofd-unsent", "3", "--ofd-unsent-since", "-1d", "--fn-warnings", "9"});
    ASSERT_TRUE(sim->started());
    const CliResult doctor = verda({"--tcp", sim->address(), "doctor"});
    EXPECT_TRUE(contains(line(doctor.out, "link"), "the register answers on " + sim->address()));
    EXPECT_TRUE(contains(line(doctor.out, "register"),
                         "ВЕРДА 35V-Ф, firmware 944124, device number 0000000001"));
    EXPECT_TRUE(contains(line(doctor.out, "shift"), ", for 2 h 0 min")) << doctor.out;
    EXPECT_TRUE(
        contains(line(doctor.out, "fiscal drive"), "9999078900012345, fiscal mode (phase 3)"));
    EXPECT_TRUE(contains(line(doctor.out, "drive deadline"), "valid through 01.01.2036"));
    EXPECT_TRUE(contains(line(doctor.out, "unsent"), "3 documents, the oldest (1) from "));
    EXPECT_TRUE(contains(line(doctor.out, "warnings"),
                         "9; the drive must be replaced within 3 days; the data operator has "
                         "not confirmed documents in time"));

    const nlohmann::json j =
        nlohmann::json::parse(verda({"--tcp", sim->address(), "doctor", "--json"}).out);
    const nlohmann::json& h = j["health"];
    EXPECT_EQ(h["fiscal_drive"]["deadline"], "2036-01-01");
    EXPECT_EQ(h["fiscal_drive"]["warning_flags"], 9);
    EXPECT_EQ(h["unsent"]["count"], 3);
    EXPECT_EQ(h["unsent"]["first"], 1);
    // Opened two hours before the register's clock, as the register reckons.
    const std::string iso = h["clock"];
    const auto clock = health::parseRegisterTime(iso.substr(8, 2) + "." + iso.substr(5, 2) + "." +
                                                 iso.substr(0, 4) + " " + iso.substr(11));
    ASSERT_TRUE(clock.has_value()) << iso;
    EXPECT_EQ(h["shift"]["opened"], health::isoTime(*clock - 2 * health::kHour));
    EXPECT_EQ(h["shift"]["minutes"], 120);
}

// A register that refuses a read, or answers with fields that do not read:
// the line says so, with the register's own text for the refusal, and asks
// for attention; what it does read stands.
TEST_F(CliHealth, DoctorShowsRefusalsAndFieldsThatDoNotRead) {
    const std::string now = health::registerTimeText(health::localOf(std::time(nullptr)));
    const struct {
        std::string driveReply;
        std::map<std::string, std::string> lines;  // check: a part of its line
    } cases[] = {
        // "Неверное состояние ФН" in CP866.
        {"0\t110902\t\x8D\xA5\xA2\xA5\xE0\xAD\xAE\xA5 \xE1\xAE\xE1\xE2\xAE\xEF\xAD\xA8\xA5 "
         "\x94\x8D\t",
         {{"fiscal drive", "attention  GetStateFN refused: error 110902: Неверное состояние ФН"},
          {"drive deadline", "attention  GetStateFN refused: error 110902"},
          {"warnings", "attention  GetStateFN refused: error 110902"}}},
        {"0\tFN-2\t77\t9\t0\tlots\tsoon\t5\t1\t2\t3\t0\t",
         {{"fiscal drive", "ok         77, unknown phase \"9\" (phase 9), 5 registrations left"},
          {"drive deadline", "attention  does not read as a date: soon"},
          {"warnings", "attention  lots; warning flags that are no number: \"lots\""}}},
    };
    for (const auto& c : cases) {
        ScriptedDevice device(ScriptedDevice::Tcp);
        const bool refuses = c.driveReply.compare(0, 8, "0\t110902") == 0;
        device.onRequest([&](const Request& r) {
            switch (r.command) {
                case 0x5A:
                    return testing_device::reply(
                        r, "0\tVR\t944124\t15.03.2026\t12:00\t5A3C\t1.0.7\t0000000007\t");
                case 0x3E:
                    return testing_device::reply(r, "0\t" + now + "\t");
                case 0x4B:
                    return testing_device::reply(r, "0\t1\t0\t90\t");
                case 0x47:
                    return testing_device::reply(r, refuses ? "-110902\t" : c.driveReply);
                case 0x4D:
                    return testing_device::reply(r, "0\t1\t0\t3\t10\t0\t0\t\t");
                case 0x64:  // ReadingError: the register's own text
                    return testing_device::reply(r, c.driveReply);
            }
            return testing_device::reply(r, "-112000\t");
        });
        const CliResult doctor =
            verda({"--tcp", "127.0.0.1:" + std::to_string(device.port()), "doctor"});
        EXPECT_EQ(doctor.code, 1) << doctor.err;
        EXPECT_EQ(verdicts(doctor.out)["verdict"], "attention") << doctor.out;
        EXPECT_TRUE(contains(line(doctor.out, "register"), "VR, firmware 944124"));
        EXPECT_TRUE(contains(line(doctor.out, "shift"), "ok         open since ")) << doctor.out;
        EXPECT_TRUE(contains(line(doctor.out, "unsent"), "ok         none")) << doctor.out;
        for (const auto& l : c.lines)
            EXPECT_TRUE(contains(line(doctor.out, l.first), l.second)) << doctor.out;
        // Nothing but reads went to the register.
        for (const Request& r : device.requests())
            EXPECT_TRUE(r.command == 0x5A || r.command == 0x3E || r.command == 0x4B ||
                        (r.command == 0x47 && r.data == "1\t") || r.command == 0x4D ||
                        r.command == 0x64)
                << std::hex << r.command;
    }
}

// No link at all, and a link lost half way through the reads: exit status
// 3, the link blocked, and what was not read unknown, in both forms.
TEST_F(CliHealth, DoctorWithoutALink) {
    const CliResult dead = verda({"--tcp", deadAddress(), "--timeout", "20", "doctor", "--json"});
    EXPECT_EQ(dead.code, 3);
    EXPECT_EQ(dead.err, "verda: the register does not answer\n");
    const nlohmann::json j = nlohmann::json::parse(dead.out);
    EXPECT_EQ(j["verdict"], "blocked");
    EXPECT_EQ(j["checks"][0]["verdict"], "blocked");
    for (size_t i = 1; i < 8; ++i) EXPECT_EQ(j["checks"][i]["verdict"], "unknown");
    EXPECT_EQ(j["reasons"][0]["code"], "link-down");
    EXPECT_EQ(j["health"], nullptr);

    const CliResult port = verda({"--serial", home.path() + "no-such-port", "doctor"});
    EXPECT_EQ(port.code, 3);
    EXPECT_TRUE(contains(line(port.out, "link"),
                         "blocked  cannot open the serial port " + home.path() + "no-such-port"));

    // The register hangs up once it has answered the shift's read; the
    // driver sees that answer lost.
    const auto sim = simulator({"--tcp", "0", "--hang-up-after", "GetStatusShift"});
    ASSERT_TRUE(sim->started());
    const CliResult lost = verda({"--tcp", sim->address(), "--timeout", "100", "doctor"});
    EXPECT_EQ(lost.code, 3);
    const std::map<std::string, std::string> got = verdicts(lost.out);
    EXPECT_EQ(got.at("link"), "blocked");
    EXPECT_EQ(got.at("register"), "ok");
    EXPECT_EQ(got.at("clock"), "ok");
    for (const char* check : {"shift", "fiscal drive", "drive deadline", "unsent", "warnings"})
        EXPECT_EQ(got.at(check), "unknown") << check;
    EXPECT_EQ(line(lost.out, "verdict"), "verdict         blocked  link-down");
}

// A simulated register on a pseudo-terminal at 57600 baud (the driver's
// first try, 115200, is not heard), another on TCP, a pseudo-terminal and a
// TCP port where nobody answers, and a TCP port where nobody listens: each
// register found once with its speed and identity, each silent place named.
TEST_F(CliHealth, DiscoverFindsRegistersAndNamesSilentPlaces) {
    const auto serial = simulator({"--pty", "--baud", "57600", "--device-number", "0000000042"});
    const auto tcp = simulator({"--tcp", "0", "--firmware", "944123"});
    ASSERT_TRUE(serial->started() && tcp->started());
    ScriptedDevice silentPty(ScriptedDevice::Pty), silentTcp(ScriptedDevice::Tcp);
    const std::string silentAddress = "127.0.0.1:" + std::to_string(silentTcp.port());
    const std::string dead = deadAddress();

    const CliResult found =
        verda({"discover", "--serial", serial->address(), "--tcp", tcp->address(), "--json"});
    EXPECT_EQ(found.code, 0) << found.err;
    const nlohmann::json j = nlohmann::json::parse(found.out);
    ASSERT_EQ(j["registers"].size(), 2u) << found.out;
    EXPECT_EQ(j["registers"][0]["where"], serial->address());
    EXPECT_EQ(j["registers"][0]["baud"], 57600);
    EXPECT_EQ(j["registers"][0]["transport"], "serial");
    EXPECT_EQ(j["registers"][0]["device_number"], "0000000042");
    EXPECT_EQ(j["registers"][0]["model"], "ВЕРДА 35V-Ф");
    EXPECT_EQ(j["registers"][1]["where"], tcp->address());
    EXPECT_EQ(j["registers"][1]["baud"], nullptr);
    EXPECT_EQ(j["registers"][1]["firmware"], "944123");
    EXPECT_EQ(j["not_found"].size(), 0u);

    // The silent places, the pseudo-terminal at one speed only.
    const CliResult silent =
        verda({"discover", "--serial", silentPty.path(), "--baud", "115200", "--tcp", silentAddress,
               "--tcp", dead, "--tcp", tcp->address()});
    EXPECT_EQ(silent.code, 0);
    EXPECT_EQ(silent.out, "where" + std::string(tcp->address().size() - 3, ' ') +
                              "baud  model        device number  firmware\n" + tcp->address() +
                              "     -  ВЕРДА 35V-Ф     0000000001    944123\n");
    EXPECT_TRUE(
        contains(silent.err, "verda: " + silentPty.path() + ": nothing answers at 115200 baud\n"))
        << silent.err;
    EXPECT_TRUE(contains(silent.err, "verda: " + silentAddress + ": nothing answers\n"));
    const std::string refused = std::strerror(ECONNREFUSED);
    EXPECT_TRUE(contains(silent.err, "verda: " + dead + ": " + refused + "\n"));
    // Nothing but DiagnosticInfo reached a register.
    for (ScriptedDevice* device : {&silentPty, &silentTcp}) {
        const std::vector<Request> requests = device->requests();
        EXPECT_FALSE(requests.empty());
        for (const Request& r : requests) EXPECT_EQ(r.command, 0x5Au);
    }

    const CliResult none = verda({"discover", "--tcp", dead});
    EXPECT_EQ(none.code, 1);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "verda: " + dead + ": " + refused + "\nverda: no register found\n");
}

}  // namespace
