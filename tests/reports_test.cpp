// Shift reports and daily totals, driven through VERDA.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/CommandCases.h"

namespace {

class Reports : public CommandTest {};

// The 27 outputs of a report.
struct Figures {
    int n[3];
    double s[24];
};

bool printReport(char type, Figures& f) {
    double* s = f.s;
    return VERDA::PrintReport(type, f.n[0], f.n[1], f.n[2], s[0], s[1], s[2], s[3], s[4], s[5],
                              s[6], s[7], s[8], s[9], s[10], s[11], s[12], s[13], s[14], s[15],
                              s[16], s[17], s[18], s[19], s[20], s[21], s[22], s[23]);
}

TEST_P(Reports, PrintReportReadsAndLogsTheFigures) {
    device->replyAlways(tabbed(
        {"0",   "12",  "345",   "6789",  "1.125", "2",     "3",     "4",     "5", "1234567.5",
         "0.5", "0.5", "0.5",   "0.5",   "0.5",   "0.5",   "7",     "7",     "7", "7",
         "7",   "7",   "-1.25", "-1.25", "-1.25", "-1.25", "-1.25", "-1.25", "x"}));
    Figures f;
    EXPECT_TRUE(printReport('Q', f));
    EXPECT_EQ(device->requests().back().command, 0x45u);
    EXPECT_EQ(device->requests().back().data, "Q\t");
    EXPECT_EQ(f.n[0], 12);
    EXPECT_EQ(f.n[2], 6789);
    EXPECT_DOUBLE_EQ(f.s[0], 1.125);
    EXPECT_DOUBLE_EQ(f.s[5], 1234567.5);
    EXPECT_DOUBLE_EQ(f.s[23], -1.25);
    EXPECT_EQ(log().back(),
              "PrintReport(Type=Q,nRep=12,nFD=345,SignFP=6789,Sum1=1.125,Sum2=2,Sum3=3,Sum4=4,"
              "Sum5=5,Sum6=1.23457e+06,Ret1=0.5,Ret2=0.5,Ret3=0.5,Ret4=0.5,Ret5=0.5,Ret6=0.5,"
              "Purch1=7,Purch2=7,Purch3=7,Purch4=7,Purch5=7,Purch6=7,RetPurch1=-1.25,"
              "RetPurch2=-1.25,RetPurch3=-1.25,RetPurch4=-1.25,RetPurch5=-1.25,RetPurch6=-1.25);");

    // A refusal leaves every figure at zero, the last group included.
    device->replyAlways("-2\t1\t1\t1\t");
    for (int& n : f.n) n = 9;
    for (double& s : f.s) s = 9;
    EXPECT_FALSE(printReport('Z', f));
    for (int n : f.n) EXPECT_EQ(n, 0);
    for (double s : f.s) EXPECT_EQ(s, 0.0);
    EXPECT_EQ(log().back().substr(0, 47), "PrintReport(Type=Z,nRep=0,nFD=0,SignFP=0,Sum1=0");
}

TEST_P(Reports, ZAndXReportsAnswerInTheReversedSense) {
    device->replyAlways("0\t1\t");
    EXPECT_FALSE(VERDA::PrintZReport());
    EXPECT_EQ(g_ResultCode, 1);
    EXPECT_TRUE(vr35->PrintXReport());
    device->replyAlways("-7\t");
    EXPECT_TRUE(VERDA::PrintXReport());
    EXPECT_EQ(g_ResultCode, 0);
    EXPECT_EQ(vr35->errorCode, 7);
    EXPECT_EQ(sentData(), (std::vector<std::string>{"Z\t", "X\t", "X\t"}));
    EXPECT_EQ(log()[0], "Start PrintReport();");
}

const std::string kTotals = tabbed({"0", "5", "0.126", "2", "3", "4", "5", "1234567.5", "22.11"});

TEST_P(Reports, TotalsAreLoggedAtTwoDecimals) {
    device->replyAlways(kTotals);
    int n;
    double s[6];
    std::string date;
    EXPECT_TRUE(VERDA::ReportOnTaxRates(n, s[0], s[1], s[2], s[3], s[4], s[5], date));
    EXPECT_EQ(date, "22.11");
    EXPECT_TRUE(VERDA::LatestFiscalRecord('Z', '1', n, s[0], s[1], s[2], s[3], s[4], s[5], date));
    EXPECT_TRUE(VERDA::AmountOfSavingsPerDay('X', n, s[0], s[1], s[2], s[3], s[4], s[5]));
    EXPECT_EQ(n, 5);
    EXPECT_DOUBLE_EQ(s[0], 0.126);
    EXPECT_DOUBLE_EQ(s[5], 1234567.5);
    const auto requests = device->requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[0].command, 0x32u);
    EXPECT_EQ(requests[0].data, "");
    EXPECT_EQ(requests[1].command, 0x40u);
    EXPECT_EQ(requests[1].data, "Z\t1\t");
    EXPECT_EQ(requests[2].command, 0x41u);
    EXPECT_EQ(requests[2].data, "X\t");
    const std::string sums = "Sum1=0.13,Sum2=2.00,Sum3=3.00,Sum4=4.00,Sum5=5.00,Sum6=1234567.50";
    EXPECT_EQ(log(), (std::vector<std::string>{
                         "Start ReportOnTaxRates();",
                         "ReportOnTaxRates(NZreport=5,TaxA=0.13,TaxB=2.00,TaxC=3.00,TaxD=4.00,"
                         "TaxE=5.00,TaxF=1234567.50,EntryDate=22.11);",
                         "Start LatestFiscalRecord();",
                         "LatestFiscalRecord(Type=Z,RecType=1,NRep=5," + sums + ",Date=22.11);",
                         "Start AmountOfSavingsPerDay();",
                         "AmountOfSavingsPerDay(Type=X,NRep=5," + sums + ");"}));
}

