// Service documents, payments, cash and corrections on the simulated register.
#include <gtest/gtest.h>

#include "support/SimRegister.h"

namespace {

using Fields = std::vector<std::string>;

class SimDocuments : public SimTest {
  protected:
    void SetUp() override {
        SimTest::SetUp();
        ok(0x30, request({"1", "1", "1", "4", "", "", ""}));
    }
    void receipt(int type, const std::string& price) {
        ok(0x30, request({"1", "1", "1", std::to_string(type), "", "", ""}));
        ok(0x31, request({"Tea", "A", price, "1.000", "0", "0.00", "1", "", "", "", "", ""}));
    }
};

TEST_P(SimDocuments, ServiceDocumentPrintsAndKeepsFiscalCommandsOut) {
    const Fields slip = ok(0x26, "1\t");
    ASSERT_EQ(slip.size(), 1u);
    ok(0x2A, request({to866("Остаток на складе"), "0", "0", "0", "0", "2", "0"}));
    ok(0x54, "1\t4600000000017\t");
    ok(0x5C, "1\t");
    EXPECT_EQ(exchange(0x31, request({"Tea", "A", "1.00", "1.000", "0", "0.00", "1", "", "", "", "",
                                      ""})),
              "-111046\t");
    EXPECT_EQ(exchange(0x30, request({"1", "1", "1", "0", "", "", ""})), "-111046\t");
    EXPECT_EQ(ok(0x4C, "").at(0), "2");
    EXPECT_EQ(ok(0x27, ""), slip);
    EXPECT_EQ(exchange(0x27, ""), "-111016\t");

    const std::string printed = paper();
    EXPECT_NE(printed.find("НЕФИСКАЛЬНЫЙ ДОКУМЕНТ"), std::string::npos);
    EXPECT_NE(printed.find("               Остаток на складе\n"), std::string::npos);  // right
    EXPECT_NE(printed.find("[ШТРИХКОД 1: 4600000000017]"), std::string::npos);
    EXPECT_NE(printed.find(std::string(32, '=') + "\n"), std::string::npos);
    const Fields doc = ok(0x7D, request({"0", slip[0], "0"}));
    ASSERT_EQ(doc.size(), 5u);
    EXPECT_EQ(doc[3], "N");
}

TEST_P(SimDocuments, PaymentsAreCheckedAgainstWhatIsDue) {
    receipt(0, "100.00");
    const struct {
        std::string data;
        const char* answer;
    } rows[] = {
        {"6\t10.00\t", "-111061\t"},         // no payment mode 6
        {"1\t150.00\t", "-111063\t"},        // a card pays no more than is due
        {"0\t150.00\t0\t", "-111063\t"},     // cash with change refused
        {"0\t-1.00\t", "-112001\t"},         // negative amount
        {"1\t30.00\t", "0\tD\t70.00\t1\t"},  // part paid
        {"0\t0.00\t", "0\t0\t0.00\t1\t"},    // 0 pays what is due
        {"0\t1.00\t", "-111063\t"},          // nothing is due any more
    };
    for (const auto& row : rows) EXPECT_EQ(exchange(0x35, row.data), row.answer) << row.data;
    EXPECT_EQ(exchange(0x31, request({"Tea", "A", "1.00", "1.000", "0", "0.00", "1", "", "", "", "",
                                      ""})),
              "-111018\t");  // payment has begun
    EXPECT_EQ(ok(0x67, ""), (Fields{"100.00", "0.00", "100.00", "100.00", "0.00", "0.00"}));
    ok(0x38, "");
}

// A refused command leaves no trace: the return that the drawer cannot pay
// stays open, unpaid out of the drawer, and can be cancelled.
TEST_P(SimDocuments, CashOutIsLimitedByTheDrawer) {
    EXPECT_EQ(exchange(0x46, "1\t5.00\t"), "-111017\t");
    EXPECT_EQ(ok(0x46, "0\t50.00\t"), (Fields{"50.00", "50.00", "0.00"}));
    receipt(1, "80.00");
    ok(0x35, "0\t80.00\t");
    EXPECT_EQ(exchange(0x38, ""), "-111017\t");
    EXPECT_EQ(ok(0x4C, "").at(0), "1");
    EXPECT_EQ(ok(0x3C, ""), Fields{"1"});
    EXPECT_EQ(ok(0x46, "1\t0.00\t"), (Fields{"50.00", "50.00", "0.00"}));
    EXPECT_EQ(ok(0x6E, "2\t"), (Fields{"1", "80.00"}));
}

TEST_P(SimDocuments, CorrectionReceiptTakesItsSumsFromTotalCorrecion) {
    ok(0x30, request({"1", "1", "1", "5", "", "", ""}));
    EXPECT_EQ(exchange(0x31, request({"Tea", "A", "1.00", "1.000", "0", "0.00", "1", "", "", "", "",
                                      ""})),
              "-111051\t");
    EXPECT_EQ(exchange(0x38, ""), "-111023\t");
    ok(0x34, "0\t120.00\t20.00\t0.00\t0.00\t0.00\t0.00\t0.00\t");
    EXPECT_EQ(exchange(0x34, "0\t120.00\t20.00\t0.00\t0.00\t0.00\t0.00\t0.00\t"), "-111018\t");
    EXPECT_EQ(ok(0x38, "").size(), 5u);
    EXPECT_EQ(ok(0x6E, "5\t"), (Fields{"0", "0.00", "0", "0.00", "1", "120.00", "0", "0.00"}));
    EXPECT_EQ(ok(0x46, "0\t0.00\t").at(0), "120.00");
    // A correction is not a sale.
    EXPECT_EQ(ok(0x41, "0\t"), (Fields{"1", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00"}));
}

TEST_P(SimDocuments, DuplicateReprintsTheLastReceipt) {
    EXPECT_EQ(exchange(0x6D, ""), "-100005\t");
    receipt(0, "7.00");
    ok(0x35, "0\t0.00\t");
    ok(0x38, "");
    const std::string before = paper();
    ok(0x6D, "");
    const std::string copy = paper().substr(before.size());
    EXPECT_EQ(copy.find("             КОПИЯ\n"), 0u);
    EXPECT_NE(before.find(copy.substr(copy.find('\n') + 1)), std::string::npos);
}

VERDA_BOTH_TRANSPORTS(SimDocuments);

}  // namespace
