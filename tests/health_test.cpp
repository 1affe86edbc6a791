// A register's fiscal health as the tool and the server judge it: the
// register's fields in words and times, and the verdict on a reading at any
// moment after it was taken. Pure logic, in the test's own process; the
// reading itself is tested through the simulator (cli_health_test.cpp).
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "common/FiscalHealth.h"

namespace health {
// Levels in failure messages by their names.
void PrintTo(Level level, std::ostream* out) {
    *out << levelName(level);
}
}  // namespace health

namespace {

using namespace health;

Seconds at(const std::string& text) {
    const std::optional<Seconds> t = parseRegisterTime(text);
    EXPECT_TRUE(t.has_value()) << text;
    return t.value_or(0);
}

Seconds day(const std::string& text) {
    const std::optional<Seconds> t = parseRegisterDate(text);
    EXPECT_TRUE(t.has_value()) << text;
    return t.value_or(0);
}

std::vector<std::string> codes(const std::vector<Meaning>& meanings) {
    std::vector<std::string> out;
    for (const Meaning& m : meanings) out.push_back(m.code);
    return out;
}

TEST(HealthDecode, TheRegistersTimesAndDates) {
    const struct {
        const char* text;
        bool time, date;
    } cases[] = {
        {"10.05.2026 12:00:00", true, false},
        {"10.05.2026 12:00", true, false},
        {"10.05.2026", false, true},
        {"29.02.2028 00:00:00", true, false},
        {"29.02.2027 00:00:00", false, false},
        {"31.04.2026", false, false},
        {"10.05.2026 24:00:00", false, false},
        {"10.05.2026 12:60:00", false, false},
        {"2026-05-10", false, false},
        {"10.05.2026 12:00:00 ", false, false},
        {"1.5.2026", false, false},
        {"", false, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parseRegisterTime(c.text).has_value(), c.time) << c.text;
        EXPECT_EQ(parseRegisterDate(c.text).has_value(), c.date) << c.text;
    }
    EXPECT_EQ(registerTimeText(at("29.02.2028 23:59:58") + 2), "01.03.2028 00:00:00");
    EXPECT_EQ(registerDateText(day("31.12.1969")), "31.12.1969");
    EXPECT_EQ(at("10.05.2026 12:00:00") - day("10.05.2026"), 12 * kHour);
    EXPECT_EQ(day("15.03.2029") - day("15.03.2028"), 365 * kDay);
    EXPECT_EQ(isoTime(at("10.05.2026 09:05:03")), "2026-05-10T09:05:03");
    EXPECT_EQ(isoDate(day("15.03.2039")), "2039-03-15");  // beyond 32-bit time_t
    // The host's zone both ways, away from a change of summer time.
    const Seconds noon = at("10.01.2026 12:00:00");
    EXPECT_EQ(localOf(epochOf(noon)), noon);
}

TEST(HealthDecode, PhasesAndWarningFlagsInWords) {
    EXPECT_EQ(phase("3").code, "fiscal");
    EXPECT_EQ(phase("1").code, "ready");
    EXPECT_EQ(phase("7").code, "unknown");
    EXPECT_EQ(phase("7").text, "unknown phase \"7\"");
    const struct {
        const char* value;
        std::optional<unsigned> flags;
        std::vector<std::string> warnings;
    } cases[] = {
        {"0", 0u, {}},
        {"9", 9u, {"replace-urgent", "operator-overdue"}},
        {"0x86", 0x86u, {"resource-ending", "memory-full", "critical"}},
        {"48", 48u, {"flag-0x10", "flag-0x20"}},
        {"", std::nullopt, {}},
        {"8 ", std::nullopt, {}},
        {"-1", std::nullopt, {}},
        {"0x", std::nullopt, {}},
        {"123456789", std::nullopt, {}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(flags(c.value), c.flags) << c.value;
        if (c.flags) {
            EXPECT_EQ(codes(warnings(*c.flags)), c.warnings) << c.value;
        }
    }
    EXPECT_EQ(warnings(0x10).front().text, "unknown warning flag 0x10");
}

// The fields of four reads, the shift opened at the register's clock minus
// its age, the parts that failed left out and named.
TEST(HealthDecode, AReadingBecomesWordsAndTimes) {
    Reading r;
    r.readAt = 1000;
    r.clock = {true, 0, "10.05.2026 12:00:00"};
    r.shift = {true, 0, ShiftFields{true, false, 125}};
    r.drive.asked = true;
    r.drive.fields.phase = "3";
    r.drive.fields.warnings = "not a number";
    r.drive.fields.deadline = "15.03.2029";
    r.queue.asked = true;
    r.queue.fields.unsent = 2;
    r.queue.fields.firstUnsent = 41;
    r.queue.fields.oldest = "01.05.2026 08:30:00";
    Health h = decode(r);
    ASSERT_TRUE(h.clock && h.shift && h.drive && h.queue);
    EXPECT_EQ(registerTimeText(*h.shift->openedAt), "10.05.2026 09:55:00");
    EXPECT_EQ(h.shift->age, 125 * 60);
    EXPECT_EQ(registerDateText(*h.drive->deadline), "15.03.2029");
    EXPECT_FALSE(h.drive->flags.has_value());
    EXPECT_EQ(codes(h.drive->warnings), std::vector<std::string>{"unreadable"});
    EXPECT_EQ(registerTimeText(*h.queue->oldest), "01.05.2026 08:30:00");
    EXPECT_TRUE(h.failures.empty());
    EXPECT_EQ(h.registerNow(1060), at("10.05.2026 12:01:00"));

    const nlohmann::json j = toJson(h);
    EXPECT_EQ(j["shift"]["opened"], "2026-05-10T09:55:00");
    EXPECT_EQ(j["fiscal_drive"]["deadline"], "2029-03-15");
    EXPECT_EQ(j["fiscal_drive"]["warning_flags"], nullptr);
    EXPECT_EQ(j["fiscal_drive"]["phase"]["code"], "fiscal");
    EXPECT_EQ(j["unsent"]["first"], 41);
    EXPECT_EQ(j["unsent"]["oldest"], "2026-05-01T08:30:00");

    // The drive refused, then the link went: what was not read is null.
    r.drive.result = 110902;
    r.queue.result = VERDA_EXCHANGE_FAILED;
    r.clock.fields = "soon";
    h = decode(r);
    EXPECT_FALSE(h.drive || h.queue || h.clock);
    ASSERT_TRUE(h.shift);
    EXPECT_FALSE(h.shift->openedAt.has_value());  // no clock to reckon from
    EXPECT_TRUE(h.linkLost);
    ASSERT_EQ(h.failures.size(), 2u);
    EXPECT_EQ(h.failures[0].operation, "GetStateFN");
    EXPECT_EQ(h.failures[0].code, 110902);
    EXPECT_EQ(h.failures[1].operation, "GetOFDandFNStatus");
    EXPECT_EQ(toJson(h)["fiscal_drive"], nullptr);
    EXPECT_EQ(toJson(h)["failures"][1]["code"], VERDA_EXCHANGE_FAILED);
}

// The reading every row starts from: read at the register's 10.05.2026
// 12:00, shift closed, drive in fiscal mode until 15.03.2029, nothing
// waiting for the data operator. The host's time of the reading is
// arbitrary: only the time since it counts.
Health healthy() {
    Health h;
    h.readAt = 1000000;
    h.clock = at("10.05.2026 12:00:00");
    h.shift = Shift();
    h.drive = Drive();
    h.drive->phase = phase("3");
    h.drive->flags = 0;
    h.drive->deadline = day("15.03.2029");
    h.queue = Queue();
    return h;
}

Shift openFor(Seconds age, bool over24h = false) {
    Shift s;
    s.open = true;
    s.over24h = over24h;
    s.age = age;
    return s;
}

Queue waiting(int count, const char* oldest) {
    Queue q;
    q.unsent = count;
    if (oldest != nullptr) q.oldest = at(oldest);
    return q;
}

TEST(HealthJudge, EachReasonAtItsThreshold) {
    const Seconds m = 60, h = kHour;
    const struct {
        const char* what;
        std::function<void(Health&)> reading;
        Seconds later;  // judged this long after the reading
        Given given;
        Level level;
        std::vector<std::string> reasons;
    } rows[] = {
        {"healthy", [](Health&) {}, 0, {}, Level::Ok, {}},
        {"a day later, still healthy", [](Health&) {}, kDay, {}, Level::Ok, {}},
        {"shift 22 h 59",
         [&](Health& r) { r.shift = openFor(22 * h + 59 * m); },
         0,
         {},
         Level::Ok,
         {}},
        {"shift 23 h",
         [&](Health& r) { r.shift = openFor(23 * h); },
         0,
         {},
         Level::Attention,
         {"shift-near-24h"}},
        {"shift 24 h to the second",
         [&](Health& r) { r.shift = openFor(24 * h); },
         0,
         {},
         Level::Attention,
         {"shift-near-24h"}},
        {"shift 24 h 1 s",
         [&](Health& r) { r.shift = openFor(24 * h); },
         1,
         {},
         Level::Blocked,
         {"shift-over-24h"}},
        {"the register's own flag",
         [&](Health& r) { r.shift = openFor(10 * m, true); },
         0,
         {},
         Level::Blocked,
         {"shift-over-24h"}},
        {"shift 22 h 30 judged 40 min on",
         [&](Health& r) { r.shift = openFor(22 * h + 30 * m); },
         40 * m,
         {},
         Level::Attention,
         {"shift-near-24h"}},
        {"shift 23 h 30 judged 31 min on",
         [&](Health& r) { r.shift = openFor(23 * h + 30 * m); },
         31 * m,
         {},
         Level::Blocked,
         {"shift-over-24h"}},
        {"closed shift of any age",
         [&](Health& r) {
             r.shift = openFor(30 * h, true);
             r.shift->open = false;
         },
         0,
         {},
         Level::Ok,
         {}},
        {"deadline in 30 days 12 h",
         [](Health& r) { r.drive->deadline = day("09.06.2026"); },
         0,
         {},
         Level::Ok,
         {}},
        {"deadline in 29 days 12 h",
         [](Health& r) { r.drive->deadline = day("08.06.2026"); },
         0,
         {},
         Level::Attention,
         {"drive-deadline-near"}},
        {"last valid day",
         [](Health& r) { r.drive->deadline = day("10.05.2026"); },
         0,
         {},
         Level::Attention,
         {"drive-deadline-near"}},
        {"last valid day ends",
         [](Health& r) { r.drive->deadline = day("10.05.2026"); },
         12 * h,
         {},
         Level::Blocked,
         {"drive-expired"}},
        {"deadline yesterday",
         [](Health& r) { r.drive->deadline = day("09.05.2026"); },
         0,
         {},
         Level::Blocked,
         {"drive-expired"}},
        {"deadline that does not read",
         [](Health& r) { r.drive->deadline.reset(); },
         0,
         {},
         Level::Ok,
         {}},
        {"oldest unsent 5 days",
         [](Health& r) { r.queue = waiting(3, "05.05.2026 12:00:00"); },
         0,
         {},
         Level::Ok,
         {}},
        {"oldest unsent 5 days 1 s",
         [](Health& r) { r.queue = waiting(3, "05.05.2026 11:59:59"); },
         0,
         {},
         Level::Attention,
         {"unsent-old"}},
        {"oldest unsent ages",
         [](Health& r) { r.queue = waiting(1, "06.05.2026 12:00:00"); },
         kDay + 1,
         {},
         Level::Attention,
         {"unsent-old"}},
        {"nothing waits",
         [](Health& r) { r.queue = waiting(0, "01.01.2020 00:00:00"); },
         0,
         {},
         Level::Ok,
         {}},
        {"oldest of no known time",
         [](Health& r) { r.queue = waiting(5, nullptr); },
         0,
         {},
         Level::Ok,
         {}},
        {"a warning flag",
         [](Health& r) { r.drive->warnings = warnings(8); },
         0,
         {},
         Level::Attention,
         {"drive-warnings"}},
        {"the link lost while reading",
         [](Health& r) { r.linkLost = true; },
         0,
         {},
         Level::Blocked,
         {"link-down"}},
        {"given by the server",
         [](Health&) {},
         0,
         Given{true, true, true},
         Level::Blocked,
         {"link-down", "register-replaced", "journal-unavailable"}},
        {"journal alone",
         [](Health&) {},
         0,
         Given{false, false, true},
         Level::Blocked,
         {"journal-unavailable"}},
        {"everything, blocking first",
         [&](Health& r) {
             r.shift = openFor(25 * h);
             r.drive->deadline = day("01.05.2026");
             r.drive->warnings = warnings(1);
             r.queue = waiting(9, "01.04.2026 00:00:00");
         },
         0,
         Given{false, true, false},
         Level::Blocked,
         {"register-replaced", "shift-over-24h", "drive-expired", "unsent-old", "drive-warnings"}},
        {"nothing read", [](Health& r) { r = Health(); }, 0, {}, Level::Ok, {}},
    };
    for (const auto& row : rows) {
        Health reading = healthy();
        row.reading(reading);
        const Verdict v = judge(reading, reading.readAt + row.later, row.given);
        EXPECT_EQ(v.level, row.level) << row.what;
        std::vector<std::string> got;
        for (const Reason& r : v.reasons) got.push_back(r.code);
        EXPECT_EQ(got, row.reasons) << row.what;
        for (const Reason& r : v.reasons) EXPECT_EQ(reason(r.code).text, r.text) << r.code;
    }
}

// Without the register's clock the register's dates are held against the
// host's local time.
TEST(HealthJudge, WithoutTheClockTheHostsTimeStandsIn) {
    Health h = healthy();
    h.clock.reset();
    h.drive->deadline = day("09.05.2026");
    h.readAt = epochOf(at("10.05.2026 00:00:01"));
    EXPECT_TRUE(judge(h, h.readAt).has("drive-expired"));
    EXPECT_FALSE(judge(h, h.readAt - 2).has("drive-expired"));
}

// A verdict in JSON, as the tool and the server give it.
TEST(HealthJudge, VerdictInJson) {
    Health h = healthy();
    h.queue = waiting(2, "01.05.2026 00:00:00");
    const nlohmann::json j = toJson(judge(h, h.readAt));
    EXPECT_EQ(j["verdict"], "attention");
    ASSERT_EQ(j["reasons"].size(), 1u);
    EXPECT_EQ(j["reasons"][0]["code"], "unsent-old");
    EXPECT_EQ(j["reasons"][0]["verdict"], "attention");
    EXPECT_EQ(j["reasons"][0]["text"], reason("unsent-old").text);
    EXPECT_EQ(toJson(judge(healthy(), healthy().readAt)),
              nlohmann::json({{"verdict", "ok"}, {"reasons", nlohmann::json::array()}}));
    EXPECT_EQ(reason("no-such-reason").code, "");
}

}  // namespace
