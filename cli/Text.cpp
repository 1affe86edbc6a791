#include "cli/Text.h"

#include "common/Cp866.h"
#include "common/Readable.h"
#include "common/Utf8.h"

namespace cli {

namespace {

bool isControl(unsigned int code) {
    return code < 0x20 || code == 0x7F;
}

// Control characters, which would steer the terminal, as "?".
std::string withoutControls(std::string text) {
    for (char& c : text)
        if (isControl(static_cast<unsigned char>(c))) c = '?';
    return text;
}

}  // namespace

bool toApplication(const std::string& utf8, std::string& text, std::string& error) {
    text.clear();
    for (size_t i = 0; i < utf8.size();) {
        unsigned int code = 0;
        if (!utf8::decode(utf8, i, code)) {
            error = "\"" + utf8 + "\" is not UTF-8 text";
            return false;
        }
        if (isControl(code)) {
            error = "\"" + utf8 + "\" holds a control character";
            return false;
        }
        if (code == 0x0401) code = 0x0415;  // Ё
        if (code == 0x0451) code = 0x0435;  // ё
        if (code < 0x80) {
            text += static_cast<char>(code);
        } else if (code >= 0x0410 && code <= 0x044F) {
            text += static_cast<char>(code - 0x0410 + 0xC0);
        } else {
            std::string character;
            utf8::append(character, code);
            error = "the register cannot print \"" + character + "\" in \"" + utf8 + "\"";
            return false;
        }
    }
    return true;
}

std::string fromOneWay(const std::string& text) {
    return withoutControls(readable::toUtf8(text));
}

std::string fromCp866(const std::string& text) {
    return withoutControls(cp866::toUtf8(text));
}

size_t width(const std::string& utf8) {
    size_t count = 0;
    for (char c : utf8) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return count;
}

}  // namespace cli
