#include "tools/unicode.h"

#include <iconv.h>

#include <cerrno>
#include <stdexcept>
#include <vector>

#include "tools/textShapes.h"

namespace {

char toDos886(wchar_t c) {
    if (c >= 0x0410 && c <= 0x043F) return static_cast<char>(c - 0x0410 + 0x80);  // А..п
    if (c >= 0x0440 && c <= 0x044F) return static_cast<char>(c - 0x0440 + 0xE0);  // р..я
    if (c == 0x0401) return static_cast<char>(0x85);                              // Ё as Е
    if (c == 0x0451) return static_cast<char>(0xA5);                              // ё as е
    return static_cast<char>(static_cast<unsigned char>(c));                      // low 8 bits
}

wchar_t fromDos886(char byte) {
    const wchar_t b = static_cast<unsigned char>(byte);
    if (b < 0x80) return b;
    if (b <= 0xAF) return b - 0x80 + 0x0410;               // А..п
    if (b >= 0xE0 && b <= 0xEF) return b - 0xE0 + 0x0440;  // р..я
    // DB, DC, DE, DF, F0 (Ё), F1 (ё), F3 to F8, FD and FE have no element.
    const bool none = (b >= 0xDB && b <= 0xDF && b != 0xDD) ||
                      (b >= 0xF0 && b <= 0xFE && b != 0xF2 && (b < 0xF9 || b > 0xFC));
    if (none) return L'?';
    return b - 0x100;  // the other line-drawing bytes, read as signed 8-bit values
}

wchar_t upper(wchar_t c) {
    if (c >= L'a' && c <= L'z') return c - 0x20;
    if (c >= 0x0430 && c <= 0x044F && c != 0x0439) return c - 0x20;  // й has no upper case here
    if (c == 0x0451) return 0x0401;
    return c;
}

// Bytes of the UTF-8 form of one element; 0 when it is dropped.
int utf8Length(wchar_t c) {
    if (c <= 0x7F) return 1;  // negative values too
    if (c <= 0x7FF) return 2;
    if (c <= 0xFFFF) return 3;
    if (c <= 0x10FFFF) return 4;
    return 0;
}

void appendUtf8(std::string& out, wchar_t c) {
    const int length = utf8Length(c);
    if (length == 0) return;
    if (length == 1) {
        out += static_cast<char>(static_cast<unsigned char>(c));
        return;
    }
    static const unsigned int kLead[] = {0, 0, 0xC0, 0xE0, 0xF0};
    const unsigned int value = static_cast<unsigned int>(c);
    int shift = 6 * (length - 1);
    out += static_cast<char>(kLead[length] | (value >> shift));
    while (shift > 0) {
        shift -= 6;
        out += static_cast<char>(0x80 | ((value >> shift) & 0x3F));
    }
}

// Step from a position where a lead byte is expected; 0 for a continuation
// byte.
std::string::size_type leadStep(unsigned char b) {
    if (b < 0x80) return 1;
    if ((b & 0xF0) == 0xF0) return 4;
    if ((b & 0xE0) == 0xE0) return 3;
    if ((b & 0xC0) == 0xC0) return 2;
    return 0;
}

bool atEnd(FILE* file) {
    return feof(file) || ferror(file);  // a failed read counts as the end
}

}  // namespace

std::string UnicodeToDOS886(std::wstring text) {
    return text_shapes::mapEach<std::string>(text, toDos886);
}

std::wstring DOS886ToUnicode(std::string text) {
    return text_shapes::mapEach<std::wstring>(text, fromDos886);
}

std::wstring UpperCase(const std::wstring& text) {
    return text_shapes::mapEach<std::wstring>(text, upper);
}

std::string lowerCaseENG(std::string text) {
    return text_shapes::mapEach<std::string>(
        text, [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c; });
}

std::string convUTF16ToUTF8(const std::wstring& text) {
    std::string::size_type size = 0;
    for (wchar_t c : text) size += utf8Length(c);
    std::string result;
    result.reserve(size);
    for (wchar_t c : text) appendUtf8(result, c);
    return result;
}

