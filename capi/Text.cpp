// Text between UTF-8 at the C interface and the forms the members take and
// give (capi/operations.txt names the form of each parameter).

#include <cstring>
#include <string>

#include "capi/Wrapper.h"
#include "common/Cp866.h"
#include "common/Utf8.h"
#include "wire/Frame.h"

// A reply's data is at most what its 16-bit length word leaves beside the
// header; a CP866 byte is at most three bytes of UTF-8.
static_assert(VERDA_TEXT_MAX == 3 * (0xFFFF - wire::kReplyLengthBias) + 1,
              "VERDA_TEXT_MAX holds the longest reply field in UTF-8");

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

}  // namespace

int toMember(const char* given, Form form, std::string& text) {
    const std::string input(given);
    text.clear();
    text.reserve(input.size());
    int result = VERDA_OK;
    for (std::string::size_type i = 0; i < input.size();) {
        unsigned int code = 0;
        if (!utf8::decode(input, i, code)) return VERDA_INVALID_UTF8;
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
    if (form == Form::FromDOStoASCII) {
        // A text of the library's own (the error catalogue's) or one without
        // Cyrillic is UTF-8 already; the one-way form never is, since its
        // letters are bare continuation bytes: 0x90..0xBF from D0 90..D0 BF
        // (А to п), 0x80..0x8F from D1 80..D1 8F (р to я).
        if (utf8::valid(text)) return text;
        std::string out;
        out.reserve(text.size() * 2);
        for (const char c : text) {
            const unsigned char byte = static_cast<unsigned char>(c);
            if (byte < 0x80)
                out += c;
            else if (byte < 0x90)
                utf8::append(out, 0x0440 + (byte - 0x80));
            else if (byte < 0xC0)
                utf8::append(out, 0x0410 + (byte - 0x90));
            else
                utf8::append(out, 0xFFFD);  // no letter of that form
        }
        return out;
    }
    return cp866::toUtf8(text);
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
