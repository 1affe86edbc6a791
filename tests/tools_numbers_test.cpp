// Number and field conversions: cutting, parsing, formatting, trimming,
// replacing and packed decimal digits.
#include <gtest/gtest.h>

#include "tools/stdTools.h"

namespace {

TEST(ToolsNumbers, CuttingReturnsOnePieceAndLeavesTheOther) {
    struct Row {
        std::string (*cut)(std::string&, std::string);
        std::string text, separator, returned, left;
    } const rows[] = {{CutBeforeFirst, "a, b, c", ", ", "a", "b, c"},
                      {CutBeforeFirst, ", b", ", ", "", "b"},
                      {CutBeforeFirst, "abc", ";", "abc", ""},
                      {CutAfterFirst, "k=v=x", "=", "v=x", "k"},
                      {CutAfterFirst, "abc", "=", "abc", ""}};
    for (Row row : rows) {
        EXPECT_EQ(row.cut(row.text, row.separator), row.returned);
        EXPECT_EQ(row.text, row.left);
    }
    std::string path = "a/b/c", none = "abc";
    EXPECT_EQ(CutAfterLast(path, '/') + "|" + path, "c|a/b");
    EXPECT_EQ(CutAfterLast(none, '/') + "|" + none, "abc|");
}

TEST(ToolsNumbers, TextToNumberFallsBackToZero) {
    std::string empty, minus = "-1", mixed = "a1b2", abc = "abc", part = "12.5xyz", comma = "1,5";
    EXPECT_EQ(StdStrToUInt(minus, false), 0xFFFFFFFFu);  // the bit pattern of -1
    EXPECT_EQ(StdStrToUInt(minus, true), 1u);
    EXPECT_EQ(StdStrToUInt(mixed, true), 12u);
    EXPECT_EQ(StdStrToUInt(mixed, false), 0u);
    EXPECT_EQ(mixed, "a1b2");
    EXPECT_EQ(StdStrToDouble(empty, 7.5), 7.5);
    EXPECT_EQ(StdStrToDouble(abc, 7.5), 0.0);  // the fallback is for an empty text only
    EXPECT_EQ(StdStrToDouble(part, 0.0), 12.5);
    EXPECT_EQ(StdStrToDouble(comma, 0.0), 1.0);
    EXPECT_EQ(StdStrToFloat(empty) + StdStrToFloat(abc), 0.0f);
    EXPECT_EQ(StdStrToFloat(part), 12.5f);
    std::string hex = "1A", zz = "zz";
    EXPECT_EQ(HexStdStrToUInt(hex), 26u);
    EXPECT_EQ(HexStdStrToUInt(zz), 0u);
    EXPECT_EQ(hexToChar("4a"), 0x4A);
    EXPECT_EQ(hexToChar("zz") + hexToChar(""), 0);
    EXPECT_EQ(hexToChar("1234"), 0x34);  // 16 bits read, the low byte kept
}

TEST(ToolsNumbers, NumberToText) {
    struct Row {
        double value;
        int precision;
        char separator;
        std::string text;
    } const rows[] = {{2.5, 2, '.', "2.50"},   {2.5, 2, ',', "2,50"},
                      {3.0, 0, '.', "3"},      {2.5, -1, '.', "2.500000"},
                      {0.125, 2, '.', "0.12"}, {0.375, 2, '.', "0.38"},
                      {-1.5, 1, 'x', "-1.5"},  {1234567.891, 2, '.', "1234567.89"}};
    for (const Row& row : rows)
        EXPECT_EQ(FloatToStdStr(row.value, row.precision, row.separator), row.text);
    unsigned char bytes[] = {0x0A, 0xFF, 0x00};
    EXPECT_EQ(charToHex(0x0A) + charToHex(0xFF), "0aff");
    EXPECT_EQ(toHexString(bytes, 3), "0aff00");
    EXPECT_EQ(toHexString(bytes, 0) + toHexString(bytes, -1), "");
    EXPECT_EQ(add0("7") + "|" + add0("") + "|" + add0("12"), "07||12");
}

TEST(ToolsNumbers, TrimKeepsNewlinesAndFormFeedsWhileTrimRemovesThem) {
    EXPECT_EQ(trim("\n a"), "\n a");
    EXPECT_EQ(trim(" \t\ra\f\n\r\t "), "a\f\n");
    EXPECT_EQ(trim("   "), "");
    struct Row {
        void (*trim)(std::string&);
        std::string text, trimmed;
    } const rows[] = {{Trim, "\n a", "a"},
                      {Trim, " \t\f\n\ra b\r\n\f\t ", "a b"},
                      {TrimLeft, "\f\n x \n", "x \n"},
                      {TrimRight, "\f\n x \n\f", "\f\n x"},
                      {TrimLeft, "  ", ""},
                      {TrimRight, "  ", ""}};
    for (Row row : rows) {
        row.trim(row.text);
        EXPECT_EQ(row.text, row.trimmed);
    }
}

TEST(ToolsNumbers, ReplaceStringsDoesNotScanReplacedText) {
    EXPECT_EQ(replaceStrings("a a", " ", "\n"), "a\na");
    EXPECT_EQ(replaceStrings("aXa", "a", "aa"), "aaXaa");
    EXPECT_EQ(replaceStrings("aaa", "aa", "b"), "ba");
    EXPECT_EQ(replaceStrings("abc", "b", "b"), "abc");
}

TEST(ToolsNumbers, PackedDecimalDigits) {
    EXPECT_EQ(CodeBSD("1234"), "\x12\x34");
    EXPECT_EQ(CodeBSD("123"), "\x01\x23");
    EXPECT_EQ(CodeBSD("zz1g"), std::string("\x00\x01", 2));  // no parse 0; a part as read
    EXPECT_EQ(CodeBSD(12, 4), std::string("\x00\x00\x00\x12", 4));
    EXPECT_EQ(CodeBSD(123456, 2), "\x12\x34\x56");  // not cut
    EXPECT_EQ(DecodeBSD('\x3A') + DecodeBSD('\xA3'), "3003");
    const std::string bytes("\x12\x34\x56");
    EXPECT_EQ(DecodeBSD(bytes, 1, 0), "3456");
    EXPECT_EQ(DecodeBSD(bytes, 0, 2), "1234");
    EXPECT_EQ(DecodeBSD(bytes, 2, 0xFFFFFFFFu), "56");
    EXPECT_EQ(DecodeBSD(bytes, 7, 1), "");
    EXPECT_EQ(BSDToInt('\x12') + BSDToInt(bytes, 0, 3), 0);
}

}  // namespace
