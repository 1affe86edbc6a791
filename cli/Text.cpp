#include "cli/Text.h"

#include "common/Readable.h"
#include "wire/RegisterText.h"

namespace cli {

namespace {

// Control characters, which would steer the terminal, as "?".
std::string withoutControls(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    return text;
}

}  // namespace

bool toApplication(const std::string& utf8, std::string& text, std::string& error) {
    const wire::text::Verdict verdict = wire::text::toApplication(utf8, text);
    switch (verdict.first) {
        case wire::text::Problem::None:
            return true;
        case wire::text::Problem::NotUtf8:
            error = "\"" + utf8 + "\" is not UTF-8 text";
            break;
        case wire::text::Problem::Control:
            error = "\"" + utf8 + "\" holds a control character";
            break;
        case wire::text::Problem::Unprintable: {
            std::string character;
            wire::text::appendUtf8(character, verdict.character);
            error = "the register cannot print \"" + character + "\" in \"" + utf8 + "\"";
            break;
        }
    }
    return false;
}

std::string fromOneWay(const std::string& text) {
    return withoutControls(readable::toUtf8(text));
}

std::string fromCp866(const std::string& text) {
    return withoutControls(wire::text::cp866ToUtf8(text));
}

size_t width(const std::string& utf8) {
    return wire::text::characters(utf8);
}

}  // namespace cli