TEST_P(Reports, TotalsClearAllButTheLastSum) {
    device->replyAlways("-5\t");
    int n = 9;
    double s[6] = {9, 9, 9, 9, 9, 9};
    std::string date = "old";
    EXPECT_FALSE(VERDA::LatestFiscalRecord('Z', '1', n, s[0], s[1], s[2], s[3], s[4], s[5], date));
    EXPECT_EQ(n, 0);
    EXPECT_EQ(s[4], 0.0);
    EXPECT_EQ(s[5], 9.0);
    EXPECT_EQ(date, "old");
    s[0] = s[4] = n = 9;
    EXPECT_FALSE(VERDA::AmountOfSavingsPerDay('X', n, s[0], s[1], s[2], s[3], s[4], s[5]));
    EXPECT_EQ(n, 0);
    EXPECT_EQ(s[0], 0.0);
    EXPECT_EQ(s[4], 0.0);
    EXPECT_EQ(s[5], 9.0);
    EXPECT_EQ(log().back(),
              "AmountOfSavingsPerDay(Type=X,NRep=0,Sum1=0.00,Sum2=0.00,Sum3=0.00,Sum4=0.00,"
              "Sum5=0.00,Sum6=9.00); ErrorCode: 5");
    EXPECT_FALSE(VERDA::ReportOnTaxRates(n, s[0], s[1], s[2], s[3], s[4], s[5], date));
    EXPECT_EQ(s[5], 0.0);
    EXPECT_EQ(date, "");
}

TEST_P(Reports, ReportsWithoutOutputsSendNegativesAsWritten) {
    checkCommands({
        {"operator report", [] { return VERDA::OperatorReport(1, 2, 'Z'); }, 0x69, "1\t2\tZ\t",
         "Start OperatorReport();", "OperatorReport();"},
        {"operator report, negative", [] { return VERDA::OperatorReport(-1, -2, 'X'); }, 0x69,
         "-1\t-2\tX\t", "Start OperatorReport();", "OperatorReport();"},
        {"article report", [] { return VERDA::ReportByArticle('A', -3, 40); }, 0x6F, "A\t-3\t40\t",
         "Start ReportByArticle();", "ReportByArticle();"},
    });
}

// Pairs of a count and an amount, or amounts alone.
struct Totals {
    int n[7];
    double a[7];
};

