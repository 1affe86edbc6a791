#include "tools/codepages.h"

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

template <unsigned char (*Map)(unsigned char)>
std::string mapBytes(const std::string& text) {
    std::string result(text.size(), '\0');
    for (std::string::size_type i = 0; i < text.size(); ++i)
        result[i] = static_cast<char>(Map(static_cast<unsigned char>(text[i])));
    return result;
}

}  // namespace

std::string fromASCIItoDOS(std::string text) {
    return mapBytes<toDos>(text);
}

std::string fromDOStoASCII(std::string text) {
    return mapBytes<fromDos>(text);
}
