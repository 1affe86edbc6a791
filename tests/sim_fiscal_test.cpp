// Fiscalization, the fiscal drive's queue, clock, tax rates, parameters and
// the journal of the simulated register.
#include <gtest/gtest.h>

#include "support/SimRegister.h"

namespace {

using Fields = std::vector<std::string>;

class SimFresh : public SimTest {
    void configure(sim::Options& o) override {
        o.unfiscalized = true;
        o.identity.ofdOnline = false;
    }
};

TEST_P(SimFresh, FiscalizationOpensTheWayToSelling) {
    EXPECT_EQ(exchange(0x30, request({"1", "1", "1", "4", "", "", ""})), "-110104\t");
    EXPECT_EQ(ok(0x5B, "VS42\t"), Fields{"VS42"});
    ok(0x62, "7701234567\t");
    EXPECT_EQ(ok(0x47, "1\t").at(2), "1");  // phase: ready for fiscalization
    EXPECT_EQ(exchange(0x48, "\t7701234567\t0000000002012345\twrong\t"), "-104002\t");
    ok(0x48, "\t7701234567\t0000000002012345\t000000\t");
    EXPECT_EQ(exchange(0x48, "\t7701234567\t0000000002012345\t000000\t"), "-110105\t");
    EXPECT_EQ(exchange(0x5B, "VS43\t"), "-104003\t");
    EXPECT_EQ(ok(0x63, ""), Fields{"7701234567"});
    // Command 0x7B answers without a result field.
    EXPECT_EQ(fields(exchange(0x7B, "1\t")),
              (Fields{"VS42", "9999078900012345", "7701234567", "0000000002012345", "0000000001"}));
    EXPECT_EQ(exchange(0x7B, "9\t"), "-112001\t");
    EXPECT_EQ(ok(0x44, ""), Fields{"1999"});

    // The data operator is offline: every fiscal document waits.
    ok(0x30, request({"1", "1", "1", "4", "", "", ""}));
    const Fields drive = ok(0x47, "1\t");
    ASSERT_EQ(drive.size(), 11u);
    EXPECT_EQ(Fields(drive.begin() + 2, drive.begin() + 4), (Fields{"3", "1"}));
    EXPECT_EQ(Fields(drive.begin() + 7, drive.end()), (Fields{"1", "0", "2", "1"}));
    const Fields queue = ok(0x4D, "");
    ASSERT_EQ(queue.size(), 7u);
    EXPECT_EQ(Fields(queue.begin(), queue.begin() + 6), (Fields{"1", "0", "1", "2", "2", "1"}));
    EXPECT_EQ(queue[6].size(), 19u);
}

VERDA_TCP_ONLY(SimFresh);

class SimSettings : public SimTest {};

// The data operator online takes one waiting document per command.
TEST_P(SimSettings, OnlineOperatorEmptiesTheQueue) {
    ok(0x30, request({"1", "1", "1", "4", "", "", ""}));
    EXPECT_EQ(ok(0x4D, "").at(4), "0");
    EXPECT_TRUE(ok(0x4D, "").at(6).empty());
}

TEST_P(SimSettings, ClockMovesOnlyForwardAndLimitsTheShift) {
    EXPECT_EQ(exchange(0x3D, "31.02.2026 10:00:00\t"), "-112004\t");
    EXPECT_EQ(exchange(0x3D, "yesterday\t"), "-112004\t");
    ok(0x3D, "01.06.2026 10:00:00\t");
    EXPECT_EQ(ok(0x3E, "").at(0).substr(0, 16), "01.06.2026 10:00");
    ok(0x30, request({"1", "1", "1", "4", "", "", ""}));
    EXPECT_EQ(exchange(0x3D, "01.06.2026 09:00:00\t"), "-101008\t");
    ok(0x3D, "02.06.2026 10:30:00\t");
    EXPECT_EQ(ok(0x4B, "").at(1), "1");
    EXPECT_EQ(exchange(0x30, request({"1", "1", "1", "0", "", "", ""})), "-111024\t");
    EXPECT_EQ(ok(0x45, "Z\t").at(0), "1");
    EXPECT_EQ(ok(0x56, "").at(0).substr(0, 10), "02.06.2026");
    // The journal by date.
    EXPECT_EQ(ok(0x7C, "01.06.2026\t02.06.2026\t0\t"),
              (Fields{ok(0x7D, "0\t1\t0\t").at(2), ok(0x7D, "0\t2\t0\t").at(2), "1", "2"}));
    const std::string z = ok(0x7D, "0\t2\t0\t").at(2);
    EXPECT_EQ(ok(0x7C, "01.06.2026\t02.06.2026\t2\t"), (Fields{z, z, "2", "2"}));
    EXPECT_EQ(exchange(0x7C, "01.01.2026\t31.01.2026\t0\t"), "-105000\t");
    EXPECT_EQ(exchange(0x7C, "June\t31.01.2026\t0\t"), "-101010\t");
}

TEST_P(SimSettings, TaxRatesChangeOnlyBetweenShifts) {
    EXPECT_EQ(ok(0x32, "").at(1), "20.00");
    ok(0x30, request({"1", "1", "1", "4", "", "", ""}));
    EXPECT_EQ(exchange(0x53, "18.00\t10.00\t0.00\t0.00\t0.00\t0.00\t2\t"), "-104000\t");
    ok(0x45, "Z\t");
    EXPECT_EQ(exchange(0x53, "118.00\t10.00\t0.00\t0.00\t0.00\t0.00\t2\t"), "-101011\t");
    EXPECT_EQ(ok(0x53, "18.00\t10.00\t0.00\t0.00\t0.00\t0.00\t2\t"), Fields{"29"});
    const Fields rates = ok(0x32, "");
    ASSERT_EQ(rates.size(), 8u);
    EXPECT_EQ(Fields(rates.begin(), rates.begin() + 3), (Fields{"1", "18.00", "10.00"}));
    // Records: the first Z, the rates; the fiscal report sees the Z only.
    EXPECT_EQ(ok(0x59, "0\t"), Fields{"2"});
    EXPECT_EQ(ok(0x5F, "0\t1\t9\t"), Fields{"Z 1-1: 0.00"});
    EXPECT_EQ(exchange(0x5F, "0\t"), "-112001\t");
    EXPECT_EQ(ok(0x70, "0\t1\t1\t").at(0).substr(0, 4), "1:Z:");
    ok(0x30, request({"1", "1", "1", "4", "", "", ""}));
    ok(0x30, request({"1", "1", "1", "0", "", "", ""}));
    ok(0x31, request({"Tea", "A", "118.00", "1.000", "0", "0.00", "1", "", "", "", "", ""}));
    EXPECT_EQ(ok(0x33, "0\t0\t\t\t").at(2), "18.00");
}

TEST_P(SimSettings, ParametersAreKeptByNameAndIndex) {
    const struct {
        std::string data;
        std::string answer;
    } rows[] = {
        {"DecimalPoint\t0\t\t", "0\t2\t"},
        {"Dept_name\t0\t\t", "0\t" + to866("Отдел 1") + "\t"},
        {"Dept_name\t16\t\t", "-111043\t"},
        {"Colour\t0\t\t", "-110301\t"},
        {"DecimalPoint\t0\t7\t", "-101011\t"},
        {"Header\t0\t" + to866("Магазин") + "\t", "0\t"},
        {"Header\t0\t\t", "0\t" + to866("Магазин") + "\t"},
    };
    for (const auto& row : rows) EXPECT_EQ(exchange(0xFF, row.data), row.answer) << row.data;
    ok(0x45, "X\t");
    EXPECT_EQ(paper().find("            Магазин\n"), 0u);
    EXPECT_EQ(ok(0xFD, "3\tvalue\tp\t"), (Fields{"0", "value"}));
    EXPECT_EQ(exchange(0x65, "1\t2\tnew\t"), "-102002\t");
    ok(0x65, "1\t1\tnew\t");
    EXPECT_EQ(exchange(0x30, request({"1", "1", "1", "4", "", "", ""})), "-102002\t");
    ok(0x30, request({"1", "new", "1", "4", "", "", ""}));
}

VERDA_BOTH_TRANSPORTS(SimSettings);

}  // namespace
