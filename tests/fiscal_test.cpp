// Fiscal memory, fiscalization, the fiscal drive and the data operator,
// driven through VERDA.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/CommandCases.h"

namespace {

class Fiscal : public CommandTest {};

TEST_P(Fiscal, CommandsWithoutOutputs) {
    checkCommands({
        {[] { return VERDA::Fiscalization("", "", "", ""); },
         {0x48, "\t\t\t\t"},
         "Start Fiscalization();",
         "Fiscalization(SerialNumber=,TAXnumber=,REGnumber=,InspPssword=);"},
        {[] { return VERDA::Fiscalization("SN1", "7701", "R9", "pw"); },
         {0x48, "SN1\t7701\tR9\tpw\t"},
         "Start Fiscalization();",
         "Fiscalization(SerialNumber=SN1,TAXnumber=7701,REGnumber=R9,InspPssword=pw);"},
        {[] { return VERDA::SetTAXNumber(std::string(300, '7')); },
         {0x62, std::string(300, '7') + "\t"},
         "Start SetTAXNumber();",
         "SetTAXNumber();"},
    });
}

TEST_P(Fiscal, TextOutputsAreReadOrLeftAsTheCallerPassedThem) {
    using namespace VERDA;
    using S = std::string;
    const struct {
        std::function<bool(S&)> call;
        Sent request;
        std::string close;  // before the output's value, when it is logged
        bool logged;
    } cases[] = {
        // clang-format off
        {[](S& t) { return GetTAXNumber(t); }, {0x63, ""}, "GetTAXNumber();", false},
        {[](S& t) { return SetManufacturersSerialNumber("S7", t); }, {0x5B, "S7\t"},
         "SetManufacturersSerialNumber(Serial=S7);", false},
        {[](S& t) { return FiscalReportByDate('D', "", "", t); }, {0x5E, "D\t\t\t"},
         "FiscalReportByDate();", false},
        {[](S& t) { return FiscalReportByNumber('Z', -1, 10, t); }, {0x5F, "Z\t"},
         "FiscalReportByNumber(Type=Z,TextData=", true},
        {[](S& t) { return FiscalReportByNumber('Z', 10, -1, t); }, {0x5F, "Z\t"},
         "FiscalReportByNumber(Type=Z,TextData=", true},
        {[](S& t) { return FiscalReportByNumber('Z', 0, 0, t); }, {0x5F, "Z\t0\t0\t"},
         "FiscalReportByNumber(Type=Z,TextData=", true},
        {[](S& t) { return ReadFiscalMemoryBlock(-1, -2, t); }, {0x70, "0\t-1\t-2\t"},
         "ReadFiscalMemoryBlock();", false},
        {[](S& t) { return DateOfLastEntryByFiscalMemory(t); }, {0x56, ""},
         "DateOfLastEntryByFiscalMemory();", false},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.close + " <- " + c.request.second);
        std::string text = "old";
        device->replyAlways("0\t\xC0\x80 x\tmore\t");
        EXPECT_TRUE(c.call(text));
        EXPECT_EQ(text, "\xC0\x80 x");  // no code page either way
        EXPECT_EQ(lastSent(), c.request);
        EXPECT_EQ(log().back(), c.logged ? c.close + text + ");" : c.close);
        device->replyAlways("-5\tnew\t");
        EXPECT_FALSE(c.call(text = "old"));
        EXPECT_EQ(text, "old");
        EXPECT_EQ(log().back(), (c.logged ? c.close + "old);" : c.close) + " ErrorCode: 5");
    }
}

TEST_P(Fiscal, MemoryCounters) {
    device->replyAlways("0\t42\t");
    int records = 9, free = 9;
    EXPECT_TRUE(VERDA::TestFiscalMemory('1', records));
    EXPECT_TRUE(VERDA::FreeFieldsByFiscalMemory(free));
    EXPECT_EQ(records + free, 84);
    device->replyAlways("-5\t42\t");
    records = free = 9;
    EXPECT_FALSE(VERDA::TestFiscalMemory('0', records));
    EXPECT_FALSE(VERDA::FreeFieldsByFiscalMemory(free));
    EXPECT_EQ(records, 0);  // cleared first
    EXPECT_EQ(free, 9);
    EXPECT_EQ(sent(), (std::vector<Sent>{{0x59, "1\t"}, {0x44, ""}, {0x59, "0\t"}, {0x44, ""}}));
    const Lines lines = log();
    EXPECT_EQ(lines[1], "TestFiscalMemory(Write = 1, Records = 42);");
    EXPECT_EQ(lines[3], "FreeFieldsByFiscalMemory();");
    EXPECT_EQ(lines[5], "TestFiscalMemory(Write = 0, Records = 0); ErrorCode: 5");
}

