#include "tools/numbers.h"

#include <sstream>

double StdStrToDouble(std::string& text, double fallback) {
    if (text.empty()) return fallback;
    std::istringstream stream(text);
    double value = 0;
    stream >> value;
    return value;
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

std::string trim(const std::string& text) {
    const char* const blanks = " \t\r";
    const std::string::size_type first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return std::string();
    const std::string::size_type last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

std::string replaceStrings(std::string text, std::string from, std::string to) {
    if (from == to) return text;
    std::string::size_type at = 0;
    while ((at = text.find(from, at)) != std::string::npos) {
        text.replace(at, from.size(), to);
        at += to.size();
    }
    return text;
}
