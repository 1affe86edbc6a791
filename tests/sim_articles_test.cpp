// The simulated register's article database, command 0x6B.
#include <gtest/gtest.h>

#include "support/SimRegister.h"

namespace {

using Fields = std::vector<std::string>;

class SimArticles : public SimTest {
  protected:
    // PrgAndReadArticleP on the newer firmware: 19 fields after the letter.
    void write(int plu, const std::string& price, const std::string& quantity,
               const std::string& bar = "") {
        ok(0x6B, request({"P",         std::to_string(plu),
                          "A",         "2",
                          "3",         "0",
                          price,       "0",
                          quantity,    bar,
                          "",          "",
                          "",          cp866("Товар ") + std::to_string(plu),
                          cp866("шт"), "id-7",
                          "0",         "1",
                          "",          "3"}));
    }
    Fields walk(const std::string& letter, const std::string& plu = "") {
        return ok(0x6B, plu.empty() ? letter + "\t" : letter + "\t" + plu + "\t");
    }
    std::string refusal(const std::string& data) { return exchange(0x6B, data); }
};

TEST_P(SimArticles, WrittenArticleReadsBackInBothForms) {
    write(7, "12.50", "10.000", "4600000000017");
    EXPECT_EQ(walk("R", "7"), (Fields{"7",         " A",
                                      "2",         "3",
                                      " 0",        "12.50",
                                      "10.000",    "0.000",
                                      "0.00",      "4600000000017",
                                      "",          "",
                                      "",          cp866("Товар 7"),
                                      cp866("шт"), "id-7",
                                      "0",         "1",
                                      "0",         "3"}));
    // The walks give the short record: no fields after the name.
    EXPECT_EQ(walk("F", "1").size(), 14u);
    EXPECT_EQ(refusal(request({"P", "8", "A", "2", "3", "0", "1.00", "0", "1.000", "4600000000017",
                               "",  "",  "",  "x", "",  "",  "",     "",  "",      ""})),
              "-103002\t");  // bar code of article 7
    EXPECT_EQ(refusal(request({"P", "8", "Q", "2", "3", "0", "1.00", "0", "1.000", "",
                               "",  "",  "",  "x", "",  "",  "",     "",  "",      ""})),
              "-111005\t");  // no such tax group
}

TEST_P(SimArticles, WalksStockAndDeletion) {
    for (int plu : {3, 7, 12}) write(plu, "5.00", "10.000");
    EXPECT_EQ(walk("F", "5").at(0), "7");
    EXPECT_EQ(walk("N").at(0), "12");
    EXPECT_EQ(refusal("N\t"), "-111004\t");
    EXPECT_EQ(walk("L", "11").at(0), "7");
    EXPECT_EQ(walk("I"), (Fields{"3", "10000", "12"}));

    ok(0x6B, "A\t7\t5.000\t");
    EXPECT_EQ(walk("X", "7"), Fields{"15"});
    ok(0x30, request({"1", "1", "1", "4", "", "", ""}));
    ok(0x30, request({"1", "1", "1", "0", "", "", ""}));
    EXPECT_EQ(ok(0x3A, "7\t2.000\t0\t"), Fields{"1"});
    EXPECT_EQ(exchange(0x3A, "3\t11.000\t0\t"), "-111080\t");  // more than the stock
    EXPECT_EQ(exchange(0x3A, "4\t1.000\t0\t"), "-111004\t");
    ok(0x35, "0\t0.00\t");
    ok(0x38, "");

    // The lower-case walks see only what was sold in the shift.
    EXPECT_EQ(walk("f", "1").at(0), "7");
    EXPECT_EQ(refusal("n\t"), "-111004\t");
    EXPECT_EQ(walk("X", "7"), Fields{"13"});
    EXPECT_EQ(walk("x", "7"), Fields{"2"});
    const Fields sold = walk("R", "7");
    EXPECT_EQ(Fields(sold.begin() + 6, sold.begin() + 9), (Fields{"13.000", "2.000", "10.00"}));

    EXPECT_EQ(refusal("D\t7\t"), "-103004\t");  // it has sales until the Z report
    ok(0x6B, "D\t1\t5\t");
    EXPECT_EQ(refusal("R\t3\t"), "-111004\t");
    ok(0x45, "Z\t");
    ok(0x6B, "D\t7\t");
    EXPECT_EQ(walk("I"), (Fields{"1", "10000", "12"}));
}

VERDA_BOTH_TRANSPORTS(SimArticles);

// The older firmware generations, as the driver tells them: the six-field
// opening and the seven-field sale belong to revision 944123 alone, the short
// article record to it and every revision below.
class SimOlderFirmware : public SimTest {
  protected:
    void expectForms(bool shortReceipt) {
        const Fields shortOpening = {"1", "1", "1", "4", "", ""};
        Fields fullOpening = shortOpening;
        fullOpening.push_back("");
        const Fields shortSale = {"Milk", "A", "1.00", "1.000", "0", "0.00", "1"};
        Fields fullSale = shortSale;
        fullSale.resize(12);
        const Fields& opening = shortReceipt ? shortOpening : fullOpening;
        const Fields& sale = shortReceipt ? shortSale : fullSale;
        EXPECT_EQ(exchange(0x30, request(shortReceipt ? fullOpening : shortOpening)), "-112001\t");
        ok(0x30, request(opening));
        Fields receipt = opening;
        receipt[3] = "0";
        ok(0x30, request(receipt));
        EXPECT_EQ(exchange(0x31, request(shortReceipt ? fullSale : shortSale)), "-112001\t");
        EXPECT_EQ(ok(0x31, request(sale)), Fields{"1"});
        ok(0x6B,
           request({"P", "5", "A", "1", "0", "0", "1.00", "0", "1.000", "", "", "", "", "Tea"}));
        EXPECT_EQ(ok(0x6B, "R\t5\t").size(), 14u);
    }
};

class SimFirmware944123 : public SimOlderFirmware {
    void configure(sim::Options& o) override { o.identity.firmware = "944123"; }
};

class SimFirmware944122 : public SimOlderFirmware {
    void configure(sim::Options& o) override { o.identity.firmware = "944122"; }
};

TEST_P(SimFirmware944123, TakesTheShortReceiptFormsAndArticleRecord) {
    expectForms(true);
    EXPECT_EQ(ok(0x5A, "\t").at(1), "944123");
}

TEST_P(SimFirmware944122, TakesTheFullReceiptFormsAndTheShortArticleRecord) {
    expectForms(false);
}

VERDA_TCP_ONLY(SimFirmware944123);
VERDA_TCP_ONLY(SimFirmware944122);

}  // namespace
