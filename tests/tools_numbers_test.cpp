// Number and field conversions: cutting, parsing, formatting, trimming,
// replacing and packed decimal digits.
#include <gtest/gtest.h>

#include "tools/stdTools.h"

namespace {

TEST(ToolsNumbers, CuttingReturnsOnePieceAndLeavesTheOther) {
    struct Row {
        std::string (*cut)(std::string&, std::string);
        std::string text, separator, returned, left;
    } const rows[] = {
        {CutBeforeFirst, "a, b, c", ", ", "a", "b, c"},
        {CutBeforeFirst, ", b", ", ", "", "b"},  // an empty field
        {CutBeforeFirst, "abc", ";", "abc", ""},
        {CutAfterFirst, "key=value=x", "=", "value=x", "key"},
        {CutAfterFirst, "abc", "=", "abc", ""},
    };
    for (const Row& row : rows) {
        std::string text = row.text;
        EXPECT_EQ(row.cut(text, row.separator), row.returned) << row.text;
        EXPECT_EQ(text, row.left) << row.text;
    }
    std::string path = "a/b/c";
    EXPECT_EQ(CutAfterLast(path, '/'), "c");
    EXPECT_EQ(path, "a/b");
    std::string none = "abc";
    EXPECT_EQ(CutAfterLast(none, '/'), "abc");
    EXPECT_EQ(none, "");
}

TEST(ToolsNumbers, TextToNumberFallsBackToZeroAndLeavesTheTextAlone) {
    struct Row {
        std::string text;
        bool filter;
        unsigned int value;
    } const unsignedRows[] = {
        {"", false, 0},     {"-1", false, 0xFFFFFFFFu}, {"-1", true, 1},
        {"a1b2", true, 12}, {"a1b2", false, 0},         {"99999999999", false, 0x7FFFFFFFu},
    };
    for (const Row& row : unsignedRows) {
        std::string text = row.text;
        EXPECT_EQ(StdStrToUInt(text, row.filter), row.value) << row.text << " " << row.filter;
        EXPECT_EQ(text, row.text);
    }
    std::string empty, abc = "abc", partial = "12.5xyz", comma = "1,5";
    EXPECT_EQ(StdStrToDouble(empty, 7.5), 7.5);
    EXPECT_EQ(StdStrToDouble(abc, 7.5), 0.0);  // the fallback is for an empty text only
    EXPECT_EQ(StdStrToDouble(partial, 0.0), 12.5);
    EXPECT_EQ(StdStrToDouble(comma, 0.0), 1.0);
    EXPECT_EQ(StdStrToFloat(empty), 0.0f);
    EXPECT_EQ(StdStrToFloat(partial), 12.5f);
    EXPECT_EQ(StdStrToFloat(abc), 0.0f);
    std::string ff = "ff", upper = "1A", zz = "zz";
    EXPECT_EQ(HexStdStrToUInt(ff), 255u);
    EXPECT_EQ(HexStdStrToUInt(upper), 26u);
    EXPECT_EQ(HexStdStrToUInt(zz), 0u);
    EXPECT_EQ(HexStdStrToUInt(empty), 0u);
    EXPECT_EQ(hexToChar("4a"), 0x4A);
    EXPECT_EQ(hexToChar("zz"), 0);
    EXPECT_EQ(hexToChar(""), 0);
    EXPECT_EQ(hexToChar("1234"), 0x34);  // 16 bits read, the low byte kept
}

TEST(ToolsNumbers, FloatToStdStrRoundsAsTheStreamDoes) {
    struct Row {
        double value;
        int precision;
        char separator;
        std::string text;
    } const rows[] = {
        {2.5, 2, '.', "2.50"},      {2.5, 2, ',', "2,50"},
        {3.0, 0, '.', "3"},         {2.5, -1, '.', "2.500000"},
        {2.5, -1, ',', "2,500000"}, {0.125, 2, '.', "0.12"},
        {0.375, 2, '.', "0.38"},    {-1.5, 1, 'x', "-1.5"},
        {2.5, 2, '\0', "2.50"},     {1234567.891, 2, '.', "1234567.89"},
        {-0.004, 2, '.', "-0.00"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(FloatToStdStr(row.value, row.precision, row.separator), row.text)
            << row.value << " " << row.precision << " " << row.separator;
}

TEST(ToolsNumbers, HexadecimalTextAndLeadingZero) {
    EXPECT_EQ(charToHex(0x0A), "0a");
    EXPECT_EQ(charToHex(0xFF), "ff");
    EXPECT_EQ(charToHex(0), "00");
    unsigned char bytes[] = {0x0A, 0xFF, 0x00};
    EXPECT_EQ(toHexString(bytes, 3), "0aff00");
    EXPECT_EQ(toHexString(bytes, 0), "");
    EXPECT_EQ(toHexString(bytes, -1), "");
    EXPECT_EQ(add0("7"), "07");
    EXPECT_EQ(add0(""), "");
    EXPECT_EQ(add0("12"), "12");
}

TEST(ToolsNumbers, TrimKeepsNewlinesAndFormFeedsWhileTrimRemovesThem) {
    EXPECT_EQ(trim("\n a"), "\n a");
    EXPECT_EQ(trim(" \t\ra b\r\t "), "a b");
    EXPECT_EQ(trim("x\f\n"), "x\f\n");
    EXPECT_EQ(trim("   "), "");
    struct Row {
        void (*trim)(std::string&);
        std::string text, trimmed;
    } const rows[] = {
        {Trim, "\n a", "a"},    {Trim, " \t\f\n\ra b\r\n\f\t ", "a b"},
        {Trim, "   ", ""},      {TrimLeft, "\f\n x \n", "x \n"},
        {TrimLeft, "   ", ""},  {TrimRight, "\f\n x \n\f", "\f\n x"},
        {TrimRight, "   ", ""}, {TrimRight, "", ""},
    };
    for (const Row& row : rows) {
        std::string text = row.text;
        row.trim(text);
        EXPECT_EQ(text, row.trimmed) << testing::PrintToString(row.text);
    }
}

TEST(ToolsNumbers, ReplaceStringsDoesNotScanReplacedText) {
    EXPECT_EQ(replaceStrings("a a", " ", "\n"), "a\na");
    EXPECT_EQ(replaceStrings("aXa", "a", "aa"), "aaXaa");
    EXPECT_EQ(replaceStrings("aaa", "aa", "b"), "ba");
    EXPECT_EQ(replaceStrings("abc", "x", "y"), "abc");
    EXPECT_EQ(replaceStrings("abc", "b", "b"), "abc");
    EXPECT_EQ(replaceStrings("abc", "b", ""), "ac");
}

TEST(ToolsNumbers, PackedDecimalDigits) {
    EXPECT_EQ(CodeBSD("1234"), std::string("\x12\x34"));
    EXPECT_EQ(CodeBSD("123"), std::string("\x01\x23"));
    EXPECT_EQ(CodeBSD(""), "");
    EXPECT_EQ(CodeBSD("zz1g"), std::string("\x00\x01", 2));  // no parse: 0; a part: what was read
    EXPECT_EQ(CodeBSD(12, 4), std::string("\x00\x00\x00\x12", 4));
    EXPECT_EQ(CodeBSD(123456, 2), std::string("\x12\x34\x56"));  // not cut
    EXPECT_EQ(DecodeBSD('\x3A'), "30");
    EXPECT_EQ(DecodeBSD('\xA3'), "03");
    EXPECT_EQ(DecodeBSD('\x09'), "09");
    const std::string bytes("\x12\x34\x56");
    struct Row {
        unsigned int start, count;
        std::string digits;
    } const rows[] = {
        {0, 0, "123456"}, {1, 0, "3456"}, {0, 2, "1234"},           {2, 5, "56"},
        {3, 0, ""},       {7, 1, ""},     {1, 0xFFFFFFFFu, "3456"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(DecodeBSD(bytes, row.start, row.count), row.digits)
            << row.start << "+" << row.count;
    EXPECT_EQ(BSDToInt('\x12'), 0);
    EXPECT_EQ(BSDToInt(bytes, 0, 3), 0);
}

}  // namespace
