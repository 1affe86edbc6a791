#include "tools/numbers.h"

#include <iomanip>
#include <sstream>

#include "tools/fields.h"
#include "tools/textShapes.h"

namespace {

const char* const kTrimSet = " \t\f\n\r";

// Stream extraction in hexadecimal mode; 0 when it fails.
template <typename T>
T extractHex(const std::string& text) {
    std::istringstream stream(text);
    T value = T();
    stream >> std::hex >> value;
    return value;
}

}  // namespace

std::string CutBeforeFirst(std::string& text, std::string separator) {
    return text_shapes::cutAt(text, text.find(separator), separator.size(), true);
}

std::string CutAfterFirst(std::string& text, std::string separator) {
    return text_shapes::cutAt(text, text.find(separator), separator.size(), false);
}

std::string CutAfterLast(std::string& text, unsigned char separator) {
    return text_shapes::cutAt(text, text.rfind(static_cast<char>(separator)), 1, false);
}

unsigned int StdStrToUInt(std::string& text, bool filter) {
    std::string digits = filter ? text_shapes::keepDigits(text, false) : text;
    return static_cast<unsigned int>(StdStrToInt(digits, false));
}

double StdStrToDouble(std::string& text, double fallback) {
    if (text.empty()) return fallback;
    return text_shapes::extract<double>(text);
}

float StdStrToFloat(std::string& text) {
    return text.empty() ? 0.0f : text_shapes::extract<float>(text);
}

unsigned int HexStdStrToUInt(std::string& text) {
    return extractHex<unsigned int>(text);
}

unsigned char hexToChar(const std::string& text) {
    if (text.empty()) return 0;
    return static_cast<unsigned char>(extractHex<unsigned short>(text) & 0xFF);
}

std::string FloatToStdStr(double value, int precision, char separator) {
    std::ostringstream stream;
    stream.setf(std::ios::fixed, std::ios::floatfield);
    if (precision >= 0) stream.precision(precision);
    stream << value;
    std::string text = stream.str();
    if (separator == '.' || separator == ',') {
        const char other = separator == '.' ? ',' : '.';
        for (char& c : text)
            if (c == other) c = separator;
    }
    if (precision < 0) return text;
    const std::string::size_type point = text.find('.');
    const std::string::size_type comma = text.find(',');
    if (point == std::string::npos || comma == std::string::npos) return text;
    // Both marks: a grouping locale. Keep precision digits behind the later one.
    const std::string::size_type last = point > comma ? point : comma;
    return precision == 0 ? text.substr(0, last) : text.substr(0, last + 1 + precision);
}

std::string charToHex(unsigned char value) {
    std::ostringstream stream;
    stream << std::hex << std::setw(2) << std::setfill('0') << static_cast<unsigned int>(value);
    return stream.str();
}

std::string toHexString(unsigned char* bytes, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += charToHex(bytes[i]);
    return text;
}

std::string add0(std::string text) {
    return text.size() == 1 ? "0" + text : text;
}

std::string trim(const std::string& text) {
    const char* const blanks = " \t\r";
    const std::string::size_type first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return std::string();
    const std::string::size_type last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

void TrimLeft(std::string& text) {
    text.erase(0, text.find_first_not_of(kTrimSet));  // npos: all of it
}

void TrimRight(std::string& text) {
    const std::string::size_type last = text.find_last_not_of(kTrimSet);
    text.erase(last == std::string::npos ? 0 : last + 1);
}

void Trim(std::string& text) {
    TrimLeft(text);
    TrimRight(text);
}

std::string replaceStrings(std::string text, std::string from, std::string to) {
    return text_shapes::replaced(text, from, to);
}

std::string CodeBSD(std::string digits) {
    if (digits.size() % 2 != 0) digits.insert(0, 1, '0');
    std::string packed;
    for (std::string::size_type i = 0; i < digits.size(); i += 2)
        packed += static_cast<char>(extractHex<unsigned int>(digits.substr(i, 2)) & 0xFF);
    return packed;
}

std::string CodeBSD(int value, int width) {
    std::string packed = CodeBSD(IntToStdStr(value));
    if (width > 0 && packed.size() < static_cast<unsigned int>(width))
        packed.insert(0, static_cast<unsigned int>(width) - packed.size(), '\0');
    return packed;
}

std::string DecodeBSD(char value) {
    const unsigned int byte = static_cast<unsigned char>(value);
    const auto digit = [](unsigned int nibble) {
        return nibble > 9 ? '0' : static_cast<char>('0' + nibble);
    };
    return {digit(byte >> 4), digit(byte & 0x0F)};
}

std::string DecodeBSD(std::string bytes, unsigned int start, unsigned int count) {
    std::string::size_type end = bytes.size();
    if (count != 0 && start < end && count < end - start) end = start + count;
    std::string digits;
    for (std::string::size_type i = start; i < end; ++i) digits += DecodeBSD(bytes[i]);
    return digits;
}

// Never implemented: the packed digits are not read back as a number.
int BSDToInt(char) {
    return 0;
}

int BSDToInt(std::string, unsigned int, unsigned int) {
    return 0;
}
