// Shift reports and daily totals, driven through VERDA.
#include <gtest/gtest.h>

#include <algorithm>
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
    EXPECT_EQ(lastSent(), Sent(0x45, "Q\t"));
    EXPECT_EQ(f.n[2], 6789);
    EXPECT_DOUBLE_EQ(f.s[5], 1234567.5);
    EXPECT_DOUBLE_EQ(f.s[23], -1.25);
    EXPECT_EQ(log().back(),
              "PrintReport(Type=Q,nRep=12,nFD=345,SignFP=6789,Sum1=1.125,Sum2=2,Sum3=3,Sum4=4,"
              "Sum5=5,Sum6=1.23457e+06,Ret1=0.5,Ret2=0.5,Ret3=0.5,Ret4=0.5,Ret5=0.5,Ret6=0.5,"
              "Purch1=7,Purch2=7,Purch3=7,Purch4=7,Purch5=7,Purch6=7,RetPurch1=-1.25,"
              "RetPurch2=-1.25,RetPurch3=-1.25,RetPurch4=-1.25,RetPurch5=-1.25,RetPurch6=-1.25);");
    device->replyAlways("-2\t1\t1\t1\t");
    for (double& s : f.s) s = 9;
    f.n[0] = 9;
    EXPECT_FALSE(printReport('Z', f));  // every figure cleared, the last group too
    EXPECT_EQ(f.n[0], 0);
    for (double s : f.s) EXPECT_EQ(s, 0.0);
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
    EXPECT_EQ(sent(), (std::vector<Sent>{{0x45, "Z\t"}, {0x45, "X\t"}, {0x45, "X\t"}}));
    EXPECT_EQ(log()[0], "Start PrintReport();");
}

TEST_P(Reports, TotalsAtTwoDecimalsAndTheLastSumUncleared) {
    device->replyAlways(tabbed({"0", "5", "0.126", "2", "3", "4", "5", "1234567.5", "22.11"}));
    int n;
    double s[6];
    std::string date;
    EXPECT_TRUE(VERDA::ReportOnTaxRates(n, s[0], s[1], s[2], s[3], s[4], s[5], date));
    EXPECT_TRUE(VERDA::LatestFiscalRecord('Z', '1', n, s[0], s[1], s[2], s[3], s[4], s[5], date));
    EXPECT_TRUE(VERDA::AmountOfSavingsPerDay('X', n, s[0], s[1], s[2], s[3], s[4], s[5]));
    EXPECT_EQ(sent(), (std::vector<Sent>{{0x32, ""}, {0x40, "Z\t1\t"}, {0x41, "X\t"}}));
    const std::string sums = "Sum1=0.13,Sum2=2.00,Sum3=3.00,Sum4=4.00,Sum5=5.00,Sum6=1234567.50";
    EXPECT_EQ(log(), (Lines{"Start ReportOnTaxRates();",
                            "ReportOnTaxRates(NZreport=5,TaxA=0.13,TaxB=2.00,TaxC=3.00,TaxD=4.00,"
                            "TaxE=5.00,TaxF=1234567.50,EntryDate=22.11);",
                            "Start LatestFiscalRecord();",
                            "LatestFiscalRecord(Type=Z,RecType=1,NRep=5," + sums + ",Date=22.11);",
                            "Start AmountOfSavingsPerDay();",
                            "AmountOfSavingsPerDay(Type=X,NRep=5," + sums + ");"}));

    device->replyAlways("-5\t");
    EXPECT_FALSE(VERDA::LatestFiscalRecord('Z', '1', n, s[0], s[1], s[2], s[3], s[4], s[5], date));
    EXPECT_EQ(log().back(),
              "LatestFiscalRecord(Type=Z,RecType=1,NRep=0,Sum1=0.00,Sum2=0.00,"
              "Sum3=0.00,Sum4=0.00,Sum5=0.00,Sum6=1234567.50,Date=22.11); ErrorCode: 5");
    s[0] = 9;
    EXPECT_FALSE(VERDA::AmountOfSavingsPerDay('X', n, s[0], s[1], s[2], s[3], s[4], s[5]));
    EXPECT_EQ(s[0], 0.0);
    EXPECT_EQ(s[5], 1234567.5);
    EXPECT_FALSE(VERDA::ReportOnTaxRates(n, s[0], s[1], s[2], s[3], s[4], s[5], date));
    EXPECT_EQ(s[5], 0.0);
    EXPECT_EQ(date, "");
}

