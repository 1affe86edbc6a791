#include "common/Readable.h"

#include "common/Utf8.h"

namespace readable {

namespace {

// Code points of CP1251 0x80..0xBF; its letters 0xC0..0xFF are А..я in
// order. 0x98 has no character.
const unsigned short kCp1251UpperQuarter[64] = {
    0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021, 0x20AC, 0x2030, 0x0409,
    0x2039, 0x040A, 0x040C, 0x040B, 0x040F, 0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0xFFFD, 0x2122, 0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F, 0x00A0,
    0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6, 0x00A7, 0x0401, 0x00A9, 0x0404, 0x00AB,
    0x00AC, 0x00AD, 0x00AE, 0x0407, 0x00B0, 0x00B1, 0x0406, 0x0456, 0x0491, 0x00B5, 0x00B6,
    0x00B7, 0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457,
};

unsigned int fromCp1251(unsigned char byte) {
    return byte >= 0xC0 ? 0x0410 + (byte - 0xC0) : kCp1251UpperQuarter[byte - 0x80];
}

// One letter of the one-way form: D0 90..D0 BF are А..п, D1 80..D1 8F р..я.
unsigned int fromOneWay(unsigned char byte) {
    return byte >= 0x90 ? 0x0410 + (byte - 0x90) : 0x0440 + (byte - 0x80);
}

}  // namespace

std::string toUtf8(const std::string& text) {
    std::string out;
    out.reserve(text.size() * 2);
    for (std::string::size_type at = 0; at < text.size();) {
        if (static_cast<unsigned char>(text[at]) < 0x80) {
            out += text[at++];
            continue;
        }
        std::string::size_type end = at;
        bool high = false;  // a byte from 0xC0 on
        for (; end < text.size() && static_cast<unsigned char>(text[end]) >= 0x80; ++end)
            high = high || static_cast<unsigned char>(text[end]) >= 0xC0;
        const std::string run = text.substr(at, end - at);
        if (utf8::valid(run)) {
            out += run;
        } else {
            for (const char c : run) {
                const unsigned char byte = static_cast<unsigned char>(c);
                utf8::append(out, high ? fromCp1251(byte) : fromOneWay(byte));
            }
        }
        at = end;
    }
    return out;
}

}  // namespace readable
