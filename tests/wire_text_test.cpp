// The register's text rules: UTF-8 to the application's form and to the
// register's code page with the reason for what cannot go, and the
// register's text read back from each form.
#include <gtest/gtest.h>

#include <string>

#include "tools/codepages.h"
#include "tools/unicode.h"
#include "wire/RegisterText.h"

namespace {

namespace rt = wire::text;
using rt::Problem;

const char kAllLetters[] = "АБВГДЕЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯабвгдежзийклмнопрстуфхцчшщъыьэюя";

enum Form { Application, Cp866 };

TEST(RegisterText, EachTextIsConvertedOrRefusedWithItsReason) {
    const struct {
        Form form;
        std::string utf8;
        std::string bytes;  // what could be converted
        Problem first;
        unsigned int character;  // of a Control or Unprintable first problem
        bool utf8Whole;
        size_t characters;
    } cases[] = {
        {Application, "Хлеб 1 кг", "\xD5\xEB\xE5\xE1 1 \xEA\xE3", Problem::None, 0, true, 9},
        // Ё would print as a blank: it goes as Е.
        {Application, "Ёлка ёж", "\xC5\xEB\xEA\xE0 \xE5\xE6", Problem::None, 0, true, 7},
        {Application, "", "", Problem::None, 0, true, 0},
        // A tab would split a request field.
        {Application, "a\tb", "ab", Problem::Control, 0x09, true, 3},
        {Application, "z\x7F", "z", Problem::Control, 0x7F, true, 2},
        {Application, "кофе €", "\xEA\xEE\xF4\xE5 ", Problem::Unprintable, 0x20AC, true, 6},
        {Application, "№ 5", " 5", Problem::Unprintable, 0x2116, true, 3},
        {Application, "\xD0", "", Problem::NotUtf8, 0, false, 1},
        {Application, "\xC0\x80", "", Problem::NotUtf8, 0, false, 2},          // overlong
        {Application, "\xED\xA0\x80", "", Problem::NotUtf8, 0, false, 3},      // surrogate
        {Application, "\xF4\x90\x80\x80", "", Problem::NotUtf8, 0, false, 4},  // above U+10FFFF
        // The first problem in the text's order is named; bytes that are not
        // UTF-8 further on still show.
        {Application, "€ \xD0", " ", Problem::Unprintable, 0x20AC, false, 3},
        {Application, "\xD0 €", " ", Problem::NotUtf8, 0, false, 3},
        // The register's code page has what the application's form lacks.
        {Cp866, "№ 5 ░", "\xFC 5 \xB0", Problem::None, 0, true, 5},
        {Cp866, "Ёж", "\xF0\xA6", Problem::None, 0, true, 2},
        {Cp866, "🙂", "", Problem::Unprintable, 0x1F642, true, 1},
        {Cp866, "a\nb", "ab", Problem::Control, 0x0A, true, 3},
        {Cp866, "\xFF", "", Problem::NotUtf8, 0, false, 1},
    };
    for (const auto& c : cases) {
        std::string bytes = "left over";
        const rt::Verdict verdict =
            c.form == Application ? rt::toApplication(c.utf8, bytes) : rt::toCp866(c.utf8, bytes);
        EXPECT_EQ(bytes, c.bytes) << c.utf8;
        EXPECT_EQ(verdict.first, c.first) << c.utf8;
        EXPECT_EQ(verdict.ok(), c.first == Problem::None) << c.utf8;
        EXPECT_EQ(verdict.character, c.character) << c.utf8;
        EXPECT_EQ(verdict.utf8, c.utf8Whole) << c.utf8;
        EXPECT_EQ(verdict.characters, c.characters) << c.utf8;
        if (c.form == Application) {
            EXPECT_EQ(rt::checkPrintable(c.utf8).first, c.first) << c.utf8;
        }
    }
}

// Typed, converted by the driver for the register and read back the way it
// hands device text over: every letter comes back as typed, Ё as Е.
TEST(RegisterText, CyrillicSurvivesTheDriversOneWayForm) {
    std::string bytes;
    const std::string typed = std::string(kAllLetters) + " 0-9 A-z,.";
    ASSERT_TRUE(rt::toApplication(typed + " Ёё", bytes).ok());
    EXPECT_EQ(rt::oneWayToUtf8(fromDOStoASCII(fromASCIItoDOS(bytes))), typed + " Ее");
    const struct {
        std::string handed, shown;
    } cases[] = {
        {"\xA5\xBB\xB5\xB1 \x80\xB6\xB0\xBD\xBE\xB9", "Хлеб ржаной"},
        {"\x97", "З"},                 // the driver's mark for DEL
        {"Нет ошибок", "Нет ошибок"},  // the library's own text, UTF-8 already
        {"a\xC5", "a\xEF\xBF\xBD"},    // no letter of the form
        {"\x01?", "\x01?"},            // below 0x80 as it is
        {"", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(rt::oneWayToUtf8(c.handed), c.shown) << c.shown;
}

TEST(RegisterText, Cp866IsReadWholeAndWrittenBack) {
    std::string high, all;
    for (int b = 0x80; b <= 0xFF; ++b) high += static_cast<char>(b);
    for (int b = 0; b <= 0xFF; ++b) all += static_cast<char>(b);
    EXPECT_EQ(rt::cp866ToUtf8(high), std::string(kAllLetters).substr(0, 2 * 48) +
                                         "░▒▓│┤╡╢╖╕╣║╗╝╜╛┐└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀" +
                                         std::string(kAllLetters).substr(2 * 48) +
                                         "ЁёЄєЇїЎў°∙·√№¤■\xC2\xA0");
    EXPECT_EQ(rt::utf8ToCp866(rt::cp866ToUtf8(all)), all);
    EXPECT_EQ(rt::utf8ToCp866("€ \xD0 я"), "? ? \xEF");
    EXPECT_EQ(rt::characters(rt::cp866ToUtf8(all)), 256u);
}

// The application's bytes read back as CP1251, which a client of the C++
// interface may write whole: the letters, and the upper quarter as the C
// library's converter reads it (0x98 has no character there).
TEST(RegisterText, ApplicationBytesReadAsCp1251) {
    for (int b = 0; b <= 0xFF; ++b) {
        const std::string byte(1, static_cast<char>(b));
        std::string expected;
        rt::appendUtf8(expected, rt::fromApplication(static_cast<unsigned char>(b)));
        EXPECT_EQ(expected, b == 0x98 ? "\xEF\xBF\xBD" : iConvert(byte, "CP1251", "UTF-8")) << b;
        // Every character the application's form carries comes back as
        // itself, but Ё and ё, which it writes as Е and е.
        std::string bytes;
        if (rt::toApplication(expected, bytes).ok()) {
            EXPECT_EQ(bytes, b == 0xA8 ? "\xC5" : b == 0xB8 ? "\xE5" : byte) << b;
        }
    }
}

}  // namespace
