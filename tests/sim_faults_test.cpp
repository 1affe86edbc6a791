// The simulated register's line faults, each at a rate that hits about one
// reply in five: every receipt still comes through, and comes through once,
// since the register answers a repeated frame without executing it again.
#include <gtest/gtest.h>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/SimRegister.h"

namespace {

class SimFaults : public SimTest {
  protected:
    // A fresh register with only the one fault.
    void restart(double sim::FaultRates::*fault) {
        disconnect();
        stopSimulator();
        options.faults = sim::FaultRates();
        options.faults.*fault = 0.2;
        options.faults.delayMs = 50;  // within the driver's wait of 300 ms
        options.seed = 7;
        startSimulator(options);
        connect();
    }
    static bool receipt(double& subtotal) {
        int slip = 0, doc = 0, shift = 0, fd = 0;
        bool ok = VERDA::OpenFiscalInv(1, "1", 1, 0, "", "", "", "", slip, doc, shift);
        for (int i = 0; i < 3; ++i)
            ok = VERDA::RegisterSale("Bread", 'A', 10.0, 1.0, 0, 1, '0', 0.0, 0.0, 10.0, 0, 0,
                                     slip) &&
                 ok;
        double tax[6] = {}, change = 0;
        ok = VERDA::Subtotal('1', '0', '0', 0.0, slip, subtotal, tax[0], tax[1], tax[2], tax[3],
                             tax[4], tax[5]) &&
             ok;
        char status = 0;
        ok = VERDA::Total(0, 30.0, '0', status, change, slip) && ok;
        std::string sign;
        return VERDA::CloseFiscalInv(slip, fd, sign, doc, shift) && ok;
    }
};

TEST_P(SimFaults, EveryReceiptComesThroughOnceWhateverTheLineDoes) {
    const struct {
        const char* name;
        double sim::FaultRates::*fault;
    } cases[] = {{"nak", &sim::FaultRates::nak},     {"drop", &sim::FaultRates::drop},
                 {"noise", &sim::FaultRates::noise}, {"split", &sim::FaultRates::split},
                 {"syn", &sim::FaultRates::syn},     {"crc", &sim::FaultRates::crc},
                 {"delay", &sim::FaultRates::delay}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        restart(c.fault);
        int fd = 0, sign = 0, shift = 0;
        const std::string out = captureStdout([&] {
            ASSERT_TRUE(VERDA::OpenShift(1, "1", 1, "", "", "", "", fd, sign, shift));
            for (int r = 0; r < 2; ++r) {
                double subtotal = 0;
                EXPECT_TRUE(receipt(subtotal)) << "receipt " << r << ": " << g_ResultCode;
                EXPECT_EQ(subtotal, 30.0);  // three lines, none of them twice
            }
        });
        int count[4] = {};
        double sum[4] = {};
        ASSERT_TRUE(VERDA::DailyReportByTypesOfPayment3(count[0], sum[0], count[1], sum[1],
                                                        count[2], sum[2], count[3], sum[3]));
        EXPECT_EQ(count[0], 2);
        EXPECT_EQ(sum[0], 60.0);
        // Faults that cost a frame show up as repeats.
        const bool repeats = out.find("REPEAT SEND!") != std::string::npos;
        const std::string name = c.name;
        if (name == "nak" || name == "drop" || name == "crc") {
            EXPECT_TRUE(repeats);
        }
    }
}

VERDA_TCP_ONLY(SimFaults);

}  // namespace
