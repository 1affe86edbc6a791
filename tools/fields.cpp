#include "tools/fields.h"

std::string CutBeforeFirst(std::string& text, char separator) {
    const std::string::size_type at = text.find(separator);
    std::string field;
    if (at == std::string::npos) {
        field.swap(text);
        return field;
    }
    field.assign(text, 0, at);
    text.erase(0, at + 1);
    return field;
}

int StdStrToInt(std::string& text, bool filter) {
    if (!filter) return text.empty() ? 0 : fromString<int>(text);
    std::string kept;
    for (char c : text) {
        if ((c >= '0' && c <= '9') || (c == '-' && (kept.empty() || kept[0] != '-'))) kept += c;
    }
    return kept.empty() ? 0 : fromString<int>(kept);
}

std::string IntToStdStr(int value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}
