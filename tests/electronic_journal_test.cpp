// The electronic journal, driven through VERDA.
#include <gtest/gtest.h>

#include <string>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/CommandCases.h"

namespace {

class Journal : public CommandTest {};

TEST_P(Journal, SearchByDate) {
    std::string text1 = "a", text2 = "b";
    int number1 = 1, number2 = 2;
    device->replyAlways(tabbed({"0", "first", "second", "3", "-4"}));
    EXPECT_TRUE(VERDA::GetDocInEJByDate("", "", 'T', text1, text2, number1, number2));
    EXPECT_EQ(lastSent(), Sent(0x7C, "\t\tT\t"));
    EXPECT_EQ(text1 + "/" + text2, "first/second");
    EXPECT_EQ(number2, -4);
    device->replyAlways("-5\tx\ty\t8\t9\t");
    EXPECT_FALSE(VERDA::GetDocInEJByDate("1.1", "2.1", 'T', text1, text2, number1, number2));
    EXPECT_EQ(lastSent(), Sent(0x7C, "1.1\t2.1\tT\t"));
    EXPECT_EQ(text1 + "/" + text2, "first/second");
    EXPECT_EQ(number1, 3);
    EXPECT_EQ(log(), (Lines{"Start GetDocInEJByDate();", "GetDocInEJByDate();",
                            "Start GetDocInEJByDate();", "GetDocInEJByDate(); ErrorCode: 5"}));
}

TEST_P(Journal, EntryInfoAndItsFlag) {
    int value1 = 0, value2 = 0, value3 = 0;
    std::string text;
    char flag = 'x';
    auto info = [&](int number) {
        return VERDA::GetInfoFromEJ0(number, 'A', value1, value2, text, flag, value3);
    };
    device->replyAlways(tabbed({"0", "1", "2", "text", "Fz", "3"}));
    EXPECT_TRUE(info(-12));
    EXPECT_EQ(lastSent(), Sent(0x7D, "0\t-12\tA\t"));
    EXPECT_EQ(value1 + value2 * 10 + value3 * 100, 321);
    EXPECT_EQ(text + flag, "textF");
    EXPECT_EQ(log().back(), "GetInfoFromEJ0();");
    device->replyAlways(tabbed({"0", "1", "2", "text", "", "3"}));
    EXPECT_TRUE(info(1));
    EXPECT_EQ(flag, '\0');
    device->replyAlways("-5\t7\t7\t7\tG\t7\t");
    EXPECT_FALSE(info(1));
    EXPECT_EQ(flag, '\0');
    EXPECT_EQ(value3, 3);
}

TEST_P(Journal, OnlySubCodeOneConvertsItsText) {
    std::string one = "old", two = "old";
    device->replyAlways("0\t\x80z\t");
    EXPECT_TRUE(VERDA::GetInfoFromEJ1(one));
    EXPECT_TRUE(VERDA::GetInfoFromEJ2(two));
    EXPECT_EQ(one + two, "\x90z\x80z");
    device->replyAlways("-5\t\x80z\t");
    one = two = "old";
    EXPECT_FALSE(VERDA::GetInfoFromEJ1(one));
    EXPECT_FALSE(VERDA::GetInfoFromEJ2(two));
    EXPECT_EQ(one + two, "oldold");
    EXPECT_EQ(sent(),
              (std::vector<Sent>{{0x7D, "1\t"}, {0x7D, "2\t"}, {0x7D, "1\t"}, {0x7D, "2\t"}}));
    EXPECT_EQ(log(), (Lines{"Start GetInfoFromEJ1();", "GetInfoFromEJ1();",
                            "Start GetInfoFromEJ2();", "GetInfoFromEJ2();",
                            "Start GetInfoFromEJ1();", "GetInfoFromEJ1(); ErrorCode: 5",
                            "Start GetInfoFromEJ2();", "GetInfoFromEJ2(); ErrorCode: 5"}));
}

TEST_P(Journal, SubCodeThreeReadsOnlyTheResult) {
    checkCommands({{[] { return VERDA::GetInfoFromEJ3(12, 'A'); },
                    {0x7D, "3\t12\tA\t"},
                    "Start GetInfoFromEJ3();",
                    "GetInfoFromEJ3();"}},
                  "0\t1\t");
}

VERDA_BOTH_TRANSPORTS(Journal);

}  // namespace
