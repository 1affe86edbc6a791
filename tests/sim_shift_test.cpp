// A whole shift with the simulated register, at protocol level: each request
// is built as the driver's operations build it.
#include <gtest/gtest.h>

#include "common/Cp866.h"
#include "support/SimRegister.h"

namespace {

using Fields = std::vector<std::string>;

class SimShift : public SimTest {
  protected:
    // OpenFiscalInv / OpenShift on the newer firmware: operator 1, password
    // "1", till 1, the type, empty buyer, tax system and operator name.
    Fields open(int type) {
        return ok(0x30, request({"1", "1", "1", std::to_string(type), "", "", ""}));
    }
    // RegisterSale's twelve fields.
    Fields sale(const std::string& name, const std::string& tax, const std::string& price,
                const std::string& quantity, const std::string& discountType = "0",
                const std::string& discountValue = "0.00") {
        return ok(0x31, request({to866(name), tax, price, quantity, discountType, discountValue,
                                 "1", "", "", "", "", ""}));
    }
};

TEST_P(SimShift, ShiftFiguresAddUpInXAndZReports) {
    const Fields shift = open(4);
    ASSERT_EQ(shift.size(), 3u);
    EXPECT_EQ(shift[0], "1");  // first fiscal document
    EXPECT_EQ(shift[2], "1");  // first shift
    EXPECT_EQ(ok(0x46, "0\t1000.00\t"), (Fields{"1000.00", "1000.00", "0.00"}));

    // Two lines, a line discount of 10 %, a receipt discount of 1.90, and a
    // payment by card and cash with change.
    const Fields receipt = open(0);
    ASSERT_EQ(receipt.size(), 3u);
    EXPECT_EQ(receipt[0], "1");
    EXPECT_EQ(sale("Молоко", "A", "45.50", "2.000", "1", "10.00"), Fields{"1"});
    EXPECT_EQ(sale("Хлеб", "B", "30.00", "1.000"), Fields{"1"});
    EXPECT_EQ(ok(0x33, "1\t0\t2\t1.90\t"),
              (Fields{"1", "110.00", "13.42", "2.68", "0.00", "0.00", "0.00", "0.00"}));
    EXPECT_EQ(ok(0x35, "1\t50.00\t"), (Fields{"D", "60.00", "1"}));
    EXPECT_EQ(ok(0x35, "0\t100.00\t1\t"), (Fields{"R", "40.00", "1"}));
    const Fields closed = ok(0x38, "");
    ASSERT_EQ(closed.size(), 5u);
    EXPECT_EQ(closed[0], "1");
    EXPECT_EQ(closed[1], "2");  // fiscal document after the shift's opening
    EXPECT_EQ(closed[3], receipt[1]);
    EXPECT_EQ(closed[4], "1");

    // A cancelled receipt counts as cancelled and nowhere else.
    open(0);
    sale("Сыр", "A", "10.00", "1.000");
    EXPECT_EQ(ok(0x3C, ""), Fields{"2"});

    // A return of a sale, paid out in cash.
    open(1);
    sale("Молоко", "A", "20.00", "1.000");
    EXPECT_EQ(ok(0x35, "0\t20.00\t"), (Fields{"0", "0.00", "3"}));
    ok(0x38, "");
    EXPECT_EQ(ok(0x46, "1\t100.00\t"), (Fields{"940.00", "1000.00", "100.00"}));

    const Fields sales{"80.51", "29.49", "0.00", "0.00", "0.00", "0.00"};
    const Fields returns{"20.00", "0.00", "0.00", "0.00", "0.00", "0.00"};
    const Fields none(6, "0.00");
    Fields groups = sales;
    for (const Fields* g : {&returns, &none, &none})
        groups.insert(groups.end(), g->begin(), g->end());

    Fields x{"1", "0", "0"};
    x.insert(x.end(), groups.begin(), groups.end());
    x.push_back("940.00");
    EXPECT_EQ(ok(0x45, "X\t"), x);
    EXPECT_EQ(ok(0x6E, "0\t"),
              (Fields{"60.00", "50.00", "0.00", "0.00", "0.00", "0.00", "110.00"}));
    EXPECT_EQ(ok(0x6E, "3\t"), (Fields{"1", "110.00", "1", "20.00", "0", "0.00", "0", "0.00"}));
    EXPECT_EQ(ok(0x6E, "4\t"), (Fields{"1", "1000.00", "1", "100.00"}));
    EXPECT_EQ(ok(0x6E, "5\t"), (Fields{"2", "11.00", "0", "0.00", "0", "0.00", "1", "10.00"}));
    EXPECT_EQ(ok(0x70, "1\t"), (Fields{"1", "110.00", "1", "20.00", "0", "0.00", "0", "0.00", "1",
                                       "10.00", "0", "0.00", "0", "0.00"}));

    const Fields z = ok(0x45, "Z\t");
    ASSERT_EQ(z.size(), 28u);
    EXPECT_EQ(z[0], "1");
    EXPECT_EQ(z[1], "4");  // shift opening, two receipts, the Z report
    EXPECT_EQ(Fields(z.begin() + 3, z.end()), Fields(x.begin() + 3, x.end()));

    // The shift is closed, its record is in the fiscal memory, and its
    // figures start again from zero.
    EXPECT_EQ(ok(0x4B, ""), (Fields{"0", "0", "0"}));
    const Fields record = ok(0x40, "0\t0\t");
    ASSERT_EQ(record.size(), 8u);
    EXPECT_EQ(Fields(record.begin(), record.begin() + 7),
              (Fields{"1", "80.51", "29.49", "0.00", "0.00", "0.00", "0.00"}));
    EXPECT_EQ(fields(exchange(0x45, "Z\t")), Fields{"-110109"});
    EXPECT_EQ(ok(0x41, "0\t"), (Fields{"1", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00"}));
}

// What was printed can be read back from the journal, and the paper carries
// the same text as UTF-8 within the paper's width.
TEST_P(SimShift, PrintedReceiptIsOnPaperAndInTheJournal) {
    open(4);
    const Fields receipt = open(0);
    sale("Молоко", "A", "45.50", "2.000");
    ok(0x36, request({to866("Спасибо"), "0", "0", "0", "0", "1", "0"}));
    ok(0x35, "0\t0.00\t");
    ok(0x38, "");

    const std::string printed = paper();
    EXPECT_NE(printed.find("КАССОВЫЙ ЧЕК"), std::string::npos);
    EXPECT_NE(printed.find("Молоко\n  2.000 x 45.50"), std::string::npos);
    EXPECT_NE(printed.find("           Спасибо\n"), std::string::npos);  // centred
    std::istringstream lines(printed);
    for (std::string line; std::getline(lines, line);) {
        size_t columns = 0;
        for (unsigned char c : line) columns += (c & 0xC0) != 0x80;
        EXPECT_LE(columns, 32u) << line;
    }

    const Fields doc = ok(0x7D, request({"0", receipt[1], "0"}));
    ASSERT_EQ(doc.size(), 5u);
    EXPECT_EQ(doc[0], receipt[1]);
    EXPECT_EQ(doc[3], "S");
    std::string journal;
    for (int i = 0; i < std::stoi(doc[4]); ++i) journal += ok(0x7D, "2\t").at(0) + "\n";
    EXPECT_EQ(fields(exchange(0x7D, "2\t")), Fields{"-100003"});
    EXPECT_NE(journal.find(to866("Молоко")), std::string::npos);
    EXPECT_NE(printed.find(cp866::toUtf8(journal)), std::string::npos);
}

VERDA_BOTH_TRANSPORTS(SimShift);

}  // namespace
