// The shift's opening time held across readings (health::sameOpening): the
// register counts the shift's age in whole minutes, so each reading places
// the opening only within a minute.
#include <gtest/gtest.h>

#include <optional>

#include "common/FiscalHealth.h"

namespace {

using health::Seconds;

health::Shift openShift(std::optional<Seconds> openedAt) {
    health::Shift s;
    s.open = true;
    s.openedAt = openedAt;
    return s;
}

TEST(FiscalHealth, SameOpeningKeepsWhatAReadingAgreesWith) {
    const Seconds at = 1000000;  // this reading's clock minus the shift's age
    const struct {
        const char* what;
        bool open;
        std::optional<Seconds> reading, held, kept;
    } cases[] = {
        {"first reading", true, at, std::nullopt, at},
        {"the same", true, at, at, at},
        {"within the minute before", true, at, at - 59, at - 59},
        {"a second's leeway after", true, at, at + 1, at + 1},
        {"later than the reading allows", true, at, at + 2, at},
        {"a minute and more before: another shift", true, at, at - 62, at},
        {"the clock not read", true, std::nullopt, at, std::nullopt},
        {"the shift closed", false, at, at, std::nullopt},
    };
    for (const auto& c : cases) {
        health::Shift shift = openShift(c.reading);
        shift.open = c.open;
        EXPECT_EQ(health::sameOpening(c.held, shift), c.kept) << c.what;
    }
}

// Readings every 7 s of a shift opened at a known second: the time held never
// leaves the minute after the true opening, and only ever comes closer to it.
TEST(FiscalHealth, SameOpeningSettlesOnTheShiftsOpening) {
    for (const Seconds opened : {Seconds(0), Seconds(17), Seconds(59), Seconds(86400 + 31)}) {
        std::optional<Seconds> held;
        for (Seconds clock = opened; clock < opened + 3 * 3600; clock += 7) {
            const Seconds age = (clock - opened) / 60 * 60;
            const std::optional<Seconds> next = health::sameOpening(held, openShift(clock - age));
            ASSERT_TRUE(next);
            EXPECT_GE(*next, opened);
            EXPECT_LT(*next, opened + 60);
            if (held) {
                EXPECT_LE(*next, *held);
            }
            held = next;
        }
        EXPECT_LT(*held, opened + 7) << "readings 7 s apart find the opening within 7 s";
    }
}

}  // namespace