TEST_P(Fiscal, DriveStateIsCopiedAndKeptOnFailure) {
    std::string t[7];
    int n[4];
    auto state = [&] {
        return VERDA::GetStateFN('A', t[0], t[1], t[2], t[3], t[4], t[5], t[6], n[0], n[1], n[2],
                                 n[3]);
    };
    device->replyAlways(tabbed({"0", "v1.0", "99", "any phase", "1", "0x05", "2027-01-01", "29",
                                "15", "120", "4567", "4560"}));
    EXPECT_TRUE(state());
    EXPECT_EQ(lastSent(), Sent(0x47, "A\t"));
    EXPECT_EQ(n[3], 4560);
    const std::string line =
        "GetStateFN(Version=v1.0,Number=99,Phase=any phase,ShiftStatus=1,WarningFlags=0x05,"
        "DateDeadline=2027-01-01,RegLeft=29,ShiftNumber=15,ReceiptsCount=120,LastDocIssued=4567,"
        "FirsDocUnsent=4560);";
    EXPECT_EQ(log().back(), line);
    device->replyAlways("-5\t");
    EXPECT_FALSE(state());
    EXPECT_EQ(log().back(), line + " ErrorCode: 5");  // nothing cleared
}

TEST_P(Fiscal, OperatorQueueFlagsAndClearing) {
    bool shift = false, end = true;
    int n[4];
    std::string date;
    auto status = [&] {
        return VERDA::GetOFDandFNStatus(shift, end, n[0], n[1], n[2], n[3], date);
    };
    device->replyAlways(tabbed({"0", "1", "0", "15", "4567", "7", "4560", "2026-11-22 10:00"}));
    EXPECT_TRUE(status());
    EXPECT_EQ(lastSent(), Sent(0x4D, ""));
    EXPECT_EQ(log().back(),
              "GetOFDandFNStatus(StatusShift=1,End24hours=0,ShiftNumber=15,DocNumber=4567,"
              "UnsendDocCount=7,FirstUnsent=4560,DateTimeUnsent=2026-11-22 10:00);");
    device->replyAlways(tabbed({"0", "yes", "11"}));
    EXPECT_TRUE(status());
    EXPECT_FALSE(shift || end);  // only the text "1" is true
    shift = end = true;
    device->replyAlways("-5\t1\t1\t");
    EXPECT_FALSE(status());
    EXPECT_EQ(log().back(),
              "GetOFDandFNStatus(StatusShift=0,End24hours=0,ShiftNumber=0,DocNumber=0,"
              "UnsendDocCount=0,FirstUnsent=0,DateTimeUnsent=); ErrorCode: 5");
}

TEST_P(Fiscal, RegistrationNumbersOnlyForTheirTypes) {
    const std::string numbers = "0\t77\t12345\t";
    const struct {
        char type;
        std::string reply, data;
        int result, nFD, SignFP;
    } cases[] = {
        {31, numbers, "31\tpw\t", 0, 77, 12345},
        {1, numbers, "1\tpw\t", 0, 77, 12345},
        {4, numbers, "4\tpw\t", 0, 77, 12345},
        {5, numbers, "5\tpw\t", 0, 0, 0},
        {0, numbers, "0\tpw\t", 0, 0, 0},
        {'1', numbers, "49\tpw\t", 0, 0, 0},
        {'\xFF', numbers, "-1\tpw\t", 0, 0, 0},
        {31, "\t77\t12345\t", "31\tpw\t", -1, 0, 0},
        {31, "-8\t77\t12345\t", "31\tpw\t", 8, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.data + c.reply);
        device->replyAlways(c.reply);
        int nFD = 9, SignFP = 9;
        EXPECT_EQ(VERDA::ChangeOFDRegistration(c.type, "pw", nFD, SignFP), c.result == 0);
        EXPECT_EQ(g_ResultCode, c.result);
        EXPECT_EQ(nFD, c.nFD);
        EXPECT_EQ(SignFP, c.SignFP);
        EXPECT_EQ(lastSent(), Sent(0x90, c.data));
    }
    const Lines lines = log();
    EXPECT_EQ(lines[1],
              "ChangeOFDRegistration(OperationType=31,InspPssword=pw,nFD=77,SignFP=12345);");
    EXPECT_EQ(
        lines[15],
        "ChangeOFDRegistration(OperationType=31,InspPssword=pw,nFD=0,SignFP=0); ErrorCode: -1");
}

VERDA_BOTH_TRANSPORTS(Fiscal);

}  // namespace
