// Wide text, encodings and UTF-16 text files.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

#include "tools/stdTools.h"

namespace {

TEST(ToolsUnicode, UnicodeToDos886CutsWhatItDoesNotKnowToTheLowByte) {
    const struct {
        wchar_t in;
        unsigned char out;
    } rows[] = {
        {0x0410, 0x80}, {0x043F, 0xAF}, {0x0440, 0xE0}, {0x044F, 0xEF},
        {0x0401, 0x85}, {0x0451, 0xA5}, {0x0402, 0x02}, {0x0450, 0x50},
        {0x2116, 0x16}, {L'A', 'A'},    {-1, 0xFF},     {0x0000, 0x00},
    };
    for (const auto& row : rows)
        EXPECT_EQ(UnicodeToDOS886(std::wstring(1, row.in)),
                  std::string(1, static_cast<char>(row.out)))
            << std::hex << row.in;
    EXPECT_EQ(UnicodeToDOS886(L""), "");
}

TEST(ToolsUnicode, Dos886ToUnicodeGivesNegativeElementsForLineDrawing) {
    std::string bytes(256, '\0');
    for (int b = 0; b < 256; ++b) bytes[b] = static_cast<char>(b);
    const std::wstring out = DOS886ToUnicode(bytes);
    ASSERT_EQ(out.size(), 256u);
    const std::string question("\xDB\xDC\xDE\xDF\xF0\xF1\xF3\xF4\xF5\xF6\xF7\xF8\xFD\xFE");
    for (int b = 0; b < 256; ++b) {
        wchar_t want = b - 0x100;  // the byte as a signed 8-bit value
        if (b < 0x80) want = b;
        if (b >= 0x80 && b <= 0xAF) want = 0x0410 + (b - 0x80);
        if (b >= 0xE0 && b <= 0xEF) want = 0x0440 + (b - 0xE0);
        if (question.find(static_cast<char>(b)) != std::string::npos) want = L'?';
        EXPECT_EQ(out[b], want) << "byte 0x" << std::hex << b;
    }
    EXPECT_EQ(DOS886ToUnicode("\xC4")[0], -60);
    EXPECT_EQ(DOS886ToUnicode(UnicodeToDOS886(L"\x0401")), L"\x0415");  // Ё is not kept
}

TEST(ToolsUnicode, CaseHelpers) {
    EXPECT_EQ(UpperCase(L"az\x0430\x0438\x0439\x044F\x0451 Z1\x0410"),
              L"AZ\x0410\x0418\x0439\x042F\x0401 Z1\x0410");  // й stays
    EXPECT_EQ(UpperCase(L""), L"");
    EXPECT_EQ(lowerCaseENG("AZ az@[\xC0\xD0"), "az az@[\xC0\xD0");
}

TEST(ToolsUnicode, Utf16ToUtf8) {
    const struct {
        wchar_t in;
        std::string out;
    } rows[] = {
        {L'A', "A"},
        {0x0410, "\xD0\x90"},
        {0x07FF, "\xDF\xBF"},
        {0x0800, "\xE0\xA0\x80"},
        {0x20AC, "\xE2\x82\xAC"},
        {0xD800, "\xED\xA0\x80"},  // no surrogate handling
        {0xFFFF, "\xEF\xBF\xBF"},
        {0x10000, "\xF0\x90\x80\x80"},
        {0x10FFFF, "\xF4\x8F\xBF\xBF"},
        {0x110000, ""},
        {-1, "\xFF"},
        {-0x7FFFFFFF - 1, std::string(1, '\0')},
    };
    for (const auto& row : rows)
        EXPECT_EQ(convUTF16ToUTF8(std::wstring(1, row.in)), row.out) << std::hex << row.in;
    EXPECT_EQ(convUTF16ToUTF8(L"a\x0436\x110000z"), "a\xD0\xB6z");
}

TEST(ToolsUnicode, Utf8ToUtf16DecodesLongFormsFromTheLeadByteAlone) {
    const struct {
        std::string in;
        std::wstring out;
    } rows[] = {
        {"\xD0\x90", L"\x0410"},
        {"A\xD0\xB6z", L"A\x0436z"},
        {"\xE2\x82\xAC", L"\x28A2"},
        {"\xEF\xBF\xBF", L"\xFBEF"},
        {"\xF0\x9F\x98\x80", L"\x30C30"},
        {"\xD0", L"\x0400"},    // the terminating zero read as the second byte
        {"x\xE2", L"x\x28A2"},  // continuation bytes are never read
        {"", L""},
    };
    for (const auto& row : rows) EXPECT_EQ(convUTF8ToUTF16(row.in), row.out) << row.in;
}

std::string thrown(const std::string& text, const char* from, const char* to) {
    try {
        iConvert(text, from, to);
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "nothing";
}

TEST(ToolsUnicode, IConvertConvertsOrThrowsWithItsTexts) {
    EXPECT_EQ(iConvert("\xD0\x90\xD1\x8F!", "UTF-8", "CP1251"), "\xC0\xFF!");
    EXPECT_EQ(iConvert("\x80", "CP866", "UTF-8"), "\xD0\x90");
    EXPECT_EQ(iConvert("", "UTF-8", "CP1251"), "");
    EXPECT_EQ(thrown("a", "NO-SUCH-CODE", "UTF-8"), "Не удалось открыть дескриптор iconv");
    EXPECT_EQ(thrown("\xFF", "UTF-8", "UTF-16LE"), "invalid multibyte chars");
    EXPECT_EQ(thrown("a\xD0", "UTF-8", "UTF-16LE"), "invalid multibyte chars");  // incomplete
    // A byte-order mark and one character need 8 bytes: more than the buffer.
    EXPECT_EQ(thrown("a", "UTF-8", "UTF-32"), "unknown error");
}

TEST(ToolsUnicode, NarrowingAndWidening) {
    EXPECT_EQ(ws2s(L"A\x0410\x01FF"), "A\x10\xFF");
    EXPECT_EQ(ws2s(std::wstring(1, -1)), "\xFF");
    const std::locale classic = std::locale::classic();
    EXPECT_EQ(StringToWString("az 9", classic), L"az 9");
    EXPECT_EQ(StringToWString("", classic), L"");
    EXPECT_EQ(WStringToString(L"az\x0410 9", classic), "az? 9");
    EXPECT_EQ(WStringToString(L"", classic), "");
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

TEST(ToolsUnicode, ReadBomReadsTwoBytesWhereTheFileStands) {
    const struct {
        std::string bytes;
        int mark;
    } rows[] = {{"\xFF\xFE", 1}, {"\xFE\xFF", 2}, {"ab", 0}, {"\xFF", 0}, {"", 0}};
    for (const auto& row : rows) EXPECT_EQ(readBOM(fileWith(row.bytes).get()), row.mark);
    File file = fileWith(
        "\xFF\xFE"
        "a");
    EXPECT_EQ(readBOM(file.get()), 1);
    EXPECT_EQ(fgetc(file.get()), 'a');  // it does not go back
}

TEST(ToolsUnicode, SeekToLeBomFindsAMarkAnywhere) {
    File middle = fileWith("xy\xFF\xFEz");
    EXPECT_EQ(seekToLEBOM(middle.get()), 1);
    EXPECT_EQ(fgetc(middle.get()), 'z');
    const char* const none[] = {"", "\xFF", "ab\xFE\xFF", "\xFF\xFF\xFE"};
    for (const char* bytes : none) EXPECT_EQ(seekToLEBOM(fileWith(bytes).get()), 0) << bytes;
    File later = fileWith("\xFF\xFF\xFE\xFF\xFE!");
    EXPECT_EQ(seekToLEBOM(later.get()), 1);
    EXPECT_EQ(fgetc(later.get()), '!');
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