TEST_P(Reports, ReportsWithoutOutputsSendNegativesAsWritten) {
    checkCommands({{[] { return VERDA::OperatorReport(1, -2, 'Z'); },
                    {0x69, "1\t-2\tZ\t"},
                    "Start OperatorReport();",
                    "OperatorReport();"},
                   {[] { return VERDA::ReportByArticle('A', -3, 40); },
                    {0x6F, "A\t-3\t40\t"},
                    "Start ReportByArticle();",
                    "ReportByArticle();"}});
}

// Counts and amounts in pairs, or amounts alone.
struct Totals {
    int n[7];
    double a[7];
};
#define PAIR(i) t.n[i], t.a[i]
#define SEVEN t.a[0], t.a[1], t.a[2], t.a[3], t.a[4], t.a[5], t.a[6]

TEST_P(Reports, DailyTotalsAndOperatorPairs) {
    using namespace VERDA;
    using T = Totals;
    const struct {
        std::function<bool(T&)> call;
        std::string name;
        Sent request;
        int pairs;    // 0: seven amounts alone
        int cleared;  // outputs set to 0 first, in argument order
    } cases[] = {
        // clang-format off
        {[](T& t) { return DailyReportByTypesOfPayment0(SEVEN); },
         "DailyReportByTypesOfPayment0", {0x6E, "0\t"}, 0, 7},
        {[](T& t) { return DailyReportByTypesOfPayment1(SEVEN); },
         "DailyReportByTypesOfPayment1", {0x6E, "1\t"}, 0, 7},
        {[](T& t) { return DailyReportByTypesOfPayment2(PAIR(0)); },
         "DailyReportByTypesOfPayment2", {0x6E, "2\t"}, 1, 2},
        {[](T& t) { return DailyReportByTypesOfPayment3(PAIR(0), PAIR(1), PAIR(2), PAIR(3)); },
         "DailyReportByTypesOfPayment3", {0x6E, "3\t"}, 4, 4},
        {[](T& t) { return DailyReportByTypesOfPayment4(PAIR(0), PAIR(1)); },
         "DailyReportByTypesOfPayment4", {0x6E, "4\t"}, 2, 4},
        {[](T& t) { return DailyReportByTypesOfPayment5(PAIR(0), PAIR(1), PAIR(2), PAIR(3)); },
         "DailyReportByTypesOfPayment5", {0x6E, "5\t"}, 4, 8},
        {[](T& t) { return ReportByOperators(3, PAIR(0), PAIR(1), PAIR(2), PAIR(3), PAIR(4),
                                             PAIR(5), PAIR(6)); },
         "ReportByOperators", {0x70, "3\t"}, 7, 0},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Totals t;
        device->replyAlways(tabbed({"0", "1", "1.5", "2", "2.5", "3", "3.5", "4", "4.5", "5", "5.5",
                                    "6", "6.5", "7", "7.5"}));
        EXPECT_TRUE(c.call(t));
        EXPECT_EQ(lastSent(), c.request);
        EXPECT_EQ(log().back(), c.name + "();");
        for (int i = 0; i < (c.pairs == 0 ? 7 : c.pairs); ++i) {
            EXPECT_DOUBLE_EQ(t.a[i], c.pairs == 0 ? 1 + 0.5 * i : i + 1.5);
            if (c.pairs != 0) {
                EXPECT_EQ(t.n[i], i + 1);
            }
        }
        device->replyAlways("-5\t1\t1\t");
        std::fill(t.n, t.n + 7, 9);
        std::fill(t.a, t.a + 7, 9.0);
        EXPECT_FALSE(c.call(t));
        EXPECT_EQ(log().back(), c.name + "(); ErrorCode: 5");
        for (int i = 0; i < 7; ++i) {
            const int output = c.pairs == 0 ? i : 2 * i + 1;  // the amount's place in order
            EXPECT_EQ(t.a[i], output < c.cleared ? 0.0 : 9.0) << i;
            if (c.pairs != 0) {
                EXPECT_EQ(t.n[i], output - 1 < c.cleared ? 0 : 9) << i;
            }
        }
    }
}

VERDA_BOTH_TRANSPORTS(Reports);

}  // namespace
