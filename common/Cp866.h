#ifndef VERDA_COMMON_CP866_H
#define VERDA_COMMON_CP866_H

// The register's code page as Unicode, for our programs (the simulator and
// the command-line tool) that show device text to a person, and for the
// library's C interface, which speaks UTF-8. Header-only and not installed.

#include <string>

#include "common/Utf8.h"

namespace cp866 {

// Code points of CP866 0x80..0xFF: А..п, shades and box drawing, р..я, the last row.
inline constexpr unsigned short kUpperHalf[128] = {
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

// CP866 bytes to UTF-8, one character for each byte.
inline std::string toUtf8(const std::string& bytes) {
    std::string out;
    for (const char c : bytes) {
        const unsigned char byte = static_cast<unsigned char>(c);
        utf8::append(out, byte < 0x80 ? byte : kUpperHalf[byte - 0x80]);
    }
    return out;
}

// The CP866 byte of code, when it has one.
inline bool toByte(unsigned int code, unsigned char& byte) {
    if (code < 0x80) {
        byte = static_cast<unsigned char>(code);
        return true;
    }
    for (unsigned int i = 0; i < 128; ++i) {
        if (kUpperHalf[i] == code) {
            byte = static_cast<unsigned char>(0x80 + i);
            return true;
        }
    }
    return false;
}

// UTF-8 to CP866, one byte for each character; a character that CP866 lacks,
// and a byte that is not UTF-8, become "?".
inline std::string fromUtf8(const std::string& text) {
    std::string out;
    for (std::string::size_type at = 0; at < text.size();) {
        unsigned int code = 0;
        unsigned char byte = '?';
        if (!utf8::decode(text, at, code) || !toByte(code, byte)) byte = '?';
        out += static_cast<char>(byte);
    }
    return out;
}

}  // namespace cp866

#endif
