// A receipt on a failing line: a register that stops answering half-way, and
// one whose answer comes only after the driver has sent again.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"

using testing_device::Answer;
using testing_device::replyFrame;
using testing_device::Request;

namespace {

class BrokenReceipt : public DriverTest {
  protected:
    void next(const std::string& data) {
        device->then([data](const Request& r) { return testing_device::reply(r, data); });
    }
    void silence(int requests) {
        for (int i = 0; i < requests; ++i) device->then([](const Request&) { return Answer{}; });
    }
    static bool sale(int& slip) {
        return VERDA::RegisterSale("Bread", '1', 45.5, 1.0, 0, 1, '0', 0.0, 0.0, 45.5, 0, 0, slip);
    }
    static size_t count(const std::vector<std::string>& lines, const std::string& line) {
        return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
    }
};

TEST_P(BrokenReceipt, RegisterThatStopsAnsweringFailsTheSaleAndTheReceiptGoesOn) {
    next("0\t12\t3\t4\t");
    next("0\t1\t");
    silence(5);
    next("0\t12\t");
    int slip = 0, doc = 0, shift = 0;
    ASSERT_TRUE(VERDA::OpenFiscalInv(1, "0000", 1, 0, "", "", "", "", slip, doc, shift));
    ASSERT_TRUE(sale(slip));
    EXPECT_EQ(slip, 1);

    slip = 99;
    const std::string out = captureStdout([&] { EXPECT_FALSE(sale(slip)); });
    EXPECT_EQ(g_ResultCode, 100001);
    EXPECT_EQ(slip, 0);  // cleared before the exchange, and nothing came
    EXPECT_EQ(out, "REPEAT SEND!\nREPEAT SEND!\nREPEAT SEND!\nREPEAT SEND!\n");
    const auto requests = device->requests();
    ASSERT_EQ(requests.size(), 7u);
    for (size_t i = 3; i < 7; ++i) EXPECT_EQ(requests[i].raw, requests[2].raw);  // one frame
    const auto lines = log();
    EXPECT_EQ(count(lines, "REPEAT"), 4u);
    EXPECT_EQ(lines.back(),
              "RegisterSale(PluName=\"Bread\",TaxCd='1',Price=45.50,Quantity=1.000,Unit=0,"
              "Department=1,DiscountType='0',DiscountValue=0.00,DiscSum=0.00,Sum=45.50,Sign=0,"
              "SignPay=0,SlipNumber=0); ErrorCode: 100001");

    // The register is back: the next call takes the next sequence number.
    EXPECT_TRUE(VERDA::CancelFiscalInv(slip));
    EXPECT_EQ(slip, 12);
    ASSERT_EQ(device->requests().size(), 8u);
    EXPECT_EQ(device->requests()[7].seq, requests[2].seq + 1);
}

TEST_P(BrokenReceipt, AnswerThatComesAfterTheRepeatIsTakenAndItsEchoCostsTheNextCallOneRepeat) {
    next("0\t12\t3\t4\t");
    // The register answers the first sale frame only once the driver has
    // sent it again, and then answers the second one as well, a moment later
    // (by then the driver has taken the first answer and returned).
    silence(1);
    device->then([](const Request& r) {
        return Answer{{replyFrame(r.seq, r.command, "0\t1\t"), 0},
                      {replyFrame(r.seq, r.command, "0\t2\t"), 50}};
    });
    device->replyAlways("0\t12\t91.00\t0.00\t0.00\t0.00\t0.00\t0.00\t0.00\t");
    int slip = 0, doc = 0, shift = 0;
    ASSERT_TRUE(VERDA::OpenFiscalInv(1, "0000", 1, 0, "", "", "", "", slip, doc, shift));
    std::string out = captureStdout([&] { EXPECT_TRUE(sale(slip)); });
    EXPECT_EQ(slip, 1);  // the late answer, to the same sequence number
    EXPECT_EQ(out, "REPEAT SEND!\n");

    // The echo to the second frame waits in the line and fails the
    // sequence test of the next call, which sends once more.
    double subtotal = 0, tax[6] = {};
    out = captureStdout([&] {
        EXPECT_TRUE(VERDA::Subtotal('1', '0', '0', 0.0, slip, subtotal, tax[0], tax[1], tax[2],
                                    tax[3], tax[4], tax[5]));
    });
    EXPECT_EQ(out, "REPEAT SEND!\n");
    EXPECT_EQ(slip, 12);
    EXPECT_EQ(subtotal, 91.0);
    // The answer to the first Subtotal frame can arrive before the device has
    // read the repeat, which is already on its way.
    ASSERT_TRUE(device->waitForRequests(5));
    const auto requests = device->requests();
    EXPECT_EQ(requests[1].raw, requests[2].raw);
    EXPECT_EQ(requests[3].raw, requests[4].raw);
    EXPECT_EQ(requests[3].seq, requests[1].seq + 1);
}

VERDA_TCP_ONLY(BrokenReceipt);

}  // namespace
