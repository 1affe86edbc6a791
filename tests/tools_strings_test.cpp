// General string and byte helpers.
#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "tools/stdTools.h"

namespace {

TEST(ToolsStrings, PiecesAroundACharacter) {
    struct Row {
        std::string (*piece)(std::string, char);
        std::string text, result;
    } const rows[] = {{BeforeFirst, "a/b/c", "a"},  {BeforeFirst, "abc", "abc"},
                      {BeforeLast, "a/b/c", "a/b"}, {BeforeLast, "/a", "/a"},
                      {BeforeLast, "abc", "abc"},   {AfterFirst, "a/b/c", "b/c"},
                      {AfterFirst, "abc", "abc"},   {AfterLast, "a/b/c", "c"},
                      {AfterLast, "abc", "abc"},    {AfterLast, "a/", ""}};
    for (const Row& row : rows) EXPECT_EQ(row.piece(row.text, '/'), row.result) << row.text;
    EXPECT_EQ(BeforeFirst("a\xC0z", static_cast<unsigned char>(0xC0)), "a");
    EXPECT_EQ(BeforeWFirst(L"a/b/c", L'/') + L"|" + BeforeWLast(L"a/b/c", L'/'), L"a|a/b");
    EXPECT_EQ(BeforeWLast(L"/a", L'/') + L"|" + AfterWFirst(L"a/b/c", L'/'), L"/a|b/c");
    std::wstring text = L"a\tb\tc", none = L"abc";
    EXPECT_EQ(CutBeforeWFirst(text, L'\t') + L"|" + text, L"a|b\tc");
    EXPECT_EQ(CutBeforeWFirst(none, L'\t') + L"|" + none, L"abc|");
}

TEST(ToolsStrings, Replacement) {
    std::string text = "a.b.c";
    replaseChars(text, '.', ',');
    EXPECT_EQ(text, "a,b,c");
    std::wstring wide = L"aXa";
    replaceAll(wide, L"a", L"aa");
    replaceAll(wide, L"", L"b");  // an empty from changes nothing
    EXPECT_EQ(wide, L"aaXaa");
    EXPECT_EQ(replaceStrings(std::wstring(L"aXa"), L"a", L"aa"), L"aaXaa");
    EXPECT_EQ(replaceStrings(std::wstring(L"aXa"), L"a", L"a"), L"aXa");
}

TEST(ToolsStrings, WideNumbers) {
    EXPECT_EQ(FloatToStdWStr(0.125, 2) + L"|" + FloatToStdWStr(2.5, -1), L"0.12|2.500000");
    const struct {
        std::wstring text;
        bool filter;
        int value;
    } rows[] = {{L"a-1b2", true, -12}, {L"--5", true, -5},   {L"1-2", true, 1},
                {L"", false, 0},       {L" -5x", false, -5}, {L"99999999999", false, INT_MAX}};
    for (const auto& row : rows) EXPECT_EQ(StdWStrToInt(row.text, row.filter), row.value);
    EXPECT_EQ(StdWStrToUInt(L"-1", false), 0xFFFFFFFFu);
    EXPECT_EQ(StdWStrToUInt(L"a-1b2", true), 12u);
}

TEST(ToolsStrings, HexCharToIntTakesHexDigitsAndThrowsOnAnythingElse) {
    const std::string digits = "0123456789abcdef0123456789ABCDEF";
    for (std::string::size_type i = 0; i < digits.size(); ++i)
        EXPECT_EQ(hexCharToInt(digits[i]), static_cast<int>(i % 16));
    for (char c : std::string("gG/:@`\0\xFF", 8)) {
        try {
            ADD_FAILURE() << "no exception for " << c << ": " << hexCharToInt(c);
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), "Invalid input string");
        }
    }
}

TEST(ToolsStrings, SmallNumbers) {
    EXPECT_EQ(MaxI4(-3, 2) + MaxI4(7, 7), 9);
    EXPECT_EQ(RandInt(5, 5), 5);
    EXPECT_EQ(RandInt(INT_MIN, INT_MAX - 1), INT_MIN);  // a span that wraps to -1
    for (int i = 0; i < 100; ++i) EXPECT_LE(std::abs(RandInt(-3, 3)), 3);
}

TEST(ToolsStringsDeathTest, RandIntWithAnEmptyRangeDividesByZero) {
    // The default action, also where a sanitizer has taken the signal over.
    EXPECT_EXIT(
        {
            std::signal(SIGFPE, SIG_DFL);
            RandInt(3, 2);
        },
        testing::KilledBySignal(SIGFPE), "");
}

TEST(ToolsStrings, SumsAndKeys) {
    EXPECT_EQ(CRC8("\x01\x02\x04", 0, 0x5A), 0x5A);
    EXPECT_EQ(CRC8("\x01\x02\x04", 3, 0x80), 0x87);
    EXPECT_EQ(Crc16("123456789", 9, 0xFFFF), 0x29B1);                    // CRC-16/CCITT-FALSE
    EXPECT_EQ(Crc16(static_cast<unsigned char>(0x00), 0x8000), 0x9188);  // kept to 16 bits
    unsigned char key[] = {0x0F, 0xF0, 0x01}, data[] = {0x00, 0xFF, 0x10};
    Encrypt(key, 0, data, 3);
    Encrypt(key, 3, data, 2);
    Decrypt(key, 3, data, 3);
    EXPECT_EQ(std::string(data, data + 3), "\xFE\x01\x10");
    EXPECT_TRUE(getAppPathA().empty() && getAppPathW(true).empty());
}

}  // namespace