std::wstring convUTF8ToUTF16(const std::string& text) {
    const auto byteAt = [&text](std::string::size_type i) {
        return static_cast<unsigned char>(text[i]);  // text[size()] is the terminating zero
    };
    // Counting pass. A continuation byte does not move it on: it never ends
    // on such input.
    std::wstring::size_type count = 0;
    for (std::string::size_type i = 0; i < text.size();) {
        const std::string::size_type step = leadStep(byteAt(i));
        if (step == 0) {
            text_shapes::keepLooping();
            continue;
        }
        i += step;
        ++count;
    }
    // Decoding pass. Three- and four-byte forms are built from the lead byte
    // alone, and their continuation bytes are stepped over unread.
    std::wstring result;
    result.reserve(count);
    for (std::string::size_type i = 0; i < text.size();) {
        const unsigned int b = byteAt(i);
        const std::string::size_type step = leadStep(static_cast<unsigned char>(b));
        switch (step) {
            case 1:
                result += static_cast<wchar_t>(b);
                break;
            case 4:
                result += static_cast<wchar_t>(((b & 0x07) << 18) | ((b & 0x3F) << 12) |
                                               ((b & 0x3F) << 6) | (b & 0x3F));
                break;
            case 3:
                // The lead byte read as a signed 8-bit value, shifted left by
                // 12 and cut to 16 bits: its sign bits land above bit 15 and
                // are cut, so the unsigned shift gives the same bits without
                // shifting a negative number.
                result +=
                    static_cast<wchar_t>(((b << 12) & 0xFFFF) | ((b & 0x3F) << 6) | (b & 0x3F));
                break;
            case 2:
                // A lead at the very end reads the terminating zero.
                result += static_cast<wchar_t>(((b & 0x1F) << 6) | (byteAt(i + 1) & 0x3F));
                break;
            default:
                break;  // a stray continuation byte, stepped over
        }
        i += step == 0 ? 1 : step;
    }
    return result;
}

std::string iConvert(const std::string& text, const char* from, const char* to) {
    iconv_t descriptor = iconv_open(to, from);
    if (descriptor == reinterpret_cast<iconv_t>(-1))
        throw std::runtime_error("Не удалось открыть дескриптор iconv");
    std::vector<char> buffer(text.size() * 4);
    std::string result;
    char* in = const_cast<char*>(text.data());  // iconv does not write the input
    std::size_t inLeft = text.size();
    while (inLeft > 0) {
        char* out = buffer.data();
        std::size_t outLeft = buffer.size();
        errno = 0;
        const std::size_t done = iconv(descriptor, &in, &inLeft, &out, &outLeft);
        const int error = errno;
        if (done == static_cast<std::size_t>(-1) && error != 0) {
            // The descriptor is closed before the exception leaves, so that a
            // failed conversion does not leak it.
            iconv_close(descriptor);
            throw std::runtime_error(error == EINVAL || error == EILSEQ ? "invalid multibyte chars"
                                                                        : "unknown error");
        }
        result.append(buffer.data(), static_cast<std::size_t>(out - buffer.data()));
    }
    if (iconv_close(descriptor) != 0)
        throw std::runtime_error("Не удается закрыть дескриптор iconv");
    return result;
}

std::string ws2s(const std::wstring& text) {
    return text_shapes::mapEach<std::string>(
        text, [](wchar_t c) { return static_cast<unsigned char>(c); });
}

std::wstring StringToWString(const std::string& text, const std::locale& locale) {
    const std::ctype<wchar_t>& facet = std::use_facet<std::ctype<wchar_t>>(locale);
    return text_shapes::mapEach<std::wstring>(text, [&facet](char c) { return facet.widen(c); });
}

std::string WStringToString(const std::wstring& text, const std::locale& locale) {
    const std::ctype<wchar_t>& facet = std::use_facet<std::ctype<wchar_t>>(locale);
    std::string result(text.size(), '\0');
    facet.narrow(text.data(), text.data() + text.size(), '?', &result[0]);
    return result;
}

int seekToLEBOM(FILE* file) {
    // A 0xFF followed by anything but 0xFE is used up as a pair, so in
    // 0xFF 0xFF 0xFE the second 0xFF is no candidate.
    while (!atEnd(file)) {
        if (fgetc(file) != 0xFF) continue;
        if (fgetc(file) == 0xFE) return 1;
    }
    return 0;
}

int readBOM(FILE* file) {
    const int first = fgetc(file);
    const int second = fgetc(file);
    if (first == EOF || second == EOF) return 0;
    if (first == 0xFF && second == 0xFE) return 1;
    if (first == 0xFE && second == 0xFF) return 2;
    return 0;
}

std::wstring readUTF16LEString(FILE* file) {
    std::wstring line;
    while (!atEnd(file)) {
        const int low = fgetc(file);
        if (low == EOF) continue;
        const int high = fgetc(file);
        if (high == EOF) continue;  // a single left-over byte
        const wchar_t unit = static_cast<wchar_t>(low | (high << 8));
        if (unit == 0x000A) return line;
        if (unit != 0x000D) line += unit;
    }
    return line;
}
