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
    const std::string text = "\xC0\xFF" + kForty;  // А and я become 0x80 and 0xEF
    checkCommands({
        {[&] { return VERDA::PrintFreeTextInServiceInv(text, '1', '\0', 'h', 'u', 'c', 'x'); },
         {0x2A, "\x80\xEF" + std::string(30, 'a') + "\t1\t" + kZero + "\th\tu\tc\tx\t"},
         "Start PrintFreeTextInServiceInv();",
         "PrintFreeTextInServiceInv(Text=" + text + ",Bold=1,Italic=" + kZero +
             ",DoubleH=h,Underline=u,alignment=c)"},
        {[] { return VERDA::PrintBarCode('Q', "\xC0x", 0); },
         {0x54, "Q\t\xC0x\t"},
         "Start PrintBarCode();",
         "PrintBarCode();"},
        {[] { return VERDA::PrintBarCode('Q', "1", 5); },
         {0x54, "Q\t1\t5\t"},
         "Start PrintBarCode();",
         "PrintBarCode();"},
        {[] { return VERDA::PrintDivideLine('2'); },
         {0x5C, "2\t"},
         "Start PrintDivideLine();",
         "PrintDivideLine();"},
        {[] { return VERDA::PrintStamp('S', "\xC0z"); },
         {0x7F, "S\t\xC0z\t"},
         "Start PrintStamp();",
         "PrintStamp();"},
        {[] { return VERDA::PrintDublicateReceipt(); },
         {0x6D, ""},
         "Start PrintDublicateReceipt();",
         "PrintDublicateReceipt();"},
        {[] { return VERDA::CutPaper(); }, {0x2E, ""}, "Start CutPaper();", "CutPaper();"},
        {[] { return VERDA::FeedPaper(-3); },
         {0x2C, "-3\t"},
         "Start FeedPaper();",
         "FeedPaper(count=-3);"},
        {[] { return VERDA::DisplayLower(""); },
         {0x23, "\t"},
         "Start DisplayLower();",
         "DisplayLower(Text=)"},
        {[&] { return VERDA::DisplayUpper(text); },
         {0x2F, text + "\t"},
         "Start DisplayUpper();",
         "DisplayUpper(Text=" + text + ");"},
        {[] { return VERDA::DisplayClear(); },
         {0x21, ""},
         "Start GetDateTime();",
         "DisplayClear()"},
        {[] { return VERDA::OpenCashDrawer(0); },
         {0x6A, "\t"},
         "Start OpenCashDrawer();",
         "OpenCashDrawer();"},
        {[] { return VERDA::OpenCashDrawer(5); },
         {0x6A, "5\t"},
         "Start OpenCashDrawer();",
         "OpenCashDrawer();"},
        {[] { return VERDA::Beep(440, 0); },
         {0x50, "440\t0\t"},
         "Start Beep();",
         "Beep(Hz=440,mSec=0);"},
    });
}

TEST_P(Printing, FreeTextIsWideOnlyOnTheOneModel) {
    device->replyAlways("0\t");
    for (const std::string model : {"", "ВЕРДА 700V-Ф", "ЛАРН-1000 Ф"}) {
        vr35->model = model;
        EXPECT_TRUE(
            VERDA::PrintFreeTextInServiceInv(kForty + kForty, 'a', 'b', 'c', 'd', 'e', 'f'));
        EXPECT_EQ(lastSent().second,
                  std::string(model == "ВЕРДА 700V-Ф" ? 48 : 32, 'a') + "\ta\tb\tc\td\te\tf\t")
            << model;
    }
}

TEST_P(Printing, ServiceDocumentSlipNumbers) {
    int slip = 9;
    device->replyAlways("0\t57\t");
    EXPECT_TRUE(VERDA::OpenServiceInv('1', slip));
    EXPECT_EQ(slip, 57);
    EXPECT_TRUE(VERDA::OpenServiceInv('\x01', slip));  // only "0" and "1" go out
    device->replyAlways("-3\t57\t");
    EXPECT_FALSE(VERDA::CloseServiceInv(slip));
    EXPECT_EQ(slip, 0);
    slip = 9;
    EXPECT_FALSE(VERDA::OpenServiceInv('0', slip));
    EXPECT_EQ(slip, 0);
    EXPECT_EQ(sent(), (std::vector<Sent>{{0x26, "1\t"}, {0x26, ""}, {0x27, ""}, {0x26, "0\t"}}));
    EXPECT_EQ(log(), (Lines{"Start OpenServiceInv();", "OpenServiceInv(Extend=1,SlipNumber=57)",
                            "Start OpenServiceInv();", "OpenServiceInv(Extend=\x01,SlipNumber=57)",
                            "Start CloseServiceInv();",
                            "CloseServiceInv(SlipNumber=0) ErrorCode: 3", "Start OpenServiceInv();",
                            "OpenServiceInv(Extend=0,SlipNumber=0) ErrorCode: 3"}));
}

TEST_P(Printing, EmptyFirstFieldIsMinusOneOnlyForTheStamp) {
    device->replyAlways("\t");
    EXPECT_FALSE(VERDA::PrintStamp('S', "x"));
    EXPECT_EQ(g_ResultCode, -1);
    EXPECT_EQ(log().back(), "PrintStamp(); ErrorCode: -1");
    EXPECT_TRUE(VERDA::PrintDivideLine('1'));  // elsewhere the empty field parses to 0
}

VERDA_BOTH_TRANSPORTS(Printing);

}  // namespace
