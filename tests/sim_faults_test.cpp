// A shift over a bad line: the driver's repeats and resynchronising get every
// command through once, and the totals come out right.
#include <gtest/gtest.h>

#include "support/SimRegister.h"

namespace {

using Fields = std::vector<std::string>;

class SimFaults : public SimTest {
    void configure(sim::Options& o) override {
        o.faults.nak = 0.08;
        o.faults.drop = 0.08;
        o.faults.crc = 0.08;
        o.faults.noise = 0.2;
        o.faults.split = 0.2;
        o.faults.syn = 0.3;
        o.faults.delay = 0.1;
        o.faults.delayMs = 20;  // below the driver's patience of ten reads
        o.seed = 2024;
    }
};

TEST_P(SimFaults, ShiftEndsWithCorrectTotals) {
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

VERDA_TCP_ONLY(SimFaults);

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
