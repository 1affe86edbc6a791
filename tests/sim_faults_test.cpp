// The simulated register's line faults, each at a rate that hits about one
// reply in five: every receipt still comes through, and comes through once,
// since the register answers a repeated frame without executing it again.
#include <gtest/gtest.h>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/SimClient.h"
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

using Fields = std::vector<std::string>;

class SimMixedFaults : public SimTest {
    void configure(sim::Options& o) override { moderateFaults(o); }
};

TEST_P(SimMixedFaults, ShiftEndsWithCorrectTotals) {
    std::vector<std::string> replies;
    const std::string out = captureStdout([&] {
        replies.push_back(exchange(0x30, request({"1", "1", "1", "4", "", "", ""})));
        for (int receipt = 0; receipt < 3; ++receipt) {
            replies.push_back(exchange(0x30, request({"1", "1", "1", "0", "", "", ""})));
            for (const char* price : {"10.00", "2.50"})
                replies.push_back(exchange(0x31, request({"Tea", "A", price, "2.000", "0", "0.00",
                                                          "1", "", "", "", "", ""})));
            replies.push_back(exchange(0x35, "0\t30.00\t"));
            replies.push_back(exchange(0x38, ""));
        }
    });
    for (const std::string& reply : replies) EXPECT_EQ(reply.substr(0, 2), "0\t") << reply;
    EXPECT_NE(out.find("REPEAT SEND!"), std::string::npos);  // the faults did hit
    EXPECT_EQ(ok(0x6E, "3\t"), (Fields{"3", "75.00", "0", "0.00", "0", "0.00", "0", "0.00"}));
    const Fields z = ok(0x45, "Z\t");
    ASSERT_EQ(z.size(), 28u);
    EXPECT_EQ(z[3], "75.00");
    EXPECT_EQ(z[27], "75.00");  // cash: 3 x 30.00 paid, 3 x 5.00 change
}

VERDA_TCP_ONLY(SimMixedFaults);

// Replies paced as on a 9600 bit/s line still arrive whole.
class SimPaced : public SimTest {
    void configure(sim::Options& o) override { o.baud = 9600; }
};

TEST_P(SimPaced, RepliesArriveAtLineSpeed) {
    EXPECT_EQ(ok(0x5A, "\t").at(1), "944124");
    EXPECT_EQ(ok(0x2D, ""), Fields{});
}

VERDA_BOTH_TRANSPORTS(SimPaced);

}  // namespace