struct PairCase {
    std::string name;
    std::function<bool(Totals&)> call;
    unsigned int command;
    std::string data;
    int pairs;    // 0: seven amounts alone
    int cleared;  // outputs set to 0 first, in argument order
};

TEST_P(Reports, DailyTotalsAndOperatorPairs) {
    using T = Totals;
    const PairCase cases[] = {
        {"DailyReportByTypesOfPayment0",
         [](T& t) {
             return VERDA::DailyReportByTypesOfPayment0(t.a[0], t.a[1], t.a[2], t.a[3], t.a[4],
                                                        t.a[5], t.a[6]);
         },
         0x6E, "0\t", 0, 7},
        {"DailyReportByTypesOfPayment1",
         [](T& t) {
             return VERDA::DailyReportByTypesOfPayment1(t.a[0], t.a[1], t.a[2], t.a[3], t.a[4],
                                                        t.a[5], t.a[6]);
         },
         0x6E, "1\t", 0, 7},
        {"DailyReportByTypesOfPayment2",
         [](T& t) { return VERDA::DailyReportByTypesOfPayment2(t.n[0], t.a[0]); }, 0x6E, "2\t", 1,
         2},
        {"DailyReportByTypesOfPayment3",
         [](T& t) {
             return VERDA::DailyReportByTypesOfPayment3(t.n[0], t.a[0], t.n[1], t.a[1], t.n[2],
                                                        t.a[2], t.n[3], t.a[3]);
         },
         0x6E, "3\t", 4, 4},
        {"DailyReportByTypesOfPayment4",
         [](T& t) { return VERDA::DailyReportByTypesOfPayment4(t.n[0], t.a[0], t.n[1], t.a[1]); },
         0x6E, "4\t", 2, 4},
        {"DailyReportByTypesOfPayment5",
         [](T& t) {
             return VERDA::DailyReportByTypesOfPayment5(t.n[0], t.a[0], t.n[1], t.a[1], t.n[2],
                                                        t.a[2], t.n[3], t.a[3]);
         },
         0x6E, "5\t", 4, 8},
        {"ReportByOperators",
         [](T& t) {
             return VERDA::ReportByOperators(3, t.n[0], t.a[0], t.n[1], t.a[1], t.n[2], t.a[2],
                                             t.n[3], t.a[3], t.n[4], t.a[4], t.n[5], t.a[5], t.n[6],
                                             t.a[6]);
         },
         0x70, "3\t", 7, 0},
    };
    const std::string reply = tabbed(
        {"0", "1", "1.5", "2", "2.5", "3", "3.5", "4", "4.5", "5", "5.5", "6", "6.5", "7", "7.5"});
    for (const PairCase& c : cases) {
        SCOPED_TRACE(c.name);
        Totals t;
        device->replyAlways(reply);
        EXPECT_TRUE(c.call(t));
        EXPECT_EQ(device->requests().back().command, c.command);
        EXPECT_EQ(device->requests().back().data, c.data);
        EXPECT_EQ(log().back(), c.name + "();");
        for (int i = 0; i < (c.pairs == 0 ? 7 : c.pairs); ++i) {
            if (c.pairs == 0) {
                EXPECT_DOUBLE_EQ(t.a[i], 1 + 0.5 * i);
            } else {
                EXPECT_EQ(t.n[i], i + 1);
                EXPECT_DOUBLE_EQ(t.a[i], i + 1.5);
            }
        }
        device->replyAlways("-5\t1\t1\t");
        for (int i = 0; i < 7; ++i) {
            t.n[i] = 9;
            t.a[i] = 9;
        }
        EXPECT_FALSE(c.call(t));
        EXPECT_EQ(log().back(), c.name + "(); ErrorCode: 5");
        for (int i = 0; i < 7; ++i) {
            if (c.pairs == 0) {
                EXPECT_EQ(t.a[i], i < c.cleared ? 0.0 : 9.0) << i;
            } else {
                EXPECT_EQ(t.n[i], 2 * i < c.cleared ? 0 : 9) << i;
                EXPECT_EQ(t.a[i], 2 * i + 1 < c.cleared ? 0.0 : 9.0) << i;
            }
        }
    }
}

VERDA_BOTH_TRANSPORTS(Reports);

}  // namespace
