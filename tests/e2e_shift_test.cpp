// A point-of-sale program's day against the simulated register: only the
// exported functions, over both transports.
#include <gtest/gtest.h>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "support/SimClient.h"

namespace {

using Sums = std::vector<double>;

// The sums of a report with only sales, by tax group.
Sums salesOnly(double a, double b) {
    Sums sums(24, 0.0);
    sums[0] = a;
    sums[1] = b;
    return sums;
}

class E2eShift : public SimClient {
  protected:
    // Two lines, one with 10 % off, 1.90 off the receipt, paid 50.00 by card
    // and 100.00 in cash with 40.00 change: 110.00 of which 60.00 cash.
    void basket() {
        openReceipt(0);
        sell("Молоко", 'A', 45.50, 2, '1', 10);
        sell("Хлеб", 'B', 30.00, 1);
        int slip = 0;
        double subtotal = 0, tax[6] = {0, 0, 0, 0, 0, 0};
        EXPECT_TRUE(VERDA::Subtotal('1', '0', '2', 1.90, slip, subtotal, tax[0], tax[1], tax[2],
                                    tax[3], tax[4], tax[5]));
        EXPECT_EQ(subtotal, 110.00);
        EXPECT_EQ(tax[0], 13.42);
        EXPECT_EQ(tax[1], 2.68);
        EXPECT_EQ(pay(1, 50.00), std::make_pair('D', 60.00));
        EXPECT_EQ(pay(0, 100.00, '1'), std::make_pair('R', 40.00));
        EXPECT_EQ(closeReceipt(), 2);  // the fiscal document after the shift opening
    }
};

TEST_P(E2eShift, ShiftOfSalesEndsInMatchingReports) {
    openShift();
    double cash = 0, in = 0, out = 0;
    ASSERT_TRUE(VERDA::ParishOrConsumption('0', 1000.00, cash, in, out));
    EXPECT_EQ(Sums({cash, in, out}), Sums({1000.00, 1000.00, 0.00}));

    basket();

    // A cancelled receipt counts as cancelled and in no sale.
    openReceipt(0);
    sell("Сыр", 'A', 10.00, 1);
    int slip = 0;
    EXPECT_TRUE(VERDA::CancelFiscalInv(slip));

    ASSERT_TRUE(VERDA::ParishOrConsumption('1', 100.00, cash, in, out));
    EXPECT_EQ(Sums({cash, in, out}), Sums({960.00, 1000.00, 100.00}));

    // The register accepts the X report, and the function says false: the
    // sense clients have always had.
    EXPECT_FALSE(VERDA::PrintXReport());
    EXPECT_EQ(g_ResultCode, 1);

    Report x;
    ASSERT_TRUE(report('X', x));
    EXPECT_EQ(x.sums, salesOnly(80.51, 29.49));  // the receipt's discount split by tax group
    double byMode[7];
    ASSERT_TRUE(VERDA::DailyReportByTypesOfPayment0(byMode[0], byMode[1], byMode[2], byMode[3],
                                                    byMode[4], byMode[5], byMode[6]));
    EXPECT_EQ(Sums(byMode, byMode + 7), Sums({60.00, 50.00, 0, 0, 0, 0, 110.00}));
    int n[4];
    double sum[4];
    ASSERT_TRUE(VERDA::DailyReportByTypesOfPayment5(n[0], sum[0], n[1], sum[1], n[2], sum[2], n[3],
                                                    sum[3]));
    EXPECT_EQ(n[0], 2);  // the line discount and the receipt's
    EXPECT_EQ(sum[0], 11.00);
    EXPECT_EQ(n[3], 1);  // the cancelled receipt
    EXPECT_EQ(sum[3], 10.00);

    Report z;
    ASSERT_TRUE(report('Z', z));
    EXPECT_EQ(z.number, 1);
    EXPECT_EQ(z.sums, x.sums);
    bool open = true, over24h = true;
    int minutes = 0;
    ASSERT_TRUE(VERDA::GetStatusShift(open, over24h, minutes));
    EXPECT_FALSE(open);
    EXPECT_FALSE(report('Z', z));
    EXPECT_EQ(g_ResultCode, 110109);  // no shift to close

    // The paper carries the receipt as sold.
    const std::string printed = paper();
    EXPECT_NE(printed.find("КАССОВЫЙ ЧЕК"), std::string::npos);
    EXPECT_NE(printed.find("Молоко\n  2.000 x 45.50"), std::string::npos);
    EXPECT_NE(printed.find("ЧЕК АННУЛИРОВАН"), std::string::npos);
    EXPECT_NE(printed.find("Z-ОТЧЕТ"), std::string::npos);
}

// A refusal reaches the client as its number, and ReadingError explains it
// with the register's text as the driver reads it back.
TEST_P(E2eShift, RefusalIsExplainedByTheRegister) {
    openShift();
    int slip = 0;
    EXPECT_FALSE(VERDA::RegisterSale("Tea", 'A', 1, 1, 0, 1, '0', 0, 0, 0, 0, 0, slip));
    ASSERT_EQ(g_ResultCode, 111016);
    int code = 0;
    std::string text;
    EXPECT_TRUE(VERDA::ReadingError(g_ResultCode, code, text));
    EXPECT_EQ(code, 111016);
    EXPECT_EQ(text, secondBytes("Ошибка режима регистрации: Чек закрыт"));
}

VERDA_BOTH_TRANSPORTS(E2eShift);

// With the register gone, the driver's own catalogue gives the text.
class E2eSilent : public SimClient {};

TEST_P(E2eSilent, CatalogueExplainsWhenTheRegisterIsSilent) {
    int slip = 0;
    EXPECT_FALSE(VERDA::RegisterSale("Tea", 'A', 1, 1, 0, 1, '0', 0, 0, 0, 0, 0, slip));
    const int refused = g_ResultCode;
    EXPECT_EQ(refused, 111016);  // no receipt open
    stopSimulator();
    int code = 0;
    std::string text;
    EXPECT_FALSE(VERDA::ReadingError(refused, code, text));
    EXPECT_EQ(g_ResultCode, 100001);
    EXPECT_EQ(text, "Ошибка режима регистрации: Чек закрыт");
}

VERDA_TCP_ONLY(E2eSilent);

// One receipt on each firmware branch: the driver picks the field lists the
// register takes, and the older one's shorter name is what gets printed.
class E2eFirmware : public SimClient {
  protected:
    std::string sellOne(const std::string& name) {
        openShift();
        openReceipt(0);
        sell(name, 'A', 5.00, 3);
        EXPECT_EQ(pay(0, 20.00), std::make_pair('R', 5.00));
        EXPECT_GT(closeReceipt(), 0);
        return paper();
    }
    // 36 bytes: the paper's 32 columns and then 4 more.
    const std::string longName = "Chocolate with hazelnuts and raisins";
};

class E2eNewerFirmware : public E2eFirmware {};
class E2eOlderFirmware : public E2eFirmware {
    void configure(sim::Options& o) override { o.identity.firmware = "944123"; }
};

TEST_P(E2eNewerFirmware, ReceiptKeepsTheWholeName) {
    EXPECT_NE(sellOne(longName).find("with hazelnuts and rai\nsins\n  3.000 x 5.00"),
              std::string::npos);
}

TEST_P(E2eOlderFirmware, ReceiptNameIsCutTo32Bytes) {
    EXPECT_NE(sellOne(longName).find("with hazelnuts and rai\n  3.000 x 5.00"), std::string::npos);
}

VERDA_BOTH_TRANSPORTS(E2eNewerFirmware);
VERDA_BOTH_TRANSPORTS(E2eOlderFirmware);

// A reply lost on the line: the driver sends the same frame again and the
// register answers from memory, so no line is sold twice.
class E2eLostReply : public SimClient {
    void configure(sim::Options& o) override {
        o.faults.drop = 0.3;
        o.seed = 7;
    }
};

TEST_P(E2eLostReply, RepeatedSaleCountsOnce) {
    openShift();
    openReceipt(0);
    const std::string out = captureStdout([&] {
        for (int i = 0; i < 4; ++i) sell("Tea", 'A', 10.00, 1);
    });
    EXPECT_NE(out.find("REPEAT SEND!"), std::string::npos);  // a sale's reply was lost
    int slip = 0;
    double subtotal = 0, tax[6];
    EXPECT_TRUE(VERDA::Subtotal('0', '0', '0', 0, slip, subtotal, tax[0], tax[1], tax[2], tax[3],
                                tax[4], tax[5]));
    EXPECT_EQ(subtotal, 40.00);
}

VERDA_TCP_ONLY(E2eLostReply);

// A shift over a bad line still ends with the right totals.
class E2eFaults : public SimClient {
    void configure(sim::Options& o) override { moderateFaults(o); }
};

TEST_P(E2eFaults, ShiftEndsWithCorrectTotals) {
    const std::string out = captureStdout([&] {
        openShift();
        for (int receipt = 0; receipt < 3; ++receipt) {
            openReceipt(0);
            sell("Tea", 'A', 10.00, 2);
            sell("Bun", 'B', 2.50, 2);
            EXPECT_EQ(pay(0, 30.00), std::make_pair('R', 5.00));
            closeReceipt();
        }
    });
    EXPECT_NE(out.find("REPEAT SEND!"), std::string::npos);  // the faults did hit
    double byMode[7];
    ASSERT_TRUE(VERDA::DailyReportByTypesOfPayment0(byMode[0], byMode[1], byMode[2], byMode[3],
                                                    byMode[4], byMode[5], byMode[6]));
    EXPECT_EQ(byMode[0], 75.00);  // 3 x 30.00 paid, 3 x 5.00 given back
    Report z;
    ASSERT_TRUE(report('Z', z));
    EXPECT_EQ(z.sums, salesOnly(60.00, 15.00));
}

VERDA_TCP_ONLY(E2eFaults);

}  // namespace
