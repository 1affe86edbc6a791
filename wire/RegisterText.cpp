#include "wire/RegisterText.h"

namespace wire {
namespace text {

namespace {

// Code points of CP866 0x80..0xFF: А..п, shades and box drawing, р..я, the last row.
const unsigned short kCp866UpperHalf[128] = {
    0x0410, 0x0411, 0x0412, 0x0413, 0x0414, 0x0415, 0x0416, 0x0417, 0x0418, 0x0419, 0x041A, 0x041B,
    0x041C, 0x041D, 0x041E, 0x041F, 0x0420, 0x0421, 0x0422, 0x0423, 0x0424, 0x0425, 0x0426, 0x0427,
    0x0428, 0x0429, 0x042A, 0x042B, 0x042C, 0x042D, 0x042E, 0x042F, 0x0430, 0x0431, 0x0432, 0x0433,
    0x0434, 0x0435, 0x0436, 0x0437, 0x0438, 0x0439, 0x043A, 0x043B, 0x043C, 0x043D, 0x043E, 0x043F,
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556, 0x2555, 0x2563, 0x2551, 0x2557,
    0x255D, 0x255C, 0x255B, 0x2510, 0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F,
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567, 0x2568, 0x2564, 0x2565, 0x2559,
    0x2558, 0x2552, 0x2553, 0x256B, 0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,
    0x0440, 0x0441, 0x0442, 0x0443, 0x0444, 0x0445, 0x0446, 0x0447, 0x0448, 0x0449, 0x044A, 0x044B,
    0x044C, 0x044D, 0x044E, 0x044F, 0x0401, 0x0451, 0x0404, 0x0454, 0x0407, 0x0457, 0x040E, 0x045E,
    0x00B0, 0x2219, 0x00B7, 0x221A, 0x2116, 0x00A4, 0x25A0, 0x00A0,
};

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

const unsigned int kReplacement = 0xFFFD;

bool isControl(unsigned int code) {
    return code < 0x20 || code == 0x7F;
}

// The application's byte of code: printable ASCII and А..я, Ё and ё as Е
// and е, since the driver's conversion would turn them into blanks.
bool applicationByte(unsigned int code, unsigned char& byte) {
    if (code == 0x0401) code = 0x0415;
    if (code == 0x0451) code = 0x0435;
    if (code < 0x80) {
        byte = static_cast<unsigned char>(code);
        return true;
    }
    if (code >= 0x0410 && code <= 0x044F) {
        byte = static_cast<unsigned char>(0xC0 + (code - 0x0410));
        return true;
    }
    return false;
}

// Reads utf8 to its end, placing each character by place(code, byte).
template <class Place>
Verdict convert(const std::string& utf8, std::string& bytes, Place place) {
    Verdict verdict;
    bytes.clear();
    bytes.reserve(utf8.size());
    auto note = [&verdict](Problem problem, unsigned int code) {
        if (verdict.first != Problem::None) return;
        verdict.first = problem;
        verdict.character = code;
    };
    for (std::size_t at = 0; at < utf8.size(); ++verdict.characters) {
        unsigned int code = 0;
        if (!decodeUtf8(utf8, at, code)) {
            verdict.utf8 = false;
            note(Problem::NotUtf8, 0);
            continue;
        }
        unsigned char byte = 0;
        if (isControl(code))
            note(Problem::Control, code);
        else if (!place(code, byte))
            note(Problem::Unprintable, code);
        else
            bytes += static_cast<char>(byte);
    }
    return verdict;
}

}  // namespace

bool decodeUtf8(const std::string& text, std::size_t& at, unsigned int& code) {
    const unsigned char lead = static_cast<unsigned char>(text[at]);
    const std::size_t start = at++;
    int more = 0;
    if (lead < 0x80) {
        code = lead;
        return true;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
        code = lead & 0x1F, more = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        code = lead & 0x0F, more = 2;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        code = lead & 0x07, more = 3;
    } else {
        return false;
    }
    static const unsigned int kLeast[] = {0, 0x80, 0x800, 0x10000};
    std::size_t next = start + 1;
    for (int k = 0; k < more; ++k, ++next) {
        if (next >= text.size()) return false;
        const unsigned char byte = static_cast<unsigned char>(text[next]);
        if ((byte & 0xC0) != 0x80) return false;
        code = (code << 6) | (byte & 0x3F);
    }
    if (code < kLeast[more] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
    at = next;
    return true;
}

bool isUtf8(const std::string& text) {
    unsigned int code = 0;
    for (std::size_t at = 0; at < text.size();)
        if (!decodeUtf8(text, at, code)) return false;
    return true;
}

void appendUtf8(std::string& out, unsigned int code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

std::size_t characters(const std::string& utf8) {
    std::size_t count = 0;
    for (const char c : utf8) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return count;
}

Verdict toApplication(const std::string& utf8, std::string& bytes) {
    return convert(utf8, bytes, applicationByte);
}

Verdict toCp866(const std::string& utf8, std::string& bytes) {
    return convert(utf8, bytes, cp866Byte);
}

Verdict checkPrintable(const std::string& utf8) {
    std::string bytes;
    return toApplication(utf8, bytes);
}

unsigned int fromCp866(unsigned char byte) {
    return byte < 0x80 ? byte : kCp866UpperHalf[byte - 0x80];
}

bool cp866Byte(unsigned int code, unsigned char& byte) {
    if (code < 0x80) {
        byte = static_cast<unsigned char>(code);
        return true;
    }
    for (unsigned int i = 0; i < 128; ++i) {
        if (kCp866UpperHalf[i] == code) {
            byte = static_cast<unsigned char>(0x80 + i);
            return true;
        }
    }
    return false;
}

std::string cp866ToUtf8(const std::string& bytes) {
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const char c : bytes) appendUtf8(out, fromCp866(static_cast<unsigned char>(c)));
    return out;
}

std::string utf8ToCp866(const std::string& text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        unsigned int code = 0;
        unsigned char byte = '?';
        if (!decodeUtf8(text, at, code) || !cp866Byte(code, byte)) byte = '?';
        out += static_cast<char>(byte);
    }
    return out;
}

unsigned int fromApplication(unsigned char byte) {
    if (byte < 0x80) return byte;
    return byte >= 0xC0 ? 0x0410 + (byte - 0xC0) : kCp1251UpperQuarter[byte - 0x80];
}

unsigned int fromOneWay(unsigned char byte) {
    return byte >= 0x90 ? 0x0410 + (byte - 0x90) : 0x0440 + (byte - 0x80);
}

std::string oneWayToUtf8(const std::string& text) {
    if (isUtf8(text)) return text;
    std::string out;
    out.reserve(text.size() * 2);
    for (const char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            out += c;
        else
            appendUtf8(out, byte < 0xC0 ? fromOneWay(byte) : kReplacement);
    }
    return out;
}

}  // namespace text
}  // namespace wire
