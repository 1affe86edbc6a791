// The code pages: every input byte against the ranges of its table.
#include <gtest/gtest.h>

#include "tools/stdTools.h"

namespace {

// Input values first to last give a fixed value, or (fixed kShift) the input
// plus offset.
const int kShift = -1;
struct Range {
    int first, last, fixed, offset;
};

int expected(const std::vector<Range>& table, int in) {
    for (const Range& r : table)
        if (in >= r.first && in <= r.last) return r.fixed == kShift ? in + r.offset : r.fixed;
    return -1;
}

// All 256 bytes in one text: a zero byte does not end the walk.
std::string allBytes() {
    std::string text(256, '\0');
    for (int b = 0; b < 256; ++b) text[b] = static_cast<char>(b);
    return text;
}

int value(char c) {
    return static_cast<unsigned char>(c);
}
int value(wchar_t c) {
    return c;
}

template <typename Text>
void checkAllBytes(const Text& out, const std::vector<Range>& table) {
    ASSERT_EQ(out.size(), 256u);
    for (int b = 0; b < 256; ++b)
        EXPECT_EQ(value(out[b]), expected(table, b)) << "byte 0x" << std::hex << b;
}

TEST(ToolsCodePages, DevicePairMapsEveryByteAsItsTable) {
    const std::vector<Range> common = {{0x00, 0x01, kShift, 0},
                                       {0x02, 0x1F, '?', 0},
                                       {0x20, 0x7E, kShift, 0},
                                       {0x7F, 0x7F, 0x97, 0}};
    std::vector<Range> toDos = common, fromDos = common;
    toDos.insert(toDos.end(),
                 {{0x80, 0xBF, ' ', 0}, {0xC0, 0xEF, kShift, -0x40}, {0xF0, 0xFF, kShift, -0x10}});
    fromDos.insert(fromDos.end(), {{0x80, 0xAF, kShift, 0x10},
                                   {0xB0, 0xDF, ' ', 0},
                                   {0xE0, 0xEF, kShift, -0x60},
                                   {0xF0, 0xFF, ' ', 0}});
    checkAllBytes(fromASCIItoDOS(allBytes()), toDos);
    checkAllBytes(fromDOStoASCII(allBytes()), fromDos);  // the second UTF-8 byte only
    EXPECT_EQ(fromDOStoASCII(fromASCIItoDOS("\x41\xC0\xFF")), "\x41\x90\x8F");  // not inverses
    EXPECT_EQ(fromASCIItoDOS("") + fromDOStoASCII(""), "");
}

// The 21 letters of the Kazakh table.
const Range kKazakh[] = {
    {0x81, 0x81, 0x0492, 0}, {0x83, 0x83, 0x0493, 0}, {0x89, 0x89, 0x2116, 0},
    {0x8A, 0x8A, 0x04D8, 0}, {0x8C, 0x8C, 0x04A2, 0}, {0x8D, 0x8D, 0x049A, 0},
    {0x8E, 0x8E, 0x04BA, 0}, {0x9A, 0x9A, 0x04D9, 0}, {0x9C, 0x9C, 0x04A3, 0},
    {0x9D, 0x9D, 0x049B, 0}, {0x9E, 0x9E, 0x04BB, 0}, {0xA1, 0xA1, 0x04B0, 0},
    {0xA2, 0xA2, 0x04B1, 0}, {0xA8, 0xA8, 0x0401, 0}, {0xAA, 0xAA, 0x04E8, 0},
    {0xAF, 0xAF, 0x04AE, 0}, {0xB2, 0xB2, 0x0406, 0}, {0xB3, 0xB3, 0x0456, 0},
    {0xB8, 0xB8, 0x0451, 0}, {0xBA, 0xBA, 0x04E9, 0}, {0xBF, 0xBF, 0x04AF, 0},
};

TEST(ToolsCodePages, KazakhTableBothWays) {
    std::vector<Range> table(std::begin(kKazakh), std::end(kKazakh));
    table.insert(table.end(), {{0x00, 0x01, kShift, 0},
                               {0x02, 0x1F, '?', 0},
                               {0x20, 0x7E, kShift, 0},
                               {0x7F, 0x7F, 0xD7, 0},
                               {0x80, 0xBF, ' ', 0},
                               {0xC0, 0xFF, kShift, 0x350}});
    checkAllBytes(fromKAZASCII(allBytes()), table);
    for (const Range& letter : kKazakh)
        EXPECT_EQ(toKAZASCII(std::wstring(1, letter.fixed)),
                  std::string(1, static_cast<char>(letter.first)));
    const wchar_t in[] = {0x0000, 0x000A, 0x007E, 0x007F, 0x00D7,  0x0410,
                          0x044F, 0x0402, 0x0450, -1,     0x10041, 0x0100};
    EXPECT_EQ(toKAZASCII(std::wstring(in, 12)), std::string("\x00\x0A\x7E \x7F\xC0\xFF     ", 12));
    EXPECT_EQ(fromKAZASCII(toKAZASCII(L"\n")), L"?");
    EXPECT_TRUE(fromKAZASCII("").empty() && toKAZASCII(L"").empty());
}

}  // namespace
