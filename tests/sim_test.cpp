// The simulated register at protocol level: its refusals, documents, cash,
// fiscalization, clock, tax rates, parameters, articles and firmware forms,
// each a conversation of requests as the driver's operations build them and
// the replies the register must give. The whole shift is the golden session's.
#include <gtest/gtest.h>

#include <sstream>

#include "common/Cp866.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/Sim.h"

namespace {

const std::string kShift = tabbed({"1", "1", "1", "4", "", "", ""});
const std::string kReceipt = tabbed({"1", "1", "1", "0", "", "", ""});
std::string receiptOf(int type) {
    return tabbed({"1", "1", "1", std::to_string(type), "", "", ""});
}
std::string sale(const std::string& price, const std::string& tax = "A",
                 const std::string& discount = "0\t0.00", const std::string& department = "1") {
    return "Milk\t" + tax + "\t" + price + "\t1.000\t" + discount + "\t" + department +
           "\t\t\t\t\t\t";
}

class SimRegister : public SimTest {};

// Out-of-order and malformed commands come back as the register's negative
// numbers, set bit 0 of status byte 0, and leave no trace.
TEST_P(SimRegister, RefusesWhatDoesNotFitAndKeepsItsState) {
    converse({
        {0x31, sale("10.00"), "-111016\t"},                             // no receipt open
        {0x38, "", "-111016\t"},                                        // close, none open
        {0x45, "Z\t", "-110109\t"},                                     // Z, no shift open
        {0x30, kReceipt, "-110109\t"},                                  // receipt, no shift
        {0x30, tabbed({"1", "9", "1", "4", "", "", ""}), "-102002\t"},  // wrong password
        {0x30, tabbed({"x", "1", "1", "4", "", "", ""}), "-112001\t"},  // operator
        {0x30, tabbed({"1", "1", "1", "4", "", ""}), "-112001\t"},      // older form
        {0x6B, "R\t5\t", "-111004\t"},                                  // unknown article
        {0x2D, "no tab", "-112001\t"},                                  // field without tab
        {0x99, "", "-112000\t"},                                        // unknown command
    });
    EXPECT_TRUE(vr35->status->flags[0]);
    converse(
        {{0x64, "-5\t", "0\t5\t\t"},  // ReadingError: no text for 5, or the register's own
         {0x64, "-111016\t", "0\t111016\t" + to866("Ошибка режима регистрации: Чек закрыт") + "\t"},
         {0x30, kShift, "0\t1\t925043796\t1\t"},
         {0x30, kReceipt, "0\t1\t2\t1\t"}});
    EXPECT_TRUE(vr35->status->flags[8]);   // byte 1 bit 0: fiscal receipt open
    EXPECT_TRUE(vr35->status->flags[16]);  // byte 2 bit 0: shift open
    converse({
        {0x35, "0\t10.00\t", "-111023\t"},                         // payment, no lines
        {0x45, "Z\t", "-111047\t"},                                // Z report
        {0x26, "", "-111047\t"},                                   // service document
        {0x30, kReceipt, "-111015\t"},                             // second receipt
        {0x3A, "77\t1.000\t0\t", "-111004\t"},                     // unknown article
        {0x31, sale("10.00", "Z"), "-111005\t"},                   // tax group
        {0x31, sale("10.00", "A", "0\t0.00", "17"), "-111009\t"},  // department
        {0x31, sale("10.00", "A", "2\t11.00"), "-111031\t"},       // discount above the line
        {0x31, sale("10.00"), "0\t1\t"},
        {0x38, "", "-111050\t"},  // not paid
    });
    EXPECT_TRUE(vr35->status->flags[0]);
    EXPECT_EQ(exchange(0x4C, ""), "0\t1\t1\t1\t10.00\t0.00\t");
    EXPECT_FALSE(vr35->status->flags[0]);
}

// What was printed can be read back from the journal, and the paper carries
// the same text as UTF-8 within the paper's width.
TEST_P(SimRegister, PrintedReceiptIsOnPaperAndInTheJournal) {
    converse({{0x30, kShift, "0\t1\t925043796\t1\t"},
              {0x30, kReceipt, "0\t1\t2\t1\t"},
              {0x31, "\x8C\xAE\xAB\xAE\xAA\xAE\tA\t45.50\t2.000\t0\t0.00\t1\t\t\t\t\t\t", "0\t1\t"},
              {0x36, tabbed({to866("Спасибо"), "0", "0", "0", "0", "1", "0"}), "0\t"},
              {0x35, "0\t0.00\t", "0\t0\t0.00\t1\t"}});
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

    const Fields doc = ok(0x7D, "0\t2\t0\t");
    ASSERT_EQ(doc.size(), 5u);
    EXPECT_EQ(doc[0], "2");
    EXPECT_EQ(doc[3], "S");
    std::string journal;
    for (int i = 0; i < std::stoi(doc[4]); ++i) journal += ok(0x7D, "2\t").at(0) + "\n";
    EXPECT_EQ(exchange(0x7D, "2\t"), "-100003\t");
    EXPECT_NE(printed.find(cp866::toUtf8(journal)), std::string::npos);

    // A copy of the last receipt.
    const std::string before = paper();
    ok(0x6D, "");
    const std::string copy = paper().substr(before.size());
    EXPECT_EQ(copy.find("             КОПИЯ\n"), 0u);
    EXPECT_NE(before.find(copy.substr(copy.find('\n') + 1)), std::string::npos);
}

TEST_P(SimRegister, ServiceDocumentPrintsAndKeepsFiscalCommandsOut) {
    converse({
        {0x6D, "", "-100005\t"},  // no receipt to copy yet
        {0x30, kShift, "0\t1\t925043796\t1\t"},
        {0x26, "1\t", "0\t2\t"},
        {0x2A, tabbed({to866("Остаток на складе"), "0", "0", "0", "0", "2", "0"}), "0\t"},
        {0x54, "1\t4600000000017\t", "0\t"},
        {0x5C, "1\t", "0\t"},
        {0x31, sale("1.00"), "-111046\t"},
        {0x30, kReceipt, "-111046\t"},
        {0x4C, "", "0\t2\t2\t0\t0.00\t0.00\t"},  // a service document
        {0x27, "", "0\t2\t"},
        {0x27, "", "-111016\t"},
    });
    const std::string printed = paper();
    EXPECT_NE(printed.find("НЕФИСКАЛЬНЫЙ ДОКУМЕНТ"), std::string::npos);
    EXPECT_NE(printed.find("               Остаток на складе\n"), std::string::npos);  // right
    EXPECT_NE(printed.find("[ШТРИХКОД 1: 4600000000017]"), std::string::npos);
    EXPECT_NE(printed.find(std::string(32, '=') + "\n"), std::string::npos);
    EXPECT_EQ(ok(0x7D, "0\t2\t0\t").at(3), "N");
}

// Payments are checked against what is due; a refused command leaves no
// trace, so the return that the drawer cannot pay stays open, unpaid, and
// can be cancelled.
TEST_P(SimRegister, PaymentsAndCashAreCheckedAgainstWhatIsDue) {
    converse({
        {0x30, kShift, "0\t1\t925043796\t1\t"},
        {0x46, "1\t5.00\t", "-111017\t"},  // more out than the drawer holds
        {0x46, "0\t50.00\t", "0\t50.00\t50.00\t0.00\t"},
        {0x30, kReceipt, "0\t1\t3\t1\t"},  // cash in was document 2
        {0x31, sale("100.00"), "0\t1\t"},
        {0x35, "6\t10.00\t", "-111061\t"},      // no payment mode 6
        {0x35, "1\t150.00\t", "-111063\t"},     // a card pays no more than is due
        {0x35, "0\t150.00\t0\t", "-111063\t"},  // cash with change refused
        {0x35, "0\t-1.00\t", "-112001\t"},      // negative amount
        {0x35, "1\t30.00\t", "0\tD\t70.00\t1\t"},
        {0x35, "0\t0.00\t", "0\t0\t0.00\t1\t"},  // 0 pays what is due
        {0x35, "0\t1.00\t", "-111063\t"},        // nothing is due any more
        {0x31, sale("1.00"), "-111018\t"},       // payment has begun
        {0x67, "", "0\t100.00\t0.00\t100.00\t100.00\t0.00\t0.00\t"},
    });
    ok(0x38, "");
    converse({
        {0x30, receiptOf(1), "0\t2\t4\t1\t"},  // a return of 150.00 in cash
        {0x31, sale("150.00"), "0\t2\t"},
        {0x35, "0\t150.00\t", "0\t0\t0.00\t2\t"},
        {0x38, "", "-111017\t"},  // the drawer holds 50.00 and 70.00
        {0x4C, "", "0\t1\t2\t1\t150.00\t150.00\t"},
        {0x3C, "", "0\t2\t"},
        {0x46, "1\t0.00\t", "0\t120.00\t50.00\t0.00\t"},
        {0x6E, "2\t", "0\t1\t150.00\t"},
    });
}

TEST_P(SimRegister, CorrectionReceiptTakesItsSumsFromTotalCorrecion) {
    converse({
        {0x30, kShift, "0\t1\t925043796\t1\t"},
        {0x30, receiptOf(5), "0\t1\t2\t1\t"},
        {0x31, sale("1.00"), "-111051\t"},
        {0x38, "", "-111023\t"},
        {0x34, "0\t120.00\t20.00\t0.00\t0.00\t0.00\t0.00\t0.00\t", "0\t"},
        {0x34, "0\t120.00\t20.00\t0.00\t0.00\t0.00\t0.00\t0.00\t", "-111018\t"},
    });
    EXPECT_EQ(ok(0x38, "").size(), 5u);
    converse({
        {0x6E, "5\t", "0\t0\t0.00\t0\t0.00\t1\t120.00\t0\t0.00\t"},
        {0x46, "0\t0.00\t", "0\t120.00\t0.00\t0.00\t"},
        {0x41, "0\t", "0\t1\t0.00\t0.00\t0.00\t0.00\t0.00\t0.00\t"},  // not a sale
    });
}

// The clock moves only forward and limits the shift to 24 hours; the
// journal is found by date.
TEST_P(SimRegister, ClockMovesOnlyForwardAndLimitsTheShift) {
    converse({
        {0x3D, "31.02.2026 10:00:00\t", "-112004\t"},
        {0x3D, "yesterday\t", "-112004\t"},
        {0x3D, "01.06.2026 10:00:00\t", "0\t"},
    });
    EXPECT_EQ(ok(0x3E, "").at(0).substr(0, 16), "01.06.2026 10:00");
    ok(0x30, kShift);
    converse({
        {0x3D, "01.06.2026 09:00:00\t", "-101008\t"},
        {0x3D, "02.06.2026 10:30:00\t", "0\t"},
    });
    EXPECT_EQ(ok(0x4B, "").at(1), "1");
    EXPECT_EQ(exchange(0x30, kReceipt), "-111024\t");
    EXPECT_EQ(ok(0x45, "Z\t").at(0), "1");
    EXPECT_EQ(ok(0x56, "").at(0).substr(0, 10), "02.06.2026");
    const std::string opening = ok(0x7D, "0\t1\t0\t").at(2), z = ok(0x7D, "0\t2\t0\t").at(2);
    converse({
        {0x7C, "01.06.2026\t02.06.2026\t0\t", "0\t" + opening + "\t" + z + "\t1\t2\t"},
        {0x7C, "01.06.2026\t02.06.2026\t2\t", "0\t" + z + "\t" + z + "\t2\t2\t"},
        {0x7C, "01.01.2026\t31.01.2026\t0\t", "-105000\t"},
        {0x7C, "June\t31.01.2026\t0\t", "-101010\t"},
    });
}

// Tax rates change only between shifts, and each change is a record in the
// fiscal memory, which the fiscal report leaves out.
TEST_P(SimRegister, TaxRatesChangeOnlyBetweenShifts) {
    EXPECT_EQ(ok(0x32, "").at(1), "20.00");
    converse({
        {0x30, kShift, "0\t1\t925043796\t1\t"},
        {0x53, "18.00\t10.00\t0.00\t0.00\t0.00\t0.00\t2\t", "-104000\t"},
    });
    ok(0x45, "Z\t");
    converse({
        {0x53, "118.00\t10.00\t0.00\t0.00\t0.00\t0.00\t2\t", "-101011\t"},
        {0x53, "18.00\t10.00\t0.00\t0.00\t0.00\t0.00\t2\t", "0\t29\t"},
        {0x59, "0\t", "0\t2\t"},
        {0x5F, "0\t1\t9\t", "0\tZ 1-1: 0.00\t"},
        {0x5F, "0\t", "-112001\t"},
    });
    const Fields rates = ok(0x32, "");
    ASSERT_EQ(rates.size(), 8u);
    EXPECT_EQ(Fields(rates.begin(), rates.begin() + 3), (Fields{"1", "18.00", "10.00"}));
    EXPECT_EQ(ok(0x70, "0\t1\t1\t").at(0).substr(0, 4), "1:Z:");
    ok(0x30, kShift);
    ok(0x30, kReceipt);
    ok(0x31, sale("118.00"));
    EXPECT_EQ(ok(0x33, "0\t0\t\t\t").at(2), "18.00");
}

TEST_P(SimRegister, ParametersAreKeptByNameAndIndex) {
    converse({
        {0xFF, "DecimalPoint\t0\t\t", "0\t2\t"},
        {0xFF, "Dept_name\t0\t\t", "0\t" + to866("Отдел 1") + "\t"},
        {0xFF, "Dept_name\t16\t\t", "-111043\t"},
        {0xFF, "Colour\t0\t\t", "-110301\t"},
        {0xFF, "DecimalPoint\t0\t7\t", "-101011\t"},
        {0xFF, "Header\t0\t" + to866("Магазин") + "\t", "0\t"},
        {0xFF, "Header\t0\t\t", "0\t" + to866("Магазин") + "\t"},
    });
    ok(0x45, "X\t");
    EXPECT_EQ(paper().find("            Магазин\n"), 0u);
    converse({
        {0xFD, "3\tvalue\tp\t", "0\t0\tvalue\t"},
        {0x65, "1\t2\tnew\t", "-102002\t"},
        {0x65, "1\t1\tnew\t", "0\t"},
        {0x30, kShift, "-102002\t"},
        {0x30, tabbed({"1", "new", "1", "4", "", "", ""}), "0\t1\t925043796\t1\t"},
    });
}

// The article database: written, read back in the long form and walked in
// the short one; stock, sales and deletion.
TEST_P(SimRegister, ArticlesAreWrittenReadWalkedSoldAndDeleted) {
    auto write = [this](int plu, const std::string& bar) {
        ok(0x6B, tabbed({"P",         std::to_string(plu),
                         "A",         "2",
                         "3",         "0",
                         "5.00",      "0",
                         "10.000",    bar,
                         "",          "",
                         "",          to866("Товар ") + std::to_string(plu),
                         to866("шт"), "id-7",
                         "0",         "1",
                         "",          "3"}));
    };
    write(7, "4600000000017");
    write(3, "");
    write(12, "");
    converse({
        {0x6B, "R\t7\t",
         "0\t7\t A\t2\t3\t 0\t5.00\t10.000\t0.000\t0.00\t4600000000017\t\t\t\t" + to866("Товар 7") +
             "\t" + to866("шт") + "\tid-7\t0\t1\t0\t3\t"},
        {0x6B, tabbed({"P", "8", "A", "2", "3", "0", "1.00", "0", "1.000", "4600000000017",
                       "",  "",  "",  "x", "",  "",  "",     "",  "",      ""}),
         "-103002\t"},  // the bar code of article 7
        {0x6B, tabbed({"P", "8", "Q", "2", "3", "0", "1.00", "0", "1.000", "",
                       "",  "",  "",  "x", "",  "",  "",     "",  "",      ""}),
         "-111005\t"},  // no such tax group
        // The walks give the short record.
        {0x6B, "F\t5\t",
         "0\t7\t A\t2\t3\t 0\t5.00\t10.000\t0.000\t0.00\t4600000000017\t\t\t\t" + to866("Товар 7") +
             "\t"},
        {0x6B, "N\t",
         "0\t12\t A\t2\t3\t 0\t5.00\t10.000\t0.000\t0.00\t\t\t\t\t" + to866("Товар 12") + "\t"},
        {0x6B, "N\t", "-111004\t"},
        {0x6B, "I\t", "0\t3\t10000\t12\t"},
        {0x6B, "A\t7\t5.000\t", "0\t"},
        {0x6B, "X\t7\t", "0\t15\t"},
    });
    EXPECT_EQ(ok(0x6B, "L\t11\t").at(0), "7");
    ok(0x30, kShift);
    ok(0x30, kReceipt);
    converse({
        {0x3A, "7\t2.000\t0\t", "0\t1\t"},
        {0x3A, "3\t11.000\t0\t", "-111080\t"},  // more than the stock
        {0x3A, "4\t1.000\t0\t", "-111004\t"},
        {0x35, "0\t0.00\t", "0\t0\t0.00\t1\t"},
    });
    ok(0x38, "");
    // The lower-case walks see only what was sold in the shift.
    EXPECT_EQ(ok(0x6B, "f\t1\t").at(0), "7");
    converse({
        {0x6B, "n\t", "-111004\t"},
        {0x6B, "X\t7\t", "0\t13\t"},
        {0x6B, "x\t7\t", "0\t2\t"},
        {0x6B, "D\t7\t", "-103004\t"},  // it has sales until the Z report
        {0x6B, "D\t1\t5\t", "0\t"},
        {0x6B, "R\t3\t", "-111004\t"},
    });
    const Fields sold = ok(0x6B, "R\t7\t");
    EXPECT_EQ(Fields(sold.begin() + 6, sold.begin() + 9), (Fields{"13.000", "2.000", "10.00"}));
    ok(0x45, "Z\t");
    ok(0x6B, "D\t7\t");
    EXPECT_EQ(ok(0x6B, "I\t"), (Fields{"1", "10000", "12"}));
}

VERDA_BOTH_TRANSPORTS(SimRegister);

// A register whose clock --clock stopped: it shows that moment until
// SetDateTime moves it, and a shift opened then does not grow older.
class SimStoppedClock : public SimTest {
    void configure(sim::Options& o) override {
        sim::Options parsed;
        std::string error;
        ASSERT_TRUE(sim::parseOptions({"--pty", "--clock", "01.06.2026 10:00:00"}, parsed, error))
            << error;
        o.identity.stoppedClock = parsed.identity.stoppedClock;
    }
};

TEST_P(SimStoppedClock, ShowsItsMomentUntilSetDateTimeMovesIt) {
    EXPECT_EQ(ok(0x3E, ""), Fields{"01.06.2026 10:00:00"});
    ok(0x30, kShift);
    EXPECT_EQ(ok(0x4B, ""), (Fields{"1", "0", "0"}));
    ok(0x3D, "02.06.2026 10:30:00\t");
    EXPECT_EQ(ok(0x3E, ""), Fields{"02.06.2026 10:30:00"});
    EXPECT_EQ(ok(0x4B, ""), (Fields{"1", "1", "1470"}));
}

VERDA_BOTH_TRANSPORTS(SimStoppedClock);

// A register before fiscalization, its data operator offline.
class SimFresh : public SimTest {
    void configure(sim::Options& o) override {
        o.unfiscalized = true;
        o.identity.ofdOnline = false;
    }
};

TEST_P(SimFresh, FiscalizationOpensTheWayToSelling) {
    converse({
        {0x30, kShift, "-110104\t"},
        {0x5B, "VS42\t", "0\tVS42\t"},
        {0x62, "7701234567\t", "0\t"},
        {0x48, "\t7701234567\t0000000002012345\twrong\t", "-104002\t"},
        {0x48, "\t7701234567\t0000000002012345\t000000\t", "0\t"},
        {0x48, "\t7701234567\t0000000002012345\t000000\t", "-110105\t"},
        {0x5B, "VS43\t", "-104003\t"},
        {0x63, "", "0\t7701234567\t"},
        // Command 0x7B answers without a result field.
        {0x7B, "1\t", "VS42\t9999078900012345\t7701234567\t0000000002012345\t0000000001\t"},
        {0x7B, "9\t", "-112001\t"},
        {0x44, "", "0\t1999\t"},
    });
    // Every fiscal document waits for the data operator.
    ok(0x30, kShift);
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

// The older firmware generations, as the driver tells them: the six-field
// opening and the seven-field sale belong to revision 944123 alone, the short
// article record to it and every revision below.
class SimFirmware944123 : public SimTest {
    void configure(sim::Options& o) override { o.identity.firmware = "944123"; }
};
class SimFirmware944122 : public SimTest {
    void configure(sim::Options& o) override { o.identity.firmware = "944122"; }
};

TEST_P(SimFirmware944123, TakesTheShortReceiptFormsAndArticleRecord) {
    converse({
        {0x5A, "\t",
         "0\t" + to866("ВЕРДА 35V-Ф") +
             "\t944123\t15.03.2026\t12:00\t5A3C\t1.0.7\t"
             "0000000001\t"},
        {0x30, kShift, "-112001\t"},
        {0x30, tabbed({"1", "1", "1", "4", "", ""}), "0\t1\t925043796\t1\t"},
        {0x30, tabbed({"1", "1", "1", "0", "", ""}), "0\t1\t2\t1\t"},
        {0x31, sale("1.00"), "-112001\t"},
        {0x31, "Milk\tA\t1.00\t1.000\t0\t0.00\t1\t", "0\t1\t"},
    });
    ok(0x6B, tabbed({"P", "5", "A", "1", "0", "0", "1.00", "0", "1.000", "", "", "", "", "Tea"}));
    EXPECT_EQ(ok(0x6B, "R\t5\t").size(), 14u);
}

TEST_P(SimFirmware944122, TakesTheFullReceiptFormsAndTheShortArticleRecord) {
    converse({
        {0x30, tabbed({"1", "1", "1", "4", "", ""}), "-112001\t"},
        {0x30, kShift, "0\t1\t925043796\t1\t"},
        {0x30, kReceipt, "0\t1\t2\t1\t"},
        {0x31, "Milk\tA\t1.00\t1.000\t0\t0.00\t1\t", "-112001\t"},
        {0x31, sale("1.00"), "0\t1\t"},
    });
    ok(0x6B, tabbed({"P", "5", "A", "1", "0", "0", "1.00", "0", "1.000", "", "", "", "", "Tea"}));
    EXPECT_EQ(ok(0x6B, "R\t5\t").size(), 14u);
}

VERDA_TCP_ONLY(SimFirmware944123);
VERDA_TCP_ONLY(SimFirmware944122);

// The wire seen from a plain socket: NAK for a spoilt request, noise before
// a request skipped, and a repeated request answered byte for byte without a
// second sale.
TEST(SimWire, NakForASpoiltRequestAndTheRepeatAnsweredFromMemory) {
    sim::Options options;
    options.transport = sim::Options::Tcp;
    options.paper.clear();
    RunningSimulator simulator(options);
    ASSERT_TRUE(simulator.started());
    SimLine line(simulator.port());
    using testing_device::requestFrame;
    std::string spoilt = requestFrame(0x22, 0x2D, "");
    spoilt[spoilt.size() - 2] ^= 1;
    EXPECT_EQ(line.talk(spoilt), "\x15\x15");
    EXPECT_EQ(line.talk("noise" + requestFrame(0x22, 0x2D, "")).substr(5, 1), "\x22");
    line.talk(requestFrame(0x23, 0x30, kShift));
    line.talk(requestFrame(0x24, 0x30, kReceipt));
    const std::string saleFrame = requestFrame(0x25, 0x31, sale("10.00"));
    const std::string first = line.talk(saleFrame);
    EXPECT_EQ(line.talk(saleFrame), first);
    EXPECT_EQ(line.talk(requestFrame(0x26, 0x4C, "")).substr(10, 19), "0\t1\t1\t1\t10.00\t0.00\t");
}

}  // namespace
