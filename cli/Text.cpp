#include "cli/Text.h"

#include "common/Cp866.h"

namespace cli {

namespace {

// Decodes one UTF-8 character at text[i], advancing i. False for a malformed
// or overlong sequence.
bool decode(const std::string& text, size_t& i, unsigned int& code) {
    const unsigned char lead = static_cast<unsigned char>(text[i++]);
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
    const unsigned int least[] = {0, 0x80, 0x800, 0x10000};
    for (int k = 0; k < more; ++k) {
        if (i >= text.size()) return false;
        const unsigned char next = static_cast<unsigned char>(text[i++]);
        if ((next & 0xC0) != 0x80) return false;
        code = (code << 6) | (next & 0x3F);
    }
    return code >= least[more] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

bool isControl(unsigned int code) {
    return code < 0x20 || code == 0x7F;
}

}  // namespace

bool toApplication(const std::string& utf8, std::string& text, std::string& error) {
    text.clear();
    for (size_t i = 0; i < utf8.size();) {
        unsigned int code = 0;
        if (!decode(utf8, i, code)) {
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
            cp866::appendUtf8(character, code);
            error = "the register cannot print \"" + character + "\" in \"" + utf8 + "\"";
            return false;
        }
    }
    return true;
}

std::string fromOneWay(const std::string& text) {
    for (char c : text)
        if (static_cast<unsigned char>(c) >= 0xC0) return text;
    std::string out;
    for (char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte >= 0x90)
            cp866::appendUtf8(out, 0x0410 + (byte - 0x90));
        else if (byte >= 0x80)
            cp866::appendUtf8(out, 0x0440 + (byte - 0x80));
        else
            out += isControl(byte) ? '?' : c;
    }
    return out;
}

std::string fromCp866(const std::string& text) {
    std::string out;
    for (char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte >= 0x80)
            cp866::appendUtf8(out, cp866::kUpperHalf[byte - 0x80]);
        else
            out += isControl(byte) ? '?' : c;
    }
    return out;
}

size_t width(const std::string& utf8) {
    size_t count = 0;
    for (char c : utf8) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return count;
}

}  // namespace cli
