// General string and byte helpers.
#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <stdexcept>

#include "tools/stdTools.h"

namespace {

TEST(ToolsStrings, PiecesAroundACharacter) {
    struct Row {
        std::string (*piece)(std::string, char);
        std::string text, result;
    } const rows[] = {
        {BeforeFirst, "a/b/c", "a"},  {BeforeFirst, "abc", "abc"},  {BeforeFirst, "/a", ""},
        {BeforeLast, "a/b/c", "a/b"}, {BeforeLast, "/a", "/a"},     {BeforeLast, "abc", "abc"},
        {BeforeLast, "a/", "a"},      {AfterFirst, "a/b/c", "b/c"}, {AfterFirst, "abc", "abc"},
        {AfterLast, "a/b/c", "c"},    {AfterLast, "abc", "abc"},    {AfterLast, "a/", ""},
    };
    for (const Row& row : rows) EXPECT_EQ(row.piece(row.text, '/'), row.result) << row.text;
    EXPECT_EQ(BeforeFirst("a\xC0z", static_cast<unsigned char>(0xC0)), "a");
    EXPECT_EQ(BeforeWFirst(L"a/b/c", L'/'), L"a");
    EXPECT_EQ(BeforeWLast(L"a/b/c", L'/'), L"a/b");
    EXPECT_EQ(BeforeWLast(L"/a", L'/'), L"/a");
    EXPECT_EQ(AfterWFirst(L"a/b/c", L'/'), L"b/c");
    EXPECT_EQ(AfterWFirst(L"abc", L'/'), L"abc");
    std::wstring text = L"a\tb\tc";
    EXPECT_EQ(CutBeforeWFirst(text, L'\t'), L"a");
    EXPECT_EQ(text, L"b\tc");
    text = L"abc";
    EXPECT_EQ(CutBeforeWFirst(text, L'\t'), L"abc");
    EXPECT_EQ(text, L"");
}

TEST(ToolsStrings, Replacement) {
    std::string text = "a.b.c";
    replaseChars(text, '.', ',');
    EXPECT_EQ(text, "a,b,c");
    std::wstring wide = L"aXa";
    replaceAll(wide, L"a", L"aa");
    EXPECT_EQ(wide, L"aaXaa");
    replaceAll(wide, L"", L"b");  // an empty from changes nothing
    EXPECT_EQ(wide, L"aaXaa");
    EXPECT_EQ(replaceStrings(std::wstring(L"a a"), L" ", L"\n"), L"a\na");
    EXPECT_EQ(replaceStrings(std::wstring(L"aXa"), L"a", L"aa"), L"aaXaa");
    EXPECT_EQ(replaceStrings(std::wstring(L"aXa"), L"a", L"a"), L"aXa");
}

TEST(ToolsStrings, WideNumbers) {
    EXPECT_EQ(FloatToStdWStr(2.5, 2), L"2.50");
    EXPECT_EQ(FloatToStdWStr(2.5, -1), L"2.500000");
    EXPECT_EQ(FloatToStdWStr(0.125, 2), L"0.12");
    const struct {
        std::wstring text;
        bool filter;
        int value;
    } rows[] = {
        {L"a-1b2", true, -12}, {L"--5", true, -5},
        {L"1-2", true, 1},     {L"", false, 0},
        {L"", true, 0},        {L" -5x", false, -5},
        {L"x5", false, 0},     {L"99999999999", false, INT_MAX},
    };
    for (const auto& row : rows)
        EXPECT_EQ(StdWStrToInt(row.text, row.filter), row.value) << row.filter;
    EXPECT_EQ(StdWStrToUInt(L"-1", false), 0xFFFFFFFFu);
    EXPECT_EQ(StdWStrToUInt(L"-1", true), 1u);
    EXPECT_EQ(StdWStrToUInt(L"a1b2", true), 12u);
}

TEST(ToolsStrings, HexCharToIntTakesHexDigitsAndThrowsOnAnythingElse) {
    const std::string digits = "0123456789abcdef", upper = "ABCDEF";
    for (int c = -128; c < 128; ++c) {
        const char ch = static_cast<char>(c);
        std::string::size_type value = digits.find(ch);
        if (upper.find(ch) != std::string::npos) value = upper.find(ch) + 10;
        if (c == 0 || value == std::string::npos) {
            try {
                hexCharToInt(ch);
                ADD_FAILURE() << "no exception for " << c;
            } catch (const std::invalid_argument& e) {
                EXPECT_STREQ(e.what(), "Invalid input string");
            }
        } else {
            EXPECT_EQ(hexCharToInt(ch), static_cast<int>(value)) << ch;
        }
    }
}

TEST(ToolsStrings, SmallNumbers) {
    EXPECT_EQ(MaxI4(-3, 2), 2);
    EXPECT_EQ(MaxI4(7, 7), 7);
    EXPECT_EQ(RandInt(5, 5), 5);
    EXPECT_EQ(RandInt(INT_MIN, INT_MAX - 1), INT_MIN);  // a span that wraps to -1
    for (int i = 0; i < 200; ++i) {
        const int value = RandInt(-3, 3);
        EXPECT_GE(value, -3);
        EXPECT_LE(value, 3);
    }
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
    const char bytes[] = {0x01, 0x02, 0x04};
    EXPECT_EQ(CRC8(bytes, 0, 0x5A), 0x5A);
    EXPECT_EQ(CRC8(bytes, 3, 0x80), 0x87);
    EXPECT_EQ(Crc16("123456789", 9, 0xFFFF), 0x29B1);  // CRC-16/CCITT-FALSE
    EXPECT_EQ(Crc16("123456789", 0, 0x1234), 0x1234);
    EXPECT_EQ(Crc16(static_cast<unsigned char>('1'), 0xFFFF), Crc16("1", 1, 0xFFFF));
    EXPECT_EQ(Crc16(static_cast<unsigned char>(0x00), 0x8000), 0x9188);  // kept to 16 bits
    unsigned char key[] = {0x0F, 0xF0, 0x01};
    unsigned char data[] = {0x00, 0xFF, 0x10};
    Encrypt(key, 0, data, 3);
    EXPECT_EQ(std::string(data, data + 3), std::string("\x00\xFF\x10", 3));
    Encrypt(key, 3, data, 2);
    EXPECT_EQ(std::string(data, data + 3), std::string("\xFE\x01\x10"));
    Decrypt(key, 3, data, 3);
    EXPECT_EQ(std::string(data, data + 3), std::string("\xFE\x01\x10"));
    EXPECT_EQ(getAppPathA(), "");
    EXPECT_EQ(getAppPathW(true), L"");
}

}  // namespace
