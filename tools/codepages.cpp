#include "tools/codepages.h"

#include "tools/textShapes.h"

namespace {

// The byte ranges below the letters, the same in both directions.
bool mapCommon(unsigned char in, unsigned char& out) {
    if (in <= 0x01) {
        out = in;
    } else if (in <= 0x1F) {
        out = '?';  // every control character, tab and line ends included
    } else if (in <= 0x7E) {
        out = in;
    } else if (in == 0x7F) {
        out = 0x97;
    } else {
        return false;
    }
    return true;
}

unsigned char toDos(unsigned char in) {
    unsigned char out;
    if (mapCommon(in, out)) return out;
    if (in <= 0xBF) return 0x20;                                   // also Ё and ё
    if (in <= 0xEF) return static_cast<unsigned char>(in - 0x40);  // А..п
    return static_cast<unsigned char>(in - 0x10);                  // р..я
}

unsigned char fromDos(unsigned char in) {
    unsigned char out;
    if (mapCommon(in, out)) return out;
    if (in <= 0xAF) return static_cast<unsigned char>(in + 0x10);  // А..п: D0 90..D0 BF
    if (in <= 0xDF) return 0x20;                                   // line drawing
    if (in <= 0xEF) return static_cast<unsigned char>(in - 0x60);  // р..я: D1 80..D1 8F
    return 0x20;                                                   // Ё, ё and the rest
}

// The Kazakh letters of the single-byte table, the same in both directions.
struct KazakhLetter {
    unsigned char byte;
    wchar_t code;
};

const KazakhLetter kKazakhLetters[] = {
    {0x81, 0x0492}, {0x83, 0x0493}, {0x89, 0x2116}, {0x8A, 0x04D8}, {0x8C, 0x04A2}, {0x8D, 0x049A},
    {0x8E, 0x04BA}, {0x9A, 0x04D9}, {0x9C, 0x04A3}, {0x9D, 0x049B}, {0x9E, 0x04BB}, {0xA1, 0x04B0},
    {0xA2, 0x04B1}, {0xA8, 0x0401}, {0xAA, 0x04E8}, {0xAF, 0x04AE}, {0xB2, 0x0406}, {0xB3, 0x0456},
    {0xB8, 0x0451}, {0xBA, 0x04E9}, {0xBF, 0x04AF},
};

const wchar_t kCyrillicOffset = 0x350;  // 0xC0..0xFF to U+0410..U+044F

wchar_t fromKaz(unsigned char in) {
    if (in <= 0x01) return in;
    if (in <= 0x1F) return L'?';
    if (in <= 0x7E) return in;
    if (in == 0x7F) return 0x00D7;
    if (in >= 0xC0) return in + kCyrillicOffset;
    for (const KazakhLetter& letter : kKazakhLetters)
        if (letter.byte == in) return letter.code;
    return L' ';
}

unsigned char toKaz(wchar_t in) {
    if (in >= 0 && in <= 0x7E) return static_cast<unsigned char>(in);
    if (in == 0x00D7) return 0x7F;
    if (in >= 0x0410 && in <= 0x044F) return static_cast<unsigned char>(in - kCyrillicOffset);
    for (const KazakhLetter& letter : kKazakhLetters)
        if (letter.code == in) return letter.byte;
    return 0x20;
}

}  // namespace

std::string fromASCIItoDOS(std::string text) {
    return text_shapes::mapEach<std::string>(text, toDos);
}

std::string fromDOStoASCII(std::string text) {
    return text_shapes::mapEach<std::string>(text, fromDos);
}

std::wstring fromKAZASCII(std::string text) {
    return text_shapes::mapEach<std::wstring>(text, fromKaz);
}

std::string toKAZASCII(std::wstring text) {
    return text_shapes::mapEach<std::string>(text, toKaz);
}
