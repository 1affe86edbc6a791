// Wide text, encodings and UTF-16 text files.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

#include "tools/stdTools.h"

namespace {

TEST(ToolsUnicode, Dos886Tables) {
    const wchar_t in[] = {0x0410, 0x043F, 0x0440, 0x044F, 0x0401,
                          0x0451, 0x0402, 0x0450, 0x2116, -1};
    EXPECT_EQ(UnicodeToDOS886(std::wstring(in, 10)), "\x80\xAF\xE0\xEF\x85\xA5\x02\x50\x16\xFF");
    std::string bytes(256, '\0');
    for (int b = 0; b < 256; ++b) bytes[b] = static_cast<char>(b);
    const std::wstring out = DOS886ToUnicode(bytes);
    ASSERT_EQ(out.size(), 256u);
    const std::string question("\xDB\xDC\xDE\xDF\xF0\xF1\xF3\xF4\xF5\xF6\xF7\xF8\xFD\xFE");
    for (int b = 0; b < 256; ++b) {
        wchar_t want = b < 0x80 ? b : b - 0x100;  // line drawing: the byte as a signed value
        if (b >= 0x80 && b <= 0xAF) want = 0x0410 + (b - 0x80);
        if (b >= 0xE0 && b <= 0xEF) want = 0x0440 + (b - 0xE0);
        if (question.find(static_cast<char>(b)) != std::string::npos) want = L'?';
        EXPECT_EQ(out[b], want) << "byte 0x" << std::hex << b;
    }
    EXPECT_EQ(DOS886ToUnicode(UnicodeToDOS886(L"\x0401")), L"\x0415");  // Ё is not kept
}

TEST(ToolsUnicode, CaseHelpers) {
    EXPECT_EQ(UpperCase(L"az\x0430\x0438\x0439\x044F\x0451 Z\x0410"),
              L"AZ\x0410\x0418\x0439\x042F\x0401 Z\x0410");  // й stays
    EXPECT_EQ(lowerCaseENG("AZ az@[\xC0\xD0"), "az az@[\xC0\xD0");
}

TEST(ToolsUnicode, Utf8Pair) {
    const struct {
        wchar_t in;
        std::string out;
    } rows[] = {{0x07FF, "\xDF\xBF"},           {0x0800, "\xE0\xA0\x80"},
                {0xD800, "\xED\xA0\x80"},       {0x10000, "\xF0\x90\x80\x80"},
                {0x10FFFF, "\xF4\x8F\xBF\xBF"}, {-1, "\xFF"}};
    for (const auto& row : rows) EXPECT_EQ(convUTF16ToUTF8(std::wstring(1, row.in)), row.out);
    EXPECT_EQ(convUTF16ToUTF8(L"a\x0436\x110000z"), "a\xD0\xB6z");  // above U+10FFFF dropped
    // Long forms come from the lead byte alone; continuation bytes are never read.
    EXPECT_EQ(convUTF8ToUTF16("A\xD0\x90\xE2\x82\xAC\xEF\xBF\xBFz"),
              L"A\x0410\x28A2\xFBEF"
              L"z");
    EXPECT_EQ(convUTF8ToUTF16("\xF0\x9F\x98\x80"
                              "x\xE2"),
              L"\x30C30x\x28A2");
    EXPECT_EQ(convUTF8ToUTF16("\xD0"), L"\x0400");  // the terminating zero as second byte
}

std::string thrown(const std::string& text, const char* from, const char* to) {
    try {
        return "no exception: " + iConvert(text, from, to);
    } catch (const std::runtime_error& e) {
        return e.what();
    }
}

TEST(ToolsUnicode, IConvertConvertsOrThrowsWithItsTexts) {
    EXPECT_EQ(iConvert("\xD0\x90\xD1\x8F!", "UTF-8", "CP1251"), "\xC0\xFF!");
    EXPECT_EQ(iConvert("", "UTF-8", "CP1251"), "");
    EXPECT_EQ(thrown("a", "NO-SUCH-CODE", "UTF-8"), "Не удалось открыть дескриптор iconv");
    EXPECT_EQ(thrown("\xFF", "UTF-8", "UTF-16LE"), "invalid multibyte chars");
    EXPECT_EQ(thrown("a\xD0", "UTF-8", "UTF-16LE"), "invalid multibyte chars");  // incomplete
    EXPECT_EQ(thrown("a", "UTF-8", "UTF-32"), "unknown error");  // a mark and "a": 8 bytes > 4
}

TEST(ToolsUnicode, NarrowingAndWidening) {
    EXPECT_EQ(ws2s(std::wstring(L"A\x0410\x01FF") + wchar_t(-1)), "A\x10\xFF\xFF");
    EXPECT_EQ(StringToWString("az 9", std::locale::classic()), L"az 9");
    EXPECT_EQ(WStringToString(L"az\x0410 9", std::locale::classic()), "az? 9");
    EXPECT_EQ(WStringToString(L"", std::locale::classic()), "");
}

// A temporary file holding bytes, read from its start.
using File = std::unique_ptr<FILE, int (*)(FILE*)>;
File fileWith(const std::string& bytes) {
    File file(tmpfile(), fclose);
    if (!file) throw std::runtime_error("tmpfile");
    fwrite(bytes.data(), 1, bytes.size(), file.get());
    rewind(file.get());
    return file;
}

TEST(ToolsUnicode, ByteOrderMarks) {
    const struct {
        std::string bytes;
        int bom, seek;
    } rows[] = {{"\xFF\xFE", 1, 1}, {"\xFE\xFF", 2, 0},     {"ab\xFF\xFE", 0, 1},
                {"\xFF", 0, 0},     {"\xFF\xFF\xFE", 0, 0}, {"", 0, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(readBOM(fileWith(row.bytes).get()), row.bom) << row.bytes;
        EXPECT_EQ(seekToLEBOM(fileWith(row.bytes).get()), row.seek) << row.bytes;
    }
    File file = fileWith(
        "\xFF\xFE"
        "a\xFF\xFF\xFE\xFF\xFE!");
    EXPECT_EQ(readBOM(file.get()), 1);
    EXPECT_EQ(seekToLEBOM(file.get()), 1);
    EXPECT_EQ(fgetc(file.get()), '!');  // just behind the mark
}

TEST(ToolsUnicode, ReadUtf16LeStringReadsLinesAndDropsCarriageReturns) {
    File file =
        fileWith(std::string("a\0\r\0b\0\n\0\x10\x04\r\0\n\0\xFF\xFF"
                             "c\0"
                             "x",
                             19));
    EXPECT_EQ(readUTF16LEString(file.get()), L"ab");
    EXPECT_EQ(readUTF16LEString(file.get()), L"\x0410");
    EXPECT_EQ(readUTF16LEString(file.get()),
              L"\xFFFF"
              L"c");  // upper bits zero; odd byte ignored
    EXPECT_EQ(readUTF16LEString(file.get()), L"");
}

}  // namespace
