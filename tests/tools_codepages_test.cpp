// The device code pages and the Kazakh single-byte table: every input byte
// against the ranges of the tables.
#include <gtest/gtest.h>

#include "tools/stdTools.h"

namespace {

// A range of input values and its output: a fixed value, or the input moved
// by an offset.
struct Range {
    int first, last;
    int fixed;  // kShift: the input plus offset
    int offset;
};
const int kShift = -1;

int expected(const std::vector<Range>& table, int in) {
    for (const Range& r : table)
        if (in >= r.first && in <= r.last) return r.fixed == kShift ? in + r.offset : r.fixed;
    ADD_FAILURE() << "no row for " << in;
    return 0;
}

// All 256 bytes in one text: a zero byte does not end the walk, and the
// length is kept.
std::string allBytes() {
    std::string text(256, '\0');
    for (int b = 0; b < 256; ++b) text[b] = static_cast<char>(b);
    return text;
}

void checkAllBytes(std::string (*convert)(std::string), const std::vector<Range>& table) {
    const std::string out = convert(allBytes());
    ASSERT_EQ(out.size(), 256u);
    for (int b = 0; b < 256; ++b)
        EXPECT_EQ(static_cast<unsigned char>(out[b]), expected(table, b))
            << "byte 0x" << std::hex << b;
}

TEST(ToolsCodePages, FromAsciiToDosMapsEveryByteAsItsTable) {
    checkAllBytes(fromASCIItoDOS, {{0x00, 0x01, kShift, 0},
                                   {0x02, 0x1F, 0x3F, 0},
                                   {0x20, 0x7E, kShift, 0},
                                   {0x7F, 0x7F, 0x97, 0},
                                   {0x80, 0xBF, 0x20, 0},
                                   {0xC0, 0xEF, kShift, -0x40},
                                   {0xF0, 0xFF, kShift, -0x10}});
}

TEST(ToolsCodePages, FromDosToAsciiWritesOnlyTheSecondUtf8Byte) {
    checkAllBytes(fromDOStoASCII, {{0x00, 0x01, kShift, 0},
                                   {0x02, 0x1F, 0x3F, 0},
                                   {0x20, 0x7E, kShift, 0},
                                   {0x7F, 0x7F, 0x97, 0},
                                   {0x80, 0xAF, kShift, 0x10},
                                   {0xB0, 0xDF, 0x20, 0},
                                   {0xE0, 0xEF, kShift, -0x60},
                                   {0xF0, 0xFF, 0x20, 0}});
    // Not inverses: Cyrillic does not survive the round trip.
    EXPECT_EQ(fromDOStoASCII(fromASCIItoDOS("\x41\xC0\xFF")), "\x41\x90\x8F");
    EXPECT_EQ(fromASCIItoDOS(""), "");
    EXPECT_EQ(fromDOStoASCII(""), "");
}

// The 21 letters of the Kazakh table.
const struct {
    unsigned char byte;
    wchar_t code;
} kKazakh[] = {
    {0x81, 0x0492}, {0x83, 0x0493}, {0x89, 0x2116}, {0x8A, 0x04D8}, {0x8C, 0x04A2}, {0x8D, 0x049A},
    {0x8E, 0x04BA}, {0x9A, 0x04D9}, {0x9C, 0x04A3}, {0x9D, 0x049B}, {0x9E, 0x04BB}, {0xA1, 0x04B0},
    {0xA2, 0x04B1}, {0xA8, 0x0401}, {0xAA, 0x04E8}, {0xAF, 0x04AE}, {0xB2, 0x0406}, {0xB3, 0x0456},
    {0xB8, 0x0451}, {0xBA, 0x04E9}, {0xBF, 0x04AF},
};

TEST(ToolsCodePages, FromKazAsciiMapsEveryByteAsItsTable) {
    std::vector<Range> table;
    for (const auto& letter : kKazakh) table.push_back({letter.byte, letter.byte, letter.code, 0});
    table.insert(table.end(), {{0x00, 0x01, kShift, 0},
                               {0x02, 0x1F, '?', 0},
                               {0x20, 0x7E, kShift, 0},
                               {0x7F, 0x7F, 0xD7, 0},
                               {0x80, 0xBF, ' ', 0},
                               {0xC0, 0xFF, kShift, 0x350}});
    const std::wstring out = fromKAZASCII(allBytes());
    ASSERT_EQ(out.size(), 256u);
    for (int b = 0; b < 256; ++b)
        EXPECT_EQ(out[b], expected(table, b)) << "byte 0x" << std::hex << b;
    EXPECT_EQ(fromKAZASCII(""), L"");
}

TEST(ToolsCodePages, ToKazAsciiKnowsOnlyItsTable) {
    for (const auto& letter : kKazakh)
        EXPECT_EQ(toKAZASCII(std::wstring(1, letter.code)), std::string(1, letter.byte))
            << std::hex << letter.code;
    const struct {
        wchar_t in;
        unsigned char out;
    } rows[] = {
        {0x0000, 0x00}, {0x000A, 0x0A}, {0x007E, 0x7E},  {0x007F, 0x20}, {0x00D7, 0x7F},
        {0x0410, 0xC0}, {0x044F, 0xFF}, {0x0402, 0x20},  {0x040F, 0x20}, {0x0450, 0x20},
        {-1, 0x20},     {-0xBF, 0x20},  {0x10041, 0x20}, {0x0100, 0x20},
    };
    for (const auto& row : rows)
        EXPECT_EQ(toKAZASCII(std::wstring(1, row.in)), std::string(1, static_cast<char>(row.out)))
            << std::hex << row.in;
    EXPECT_EQ(toKAZASCII(L""), "");
    // Every byte that comes back as neither a space nor "?" survives the
    // round trip; a control character comes back as "?".
    const std::string bytes = allBytes();
    const std::string back = toKAZASCII(fromKAZASCII(bytes));
    ASSERT_EQ(back.size(), 256u);
    for (int b = 0; b < 256; ++b) {
        const wchar_t wide = fromKAZASCII(std::string(1, bytes[b]))[0];
        if (wide != L' ' && wide != L'?') {
            EXPECT_EQ(back[b], bytes[b]) << "byte 0x" << std::hex << b;
        }
    }
    EXPECT_EQ(fromKAZASCII(toKAZASCII(L"\n")), L"?");
}

}  // namespace
