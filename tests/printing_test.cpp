// Service documents, printing and the peripherals, driven through VERDA.
#include <gtest/gtest.h>

#include <string>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/CommandCases.h"

namespace {

class Printing : public CommandTest {};

const std::string kForty(40, 'a');
const std::string kZero(1, '\0');

TEST_P(Printing, CommandsWithoutOutputs) {
    // A Cyrillic А and я (application code page) become 0x80 and 0xEF.
    const std::string text = std::string("\xC0\xFF") + kForty;
    checkCommands({
        {"free text, cut to 32, raw format bytes",
         [&] { return VERDA::PrintFreeTextInServiceInv(text, '1', '\0', 'h', 'u', 'c', 'x'); },
         0x2A, "\x80\xEF" + std::string(30, 'a') + "\t1\t" + kZero + "\th\tu\tc\tx\t",
         "Start PrintFreeTextInServiceInv();",
         "PrintFreeTextInServiceInv(Text=" + text + ",Bold=1,Italic=" + kZero +
             ",DoubleH=h,Underline=u,alignment=c)"},
        {"bar code without option", [] { return VERDA::PrintBarCode('Q', "\xC0x", 0); }, 0x54,
         "Q\t\xC0x\t", "Start PrintBarCode();", "PrintBarCode();"},
        {"bar code, negative option", [] { return VERDA::PrintBarCode('Q', "1", -4); }, 0x54,
         "Q\t1\t", "Start PrintBarCode();", "PrintBarCode();"},
        {"bar code with option", [] { return VERDA::PrintBarCode('Q', "1", 5); }, 0x54, "Q\t1\t5\t",
         "Start PrintBarCode();", "PrintBarCode();"},
        {"divide line", [] { return VERDA::PrintDivideLine('2'); }, 0x5C, "2\t",
         "Start PrintDivideLine();", "PrintDivideLine();"},
        {"stamp", [] { return VERDA::PrintStamp('S', "\xC0z"); }, 0x7F, "S\t\xC0z\t",
         "Start PrintStamp();", "PrintStamp();"},
        {"duplicate", [] { return VERDA::PrintDublicateReceipt(); }, 0x6D, "",
         "Start PrintDublicateReceipt();", "PrintDublicateReceipt();"},
        {"cut", [] { return VERDA::CutPaper(); }, 0x2E, "", "Start CutPaper();", "CutPaper();"},
        {"feed, negative", [] { return VERDA::FeedPaper(-3); }, 0x2C, "-3\t", "Start FeedPaper();",
         "FeedPaper(count=-3);"},
        {"lower line, empty", [] { return VERDA::DisplayLower(""); }, 0x23, "\t",
         "Start DisplayLower();", "DisplayLower(Text=)"},
        {"upper line, unconverted and uncut", [&] { return VERDA::DisplayUpper(text); }, 0x2F,
         text + "\t", "Start DisplayUpper();", "DisplayUpper(Text=" + text + ");"},
        {"display clear", [] { return VERDA::DisplayClear(); }, 0x21, "", "Start GetDateTime();",
         "DisplayClear()"},
        {"drawer 0", [] { return VERDA::OpenCashDrawer(0); }, 0x6A, "\t", "Start OpenCashDrawer();",
         "OpenCashDrawer();"},
        {"drawer -2", [] { return VERDA::OpenCashDrawer(-2); }, 0x6A, "\t",
         "Start OpenCashDrawer();", "OpenCashDrawer();"},
        {"drawer 5", [] { return VERDA::OpenCashDrawer(5); }, 0x6A, "5\t",
         "Start OpenCashDrawer();", "OpenCashDrawer();"},
        {"beep", [] { return VERDA::Beep(440, 0); }, 0x50, "440\t0\t", "Start Beep();",
         "Beep(Hz=440,mSec=0);"},
    });
}

TEST_P(Printing, FreeTextIsWideOnlyOnTheOneModel) {
    device->replyAlways("0\t");
    const struct {
        const char* model;
        size_t bytes;
    } cases[] = {{"", 32}, {"ВЕРДА 700V-Ф", 48}, {"ЛАРН-1000 Ф", 32}, {"ВЕРДА 700V", 32}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        vr35->model = c.model;
        EXPECT_TRUE(
            VERDA::PrintFreeTextInServiceInv(kForty + kForty, 'a', 'b', 'c', 'd', 'e', 'f'));
        EXPECT_EQ(device->requests().back().data,
                  std::string(c.bytes, 'a') + "\ta\tb\tc\td\te\tf\t");
    }
}

TEST_P(Printing, ServiceDocumentSlipNumbers) {
    device->replyAlways("0\t57\t");
    int slip = 9;
    EXPECT_TRUE(VERDA::OpenServiceInv('1', slip));
    EXPECT_EQ(slip, 57);
    EXPECT_TRUE(VERDA::OpenServiceInv('2', slip));  // only "0" and "1" go out
    EXPECT_TRUE(VERDA::OpenServiceInv('\x01', slip));
    EXPECT_TRUE(VERDA::CloseServiceInv(slip));
    const auto requests = device->requests();
    ASSERT_EQ(requests.size(), 4u);
    EXPECT_EQ(requests[0].command, 0x26u);
    EXPECT_EQ(requests[0].data, "1\t");
    EXPECT_EQ(requests[1].data, "");
    EXPECT_EQ(requests[2].data, "");
    EXPECT_EQ(requests[3].command, 0x27u);
    EXPECT_EQ(requests[3].data, "");

    device->replyAlways("-3\t57\t");
    EXPECT_FALSE(VERDA::CloseServiceInv(slip));
    EXPECT_EQ(slip, 0);
    slip = 9;
    EXPECT_FALSE(VERDA::OpenServiceInv('0', slip));
    EXPECT_EQ(slip, 0);
    EXPECT_EQ(g_ResultCode, 3);
    EXPECT_EQ(log(), (std::vector<std::string>{
                         "Start OpenServiceInv();", "OpenServiceInv(Extend=1,SlipNumber=57)",
                         "Start OpenServiceInv();", "OpenServiceInv(Extend=2,SlipNumber=57)",
                         "Start OpenServiceInv();", "OpenServiceInv(Extend=\x01,SlipNumber=57)",
                         "Start CloseServiceInv();", "CloseServiceInv(SlipNumber=57)",
                         "Start CloseServiceInv();", "CloseServiceInv(SlipNumber=0) ErrorCode: 3",
                         "Start OpenServiceInv();",
                         "OpenServiceInv(Extend=0,SlipNumber=0) ErrorCode: 3"}));
}

TEST_P(Printing, EmptyFirstFieldIsMinusOneOnlyForTheStamp) {
    device->replyAlways("\t");
    EXPECT_FALSE(VERDA::PrintStamp('S', "x"));
    EXPECT_EQ(g_ResultCode, -1);
    EXPECT_EQ(log().back(), "PrintStamp(); ErrorCode: -1");
    // Elsewhere an empty field parses to 0, which is success.
    EXPECT_TRUE(VERDA::PrintDivideLine('1'));
    EXPECT_EQ(g_ResultCode, 0);
}

VERDA_BOTH_TRANSPORTS(Printing);

}  // namespace
