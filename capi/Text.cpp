// Text between UTF-8 at the C interface and the forms the members take and
// give (capi/operations.txt names the form of each parameter).

#include <cstring>
#include <string>

#include "capi/Wrapper.h"
#include "common/Cp866.h"

namespace capi {

namespace {

bool isControl(unsigned int code) {
    return code < 0x20 || code == 0x7F;
}

// A character of a text that fromASCIItoDOS converts, as CP1251: printable
// ASCII and А to я. Ё and ё, which the conversion turns into blanks, are sold
// as Е and е, as a cashier writes them when the register has no Ё.
bool toApplication(unsigned int code, unsigned char& byte) {
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

bool isUtf8(const std::string& text) {
    unsigned int code = 0;
    for (std::string::size_type i = 0; i < text.size();)
        if (!cp866::decodeUtf8(text, i, code)) return false;
    return true;
}

}  // namespace

int toMember(const char* utf8, Form form, std::string& text) {
    const std::string input(utf8);
    text.clear();
    text.reserve(input.size());
    int result = VERDA_OK;
    for (std::string::size_type i = 0; i < input.size();) {
        unsigned int code = 0;
        if (!cp866::decodeUtf8(input, i, code)) return VERDA_INVALID_UTF8;
        unsigned char byte = 0;
        const bool placed =
            form == Form::FromASCIItoDOS ? toApplication(code, byte) : cp866::toByte(code, byte);
        // Invalid UTF-8 further on outweighs a character out of place here.
        if (isControl(code) || !placed)
            result = VERDA_NOT_IN_CODE_PAGE;
        else
            text += static_cast<char>(byte);
    }
    return result;
}

std::string fromMember(const std::string& text, Form form) {
    std::string utf8;
    utf8.reserve(text.size() * 2);
    if (form == Form::FromDOStoASCII) {
        // A text of the library's own (the error catalogue's) or one without
        // Cyrillic is UTF-8 already; the one-way form never is, since its
        // letters are bare continuation bytes: 0x90..0xBF from D0 90..D0 BF
        // (А to п), 0x80..0x8F from D1 80..D1 8F (р to я).
        if (isUtf8(text)) return text;
        for (const char c : text) {
            const unsigned char byte = static_cast<unsigned char>(c);
            if (byte < 0x80)
                utf8 += c;
            else if (byte < 0x90)
                cp866::appendUtf8(utf8, 0x0440 + (byte - 0x80));
            else if (byte < 0xC0)
                cp866::appendUtf8(utf8, 0x0410 + (byte - 0x90));
            else
                cp866::appendUtf8(utf8, 0xFFFD);  // no letter of that form
        }
        return utf8;
    }
    for (const char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            utf8 += c;
        else
            cp866::appendUtf8(utf8, cp866::kUpperHalf[byte - 0x80]);
    }
    return utf8;
}

bool copyOut(const std::string& utf8, char* buffer, std::size_t size) {
    if (size == 0) return false;
    std::size_t length = utf8.size();
    const bool fits = length < size;
    if (!fits) {
        length = size - 1;
        // Back to the start of the character that would be split.
        while (length > 0 && (static_cast<unsigned char>(utf8[length]) & 0xC0) == 0x80) --length;
    }
    std::memcpy(buffer, utf8.data(), length);
    buffer[length] = '\0';
    return fits;
}

}  // namespace capi
