// Field tools, status bits and the driver's fixed answers.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "device/MyStatus.h"
#include "device/VR35.h"
#include "tools/fields.h"

namespace {

TEST(CutBeforeFirst, CutsOneFieldAtATime) {
    const struct {
        std::string text, field, rest;
    } cases[] = {
        {"12", "12", ""}, {"\t5", "", "5"}, {"a\tb\tc", "a", "b\tc"}, {"", "", ""}, {"\t", "", ""},
    };
    for (const auto& c : cases) {
        std::string text = c.text;
        EXPECT_EQ(CutBeforeFirst(text, '\t'), c.field) << c.text;
        EXPECT_EQ(text, c.rest) << c.text;
    }
}

TEST(StdStrToInt, ParsesLikeStreamExtraction) {
    const struct {
        std::string text;
        bool filter;
        int value;
    } cases[] = {
        {"", false, 0},
        {"", true, 0},
        {"-5", false, -5},
        {" 42x", false, 42},
        {"+7", false, 7},
        {"x1", false, 0},
        {"a-1b2", true, -12},
        {"--5", true, -5},
        {"1-2", true, 1},
        {"abc", true, 0},
        {"99999999999", false, INT_MAX},
        {"-99999999999", false, INT_MIN},
    };
    for (const auto& c : cases) {
        std::string text = c.text;
        EXPECT_EQ(StdStrToInt(text, c.filter), c.value) << c.text << " " << c.filter;
        EXPECT_EQ(text, c.text);
    }
    EXPECT_EQ(IntToStdStr(-120), "-120");
    EXPECT_EQ(IntToStdStr(INT_MIN), "-2147483648");
}

TEST(StatusBits, HelpersCountBitsFromEitherEnd) {
    EXPECT_TRUE(getBitVal(0x01, 0));
    EXPECT_FALSE(getBitVal(0x01, 1));
    for (unsigned char bit = 8; bit < 32; ++bit) EXPECT_TRUE(getBitVal(0x00, bit)) << int(bit);
    EXPECT_EQ(setBitVal(0x00, 7, true), 0x80);
    EXPECT_EQ(setBitVal(0xFF, 0, false), 0xFE);
    unsigned char bytes[2] = {0x01, 0x80};
    EXPECT_TRUE(testBit(bytes, 7));  // the same bit as getBitVal(.., 0)
    EXPECT_TRUE(testBit(bytes, 8));
    EXPECT_FALSE(testBit(bytes, 0));
    setBit(bytes, 0, true);
    setBit(bytes, 8, false);
    EXPECT_EQ(bytes[0], 0x81);
    EXPECT_EQ(bytes[1], 0x00);
}

TEST(StatusBits, StatusTextRunsBitByBitAcrossTheFirstSixBytes) {
    MyStatus status;
    EXPECT_EQ(status.getStatus(), std::string(48, '0'));
    unsigned char first[8] = {0x01, 0, 0, 0, 0, 0, 0xFF, 0xFF};
    status.SetStatus(first);
    EXPECT_EQ(status.getStatus(), "1" + std::string(47, '0'));
    EXPECT_TRUE(status.flags[48]);  // bytes 6 and 7 reach the flags only
    unsigned char last[8] = {0, 0, 0, 0, 0, 0x80, 0, 0};
    status.SetStatus(last);
    EXPECT_EQ(status.getStatus(), std::string(47, '0') + "1");
    EXPECT_FALSE(status.flags[48]);
    unsigned char second[8] = {0, 0x02, 0, 0, 0, 0, 0, 0};
    status.SetStatus(second);
    EXPECT_EQ(status.getStatus(), "0000000" + std::string("1") + std::string(40, '0'));
}

TEST(Frame, NibbleWordsAndSums) {
    unsigned char wire[4];
    unsigned int packed = MakeINT(0x2A);
    std::memcpy(wire, &packed, 4);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(wire), 4), "\x30\x30\x32\x3A");
    EXPECT_EQ(uMakeINT(packed), 0x2Au);
    EXPECT_EQ(uMakeINT(MakeINT(0x1ABCD)), 0xABCDu);  // low 16 bits only
    std::memcpy(&packed, "\x40\x70\x32\xFA", 4);     // high nibbles are ignored
    EXPECT_EQ(uMakeINT(packed), 0x002Au);
    unsigned char bytes[] = {1, 2, 3, 250};
    EXPECT_EQ(MakeCRC(bytes, 1, 3), 255u);
    EXPECT_EQ(MakeCRC(bytes, 2, 0), 0u);
    EXPECT_EQ(MakeCRC(0x01020304u), 10u);
}

TEST(Driver, FixedAnswers) {
    VR35 driver;
    EXPECT_EQ(driver.seq, 0x20);
    EXPECT_EQ(driver.getNextSeq(), 0x21);
    const struct {
        unsigned char from, to;
    } steps[] = {{0x1F, 0x20}, {0x3C, 0x3D}, {0x3D, 0x20}, {0x00, 0x20}, {0xFF, 0x20}};
    for (const auto& s : steps) {
        driver.seq = s.from;
        EXPECT_EQ(driver.getNextSeq(), s.to) << int(s.from);
    }
    EXPECT_EQ(driver.timeout, 50);
    EXPECT_EQ(driver.port, nullptr);
    EXPECT_EQ(driver.decimalPlaces, 0);
    EXPECT_DOUBLE_EQ(driver.M(), 1.0);
    driver.decimalPlaces = 2;
    EXPECT_DOUBLE_EQ(driver.M(), 100.0);
    double sum = 7.5;
    EXPECT_TRUE(driver.isOk());
    EXPECT_TRUE(driver.CashInOut(true, 1.0));
    EXPECT_TRUE(driver.GetCashSum(sum));
    EXPECT_EQ(sum, 7.5);
    EXPECT_TRUE(driver.PrintLine(L"x"));

    const struct {
        const char* model;
        int columns;
    } models[] = {{"", 32},
                  {"ЛАРН-1000 Ф", 48},
                  {"ЛАРН-100 Ф", 32},
                  {"ВЕРДА 35V-Ф", 32},
                  {"ВЕРДА 700V-Ф", 32},
                  {"\x9B\x80\x90\x9D-1000 Ф", 32}};
    for (const auto& m : models) {
        driver.model = m.model;
        EXPECT_EQ(driver.GetLineLength(), m.columns) << m.model;
    }
}

}  // namespace
