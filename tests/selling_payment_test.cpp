// Subtotal and payment, and what every operation leaves in its outputs when
// the exchange fails or the device refuses.
#include <gtest/gtest.h>

#include <functional>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"

namespace {

class Payment : public DriverTest {};

TEST_P(Payment, SubtotalSendsADiscountOnlyWithAKind) {
    int slip = -1;
    double sub = -1, t1 = -1, t2 = -1, t3 = -1, t4 = -1, t5 = -1, t6 = -1;
    device->replyAlways("0\t3\t10.5\t1\t2\t3\t4\t5\t");  // no Tax6 field
    EXPECT_TRUE(VERDA::Subtotal('1', '0', '0', 5, slip, sub, t1, t2, t3, t4, t5, t6));
    EXPECT_EQ(slip, 3);
    EXPECT_DOUBLE_EQ(sub + t1 + t2 + t3 + t4 + t5, 25.5);
    EXPECT_DOUBLE_EQ(t6, 0.0);  // parsed from the missing field, not the caller's
    device->replyAlways("0\t3\t10.5\t1\t2\t3\t4\t5\t6.25\t");
    EXPECT_TRUE(VERDA::Subtotal('\0', '1', '%', 0, slip, sub, t1, t2, t3, t4, t5, t6));
    EXPECT_DOUBLE_EQ(t6, 6.25);
    EXPECT_EQ(
        sent(),
        (std::vector<Sent>{{0x33, "1\t0\t\t\t"}, {0x33, std::string("\0\t1\t%\t0.00\t", 11)}}));
    EXPECT_EQ(log()[1],
              "Subtotal(Print='1',Display='0',DiscountType='0',DiscountValue=5.00,SlipNumber=3,"
              "Subtotal=10.50,Tax1=1.00,Tax2=2.00,Tax3=3.00,Tax4=4.00,Tax5=5.00);");
}

TEST_P(Payment, TotalReadsThePaymentOnlyForAKnownStatus) {
    struct Case {
        char change;
        std::string reply, request;
        char status;
        double newAmount;
        int slip;
    };
    const Case cases[] = {
        {'1', "0\tD\t12.5\t4\t", "49\t10.00\t1\t", 'D', 12.5, 4},
        {'0', "0\tR\t1\t2\t", "49\t10.00\t0\t", 'R', 1, 2},
        {' ', "0\t0\t", "49\t10.00\t", '0', 0, 0},  // no third field, no third tab
        {'2', "0\tX\t12\t4\t", "49\t10.00\t", ' ', 0, 0},
        {'1', "0\tDX\t12\t4\t", "49\t10.00\t1\t", ' ', 0, 0},
    };
    for (const Case& c : cases) {
        device->replyAlways(c.reply);
        char status = 'k';
        double newAmount = -1;
        int slip = -1;
        EXPECT_TRUE(VERDA::Total('1', 10, c.change, status, newAmount, slip)) << c.reply;
        EXPECT_EQ(sent().back(), Sent(0x35, c.request));
        EXPECT_EQ(status, c.status);
        EXPECT_DOUBLE_EQ(newAmount, c.newAmount);
        EXPECT_EQ(slip, c.slip);
    }
    EXPECT_EQ(log()[1],
              "Total(PaidMode=49, Amount=10.00, Change=1, ErrorStatus=D, NewAmount=12.50, "
              "SlipNumber=4);");
    char status;
    double newAmount;
    int slip;
    VERDA::Total('\x80', 1, 'n', status, newAmount, slip);  // the byte's sign goes along
    EXPECT_EQ(sent().back(), Sent(0x35, "-128\t1.00\t"));
}

// A failed exchange and a refusal leave the same outputs: cleared where the
// operation clears them, the caller's values everywhere else.
TEST_P(Payment, FailuresLeaveClearedOrCallersOutputs) {
    int n[4];
    double d[8];
    std::string s[7];
    char c;
    bool b[2];
    long l;
    auto keep = [&] {
        for (int& v : n) v = -7;
        for (double& v : d) v = -7.5;
        for (std::string& v : s) v = "keep";
        c = 'k';
        b[0] = b[1] = true;
        l = -7;
    };
    auto kept = [&](int ints, int doubles, int texts) {
        for (int i = 0; i < ints; ++i) EXPECT_EQ(n[i], -7);
        for (int i = 0; i < doubles; ++i) EXPECT_EQ(d[i], -7.5);
        for (int i = 0; i < texts; ++i) EXPECT_EQ(s[i], "keep");
    };
    auto cleared = [&](int ints, int doubles) {
        for (int i = 0; i < ints; ++i) EXPECT_EQ(n[i], 0);
        for (int i = 0; i < doubles; ++i) EXPECT_EQ(d[i], 0.0);
    };
    const std::vector<std::pair<std::function<bool()>, std::function<void()>>> rows = {
        {[&] { return VERDA::GetStatusFP(s[0]); }, [&] { kept(0, 0, 1); }},
        {[&] { return VERDA::GetStatusShift(b[0], b[1], n[0]); },
         [&] {
             EXPECT_TRUE(b[0] && b[1]);
             kept(1, 0, 0);
         }},
        {[&] { return VERDA::FiscalTransactionsStatus(c, n[0], n[1], d[0], d[1]); },
         [&] {
             EXPECT_EQ(c, '\0');
             cleared(2, 2);
         }},
        {[&] { return VERDA::InfoByCurrentInv(d[0], d[1], d[2], d[3], d[4], d[5]); },
         [&] { cleared(0, 6); }},
        {[&] { return VERDA::GetDateTime(s[0]); }, [&] { kept(0, 0, 1); }},
        {[&] { return VERDA::DiagnosticInfo(s[0], s[1], s[2], s[3], s[4], s[5], s[6]); },
         [&] { kept(0, 0, 7); }},
        {[&] { return VERDA::Programming("P", "0", s[0]); }, [&] { kept(0, 0, 1); }},
        {[&] { return VERDA::SetServiceParam("t", "v", "p", s[0], s[1]); }, [&] { kept(0, 0, 2); }},
        {[&] { return VERDA::SetTaxRates(1, 2, 3, 4, 5, 6, '.', n[0]); }, [&] { cleared(1, 0); }},
        {[&] { return VERDA::UploadImage("i", s[0]); }, [&] { kept(0, 0, 1); }},
        {[&] { return VERDA::GetTradingGroupInfo(1, n[0], d[0], s[0]); }, [&] { kept(1, 1, 1); }},
        {[&] { return VERDA::GetDepInfoInCheck(1, c, d[0], l, d[1], s[0]); },
         [&] {
             EXPECT_TRUE(c == 'k' && l == -7);
             kept(0, 2, 1);
         }},
        {[&] { return VERDA::OpenFiscalInv(1, "p", 1, 1, "", "", "", "", n[0], n[1], n[2]); },
         [&] { cleared(3, 0); }},
        {[&] { return VERDA::OpenShift(1, "p", 1, "", "", "", "", n[0], n[1], n[2]); },
         [&] { cleared(3, 0); }},
        {[&] { return VERDA::CloseFiscalInv(n[0], n[1], s[0], n[2], n[3]); },
         [&] {
             EXPECT_EQ(s[0], "");
             cleared(4, 0);
         }},
        {[&] { return VERDA::CancelFiscalInv(n[0]); }, [&] { cleared(1, 0); }},
        {[&] { return VERDA::RegisterSale("x", '1', 1, 1, 0, 1, '0', 0, 0, 0, 0, 0, n[0]); },
         [&] { cleared(1, 0); }},
        {[&] { return VERDA::RegisterArticleSale(1, 1, '0', 0, n[0]); }, [&] { cleared(1, 0); }},
        {[&] {
             return VERDA::Subtotal('1', '1', '0', 0, n[0], d[0], d[1], d[2], d[3], d[4], d[5],
                                    d[6]);
         },
         [&] {
             EXPECT_EQ(d[6], -7.5);
             cleared(1, 6);
         }},  // Tax6 is not cleared
        {[&] { return VERDA::Total(1, 1, '1', c, d[0], n[0]); },
         [&] {
             EXPECT_EQ(c, ' ');
             cleared(1, 1);
         }},
        {[&] { return VERDA::ParishOrConsumption('1', 1, d[0], d[1], d[2]); },
         [&] { cleared(0, 3); }},
    };
    const std::pair<std::string, int> failures[] = {{"", 100001}, {"-17\t1\t2\t3\t", 17}};
    for (const auto& failure : failures) {
        device->replyAlways(failure.first);
        for (size_t i = 0; i < rows.size(); ++i) {
            SCOPED_TRACE(testing::Message() << "row " << i << ", code " << failure.second);
            keep();
            EXPECT_FALSE(rows[i].first());
            EXPECT_EQ(g_ResultCode, failure.second);
            rows[i].second();
            const std::string end = " ErrorCode: " + std::to_string(failure.second);
            const std::string last = log().back();
            EXPECT_EQ(last.substr(last.size() - end.size()), end);
        }
    }
}

VERDA_BOTH_TRANSPORTS(Payment);

}  // namespace
