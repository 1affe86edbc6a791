#ifndef VERDA_COMMON_UTF8_H
#define VERDA_COMMON_UTF8_H

// UTF-8 for our programs beside the library (the simulator and the
// command-line tool) and for the library's C interface, which speaks it: the
// one reader and the one writer. Header-only and not installed.

#include <string>

namespace utf8 {

// Reads the character at text[at] into code and steps at past it. A byte
// that starts no well-formed character (a stray continuation byte, a cut,
// overlong or surrogate sequence, a code point above U+10FFFF) gives false,
// with at one byte further on.
inline bool decode(const std::string& text, std::string::size_type& at, unsigned int& code) {
    const unsigned char lead = static_cast<unsigned char>(text[at]);
    const std::string::size_type start = at++;
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
    std::string::size_type next = start + 1;
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

// True when the whole of text is well-formed UTF-8.
inline bool valid(const std::string& text) {
    unsigned int code = 0;
    for (std::string::size_type at = 0; at < text.size();)
        if (!decode(text, at, code)) return false;
    return true;
}

// Appends code, a code point up to U+10FFFF, as UTF-8.
inline void append(std::string& out, unsigned int code) {
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

}  // namespace utf8

#endif
