// The operations whose whole rule is their table: command, request bytes, the
// outputs taken from a reply, and the two log lines.
#include <gtest/gtest.h>

#include <functional>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"

namespace {

class SimpleOperations : public DriverTest {};

struct Row {
    std::function<bool()> call;
    unsigned int command;
    std::string request;
    std::string reply;
    std::string closing;  // the start line names the same operation
};

TEST_P(SimpleOperations, SendTheirRequestReadTheReplyAndLog) {
    bool open = false, day = true;
    int shiftTime = 0, number = 0, items = 0, changes = 0, slip = 0, fd = 0, doc = -1, shift = -1;
    char isOpen = 0;
    double amount = 0, paid = 0, cashSum = 0, cashIn = 0, cashOut = -1;
    std::string text, code, answer, sign, f[6], groupText, depText, stamp, image;
    char depChar = 0;
    int n[3] = {-1, 0, 0}, groupNumber = 0;
    long depNumber = 0;
    double v[6] = {}, groupAmount = 0, depAmount = 0, depAmount2 = 9;
    const std::string letters40(40, 'a');
    const Row rows[] = {
        {[&] { return VERDA::GetStatusShift(open, day, shiftTime); }, 0x4B, "", "0\t1\t2\t15\t",
         "GetStatusShift(ShiftIsOpen=1,Shift24h=0,ShiftTime=15);"},
        {[&] { return VERDA::FiscalTransactionsStatus(isOpen, number, items, amount, paid); }, 0x4C,
         "", "0\tYes\t12\t3\t150.5\t200.00\t",
         "FiscalTransactionsStatus(IsOpen=Y,Number=12,Items=3,Amount=150.5,Paid=200);"},
        {[&] { return VERDA::GetDateTime(text); }, 0x3E, "", "0\t22.11.26 10:00\t",
         "GetDateTime(DateTime=22.11.26 10:00);"},
        {[&] { return VERDA::SetDateTime(""); }, 0x3D, "\t", "0\t", "SetDateTime(DateTime=);"},
        {[&] { return VERDA::PrintDiagnostic('A'); }, 0x47, "A\t", "0\t",
         "PrintDiagnostic(InfoType=A);"},
        {[&] { return VERDA::InfoByCurrentInv(v[0], v[1], v[2], v[3], v[4], v[5]); }, 0x67, "",
         "0\t1\t2\t3\t4\t5\t6.5\t", "InfoByCurrentInv();"},
        // The first field of these is data, so an error code in it is no error.
        {[&] { return VERDA::ReadDeviceInfo1(f[0], f[1], f[2], f[3], f[4]); }, 0x7B, "1\t",
         "-5\tb\tc\td\te\t", "ReadDeviceInfo1();"},
        {[&] { return VERDA::ReadDeviceInfo2(f[0], f[1], f[2], f[3], f[4]); }, 0x7B, "2\t",
         "-5\tb\tc\td\te\t", "ReadDeviceInfo2();"},
        {[&] { return VERDA::ReadDeviceInfo3(n[0], f[1], n[1], f[3], n[2], f[5]); }, 0x7B, "3\t",
         "x\tb\t7\td\t-9\tf\t", "ReadDeviceInfo3();"},
        {[&] { return VERDA::GetTradingGroupInfo(5, groupNumber, groupAmount, groupText); }, 0x57,
         "5\t", "0\t3\t2.5\tgroup\xE0\t", "GetTradingGroupInfo();"},
        {[&] {
             return VERDA::GetDepInfoInCheck(-2, depChar, depAmount, depNumber, depAmount2,
                                             depText);
         },
         0x58, "-2\t", "0\tDX\t1.25\t-4\t\tdep\t", "GetDepInfoInCheck();"},
        {[&] { return VERDA::UploadStamp("STAMP", stamp); }, 0xCB, "STAMP\t", "0\tstamp\t",
         "UploadStamp();"},
        {[&] { return VERDA::UploadImage("IMG", image); }, 0xCA, "IMG\t", "0\timage\t",
         "UploadImage();"},
        {[&] { return VERDA::SetServiceParam("T", "V", "P3", code, answer); }, 0xFD, "T\tV\tP3\t",
         "0\tC\tA\t", "SetServiceParam(Type=T,Value=V,Code=C,Answer=A);"},
        {[&] { return VERDA::SetTaxRates(18, 10, 0, 0, 0.125, 99.999, '\xAE', changes); }, 0x53,
         "18.00\t10.00\t0.00\t0.00\t0.12\t100.00\t\xAE\t", "0\t7\t",
         "SetTaxRates(Tax1=18, Tax2=10, Tax3=0, Tax4=0, Tax5=0.125, Tax6=99.999, Point='\xAE' "
         "(-82), RemainingChanges=7);"},
        {[&] { return VERDA::SetOperatorPassword("1", "secret", "x"); }, 0x65, "1\tsecret\tx\t",
         "0\t", "SetOperatorPassword();"},
        {[&] { return VERDA::PowerOff(); }, 0xCA, "POWEROFF\t", "0\t", "PowerOff();"},
        {[&] { return VERDA::Restart(); }, 0xCA, "RESTART\t", "0\t", "PowerOff();"},
        {[&] { return VERDA::CheckUpdate(); }, 0xC8, "", "0\t", "CheckUpdate();"},
        {[&] { return vr35->TotalCorrecion(3, 100, 18, 10, 0, 0, 0.5, 1) == 0; }, 0x34,
         "3\t100.00\t18.00\t10.00\t0.00\t0.00\t0.50\t1.00\t", "0\t",
         "TotalCorrecion(PaidMode=3,Amount_TL=100.00, Tax_18=18.00, Tax_10=10.00, Corr_0=0.00, "
         "Corr_noNDS=0.00, Tax_18_118=0.50, Tax_10_110=1.00);"},
        {[&] { return VERDA::ParishOrConsumption('1', 100.5, cashSum, cashIn, cashOut); }, 0x46,
         "1\t100.50\t", "0\t1000.25\t300.10\t\t",
         "ParishOrConsumption(Type=1,Amount=100.5,CashSum=1000.25,CashIn=300.1,CashOut=0);"},
        {[&] { return VERDA::CancelFiscalInv(slip); }, 0x3C, "", "0\t77\t",
         "CancelFiscalInv(SlipNumber=77);"},
        // A device that leaves out the last two fields.
        {[&] { return VERDA::CloseFiscalInv(slip, fd, sign, doc, shift); }, 0x38, "",
         "0\t5\t6\tABC\t", "CloseFiscalInv(SlipNumber=5,nFD=6,SignFP=ABC,nDoc=0,nShift=0);"},
        {[&] { return VERDA::CloseFiscalInv(slip, fd, sign, doc, shift); }, 0x38, "",
         "0\t5\t6\t\t8\t9\t", "CloseFiscalInv(SlipNumber=5,nFD=6,SignFP=,nDoc=8,nShift=9);"},
        {[&] { return VERDA::SetFiscalInvParam(0, std::string(20, 'x')); }, 0x39,
         "0\t" + std::string(16, 'x') + "\t", "0\t",
         "SetFiscalInvParam(Type=0,Data=" + std::string(20, 'x') + ")"},
        {[&] { return VERDA::SetFiscalInvParam(1, std::string(100, '\t')); }, 0x39,
         "1\t" + std::string(64, '\t') + "\t", "0\t",
         "SetFiscalInvParam(Type=1,Data=" + std::string(100, '\t') + ")"},
        // The digit is a number by its code, and its text is converted and cut.
        {[&] { return VERDA::SetFiscalInvParam('2', std::string(200, '\xC0')); }, 0x39,
         "50\t" + std::string(128, '\x80') + "\t", "0\t",
         "SetFiscalInvParam(Type=50,Data=" + std::string(200, '\xC0') + ")"},
        {[&] { return VERDA::SetFiscalInvParam('\xFF', "\x1F"); }, 0x39, "-1\t?\t", "0\t",
         "SetFiscalInvParam(Type=-1,Data=\x1F)"},
        // The format bytes are the caller's bytes, a zero byte too.
        {[&] { return VERDA::PrintFreeTextInFiscalInv(letters40, '1', 1, 0, 'u', 'c', 'e'); }, 0x36,
         std::string(32, 'a') + std::string("\t1\t\x01\t\0\tu\tc\te\t", 13), "0\t",
         "PrintFreeTextInFiscalInv(Text=" + letters40 + ");"},
        {[&] { return VERDA::RegisterArticleSale(12, 1.5, '0', 5, slip); }, 0x3A,
         "12\t1.500\t0\t", "0\t9\t",
         "RegisterArticleSale(PluCode=12,Quantity=1.500,DiscountType=0,DiscountValue=5.00,"
         "SlipNumber=9);"},
        {[&] { return VERDA::RegisterArticleSale(12, 2, '1', 0, slip); }, 0x3A,
         "12\t2.000\t1\t0.00\t", "0\t10\t",
         "RegisterArticleSale(PluCode=12,Quantity=2.000,DiscountType=1,DiscountValue=0.00,"
         "SlipNumber=10);"},
    };
    for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
        const Row& row = rows[i];
        SCOPED_TRACE(row.closing);
        device->replyAlways(row.reply);
        EXPECT_TRUE(row.call());
        EXPECT_EQ(g_ResultCode, 0);
        const auto requests = sent();
        ASSERT_EQ(requests.size(), i + 1);
        EXPECT_EQ(requests.back(), Sent(row.command, row.request));
        const auto lines = log();
        ASSERT_EQ(lines.size(), 2 * (i + 1));
        EXPECT_EQ(lines[2 * i], "Start " + row.closing.substr(0, row.closing.find('(')) + "();");
        EXPECT_EQ(lines[2 * i + 1], row.closing);
    }
    // Outputs the lines above do not show.
    EXPECT_EQ(number, 12);
    EXPECT_DOUBLE_EQ(paid, 200.0);
    EXPECT_DOUBLE_EQ(v[0] + v[5], 7.5);
    EXPECT_EQ(f[0] + f[1] + f[2] + f[3] + f[4] + f[5], "-5bcdef");
    EXPECT_EQ(n[0], 0);  // "x" does not parse
    EXPECT_EQ(n[1] * 10 + n[2], 70 - 9);
    EXPECT_EQ(groupNumber, 3);
    EXPECT_DOUBLE_EQ(groupAmount, 2.5);
    EXPECT_EQ(groupText, "group\xE0");  // device bytes as they came
    EXPECT_EQ(depChar, 'D');
    EXPECT_DOUBLE_EQ(depAmount - depAmount2, 1.25);  // an empty amount field is 0
    EXPECT_EQ(depNumber, -4);
    EXPECT_EQ(depText + stamp + image, "depstampimage");
    EXPECT_EQ(slip, 10);
}

VERDA_BOTH_TRANSPORTS(SimpleOperations);

}  // namespace
