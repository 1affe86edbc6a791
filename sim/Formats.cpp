#include "sim/Formats.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace sim {

bool parseFixed(const std::string& text, int decimals, long long& value) {
    std::string::size_type i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
    long long whole = 0;
    long long fraction = 0;
    int fractionDigits = 0;
    bool roundUp = false;
    bool digits = false;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i, digits = true) {
        if (whole > 100000000000LL) return false;
        whole = whole * 10 + (text[i] - '0');
    }
    if (i < text.size() && text[i] == '.') {
        for (++i; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i, digits = true) {
            if (fractionDigits < decimals) {
                fraction = fraction * 10 + (text[i] - '0');
                ++fractionDigits;
            } else if (fractionDigits++ == decimals) {
                roundUp = text[i] >= '5';
            }
        }
    }
    if (!digits || i != text.size()) return false;
    for (; fractionDigits < decimals; ++fractionDigits) fraction *= 10;
    long long scale = 1;
    for (int d = 0; d < decimals; ++d) scale *= 10;
    value = whole * scale + fraction + (roundUp ? 1 : 0);
    if (negative) value = -value;
    return true;
}

std::string formatFixed(long long value, int decimals) {
    long long scale = 1;
    for (int d = 0; d < decimals; ++d) scale *= 10;
    const unsigned long long magnitude =
        value < 0 ? 0ULL - static_cast<unsigned long long>(value) : value;
    std::string text = std::to_string(magnitude / scale);
    if (decimals > 0) {
        std::string fraction = std::to_string(magnitude % scale);
        text += "." + std::string(decimals - fraction.size(), '0') + fraction;
    }
    return value < 0 ? "-" + text : text;
}

long long mulDivRound(long long a, long long b, long long divisor) {
    // The x87 long double holds any product below 2^64 exactly, on 32 and 64
    // bits alike, and cannot overflow where a long long product would.
    return std::llround(static_cast<long double>(a) * b / divisor);
}

bool parseInt(const std::string& text, long long& value) {
    if (text.empty() || text.size() > 12) return false;
    std::string::size_type i = text[0] == '-' || text[0] == '+' ? 1 : 0;
    if (i == text.size()) return false;
    for (std::string::size_type k = i; k < text.size(); ++k)
        if (text[k] < '0' || text[k] > '9') return false;
    value = std::strtoll(text.c_str(), nullptr, 10);
    return true;
}

std::string str(long long value) {
    return std::to_string(value);
}

bool parseTime(const std::string& text, bool endOfDay, long long& time, bool& dateOnly) {
    std::tm t = std::tm();
    char tail = 0;
    const int got = std::sscanf(text.c_str(), "%2d.%2d.%4d %2d:%2d:%2d%c", &t.tm_mday, &t.tm_mon,
                                &t.tm_year, &t.tm_hour, &t.tm_min, &t.tm_sec, &tail);
    if ((got != 3 && got != 6) || t.tm_year < 2000 || t.tm_year > 2037 || t.tm_hour < 0 ||
        t.tm_hour > 23 || t.tm_min < 0 || t.tm_min > 59 || t.tm_sec < 0 || t.tm_sec > 59)
        return false;
    const std::tm wanted = t;
    t.tm_mon -= 1;
    t.tm_year -= 1900;
    const std::time_t seconds = timegm(&t);
    // A day that does not exist, such as 31.02, comes back as another.
    if (t.tm_mday != wanted.tm_mday || t.tm_mon + 1 != wanted.tm_mon) return false;
    dateOnly = got == 3;
    time = static_cast<long long>(seconds) + (dateOnly && endOfDay ? 24 * 3600 - 1 : 0);
    return true;
}

std::string formatTime(long long time) {
    const std::time_t seconds = static_cast<std::time_t>(time);
    std::tm t;
    gmtime_r(&seconds, &t);
    char text[64];
    std::snprintf(text, sizeof text, "%02d.%02d.%04d %02d:%02d:%02d", t.tm_mday, t.tm_mon + 1,
                  t.tm_year + 1900, t.tm_hour, t.tm_min, t.tm_sec);
    return text;
}

bool splitFields(const std::string& data, std::vector<std::string>& fields) {
    fields.clear();
    if (data.empty()) return true;
    if (data[data.size() - 1] != '\t') return false;
    std::string::size_type start = 0;
    for (std::string::size_type tab; (tab = data.find('\t', start)) != std::string::npos;
         start = tab + 1)
        fields.push_back(data.substr(start, tab - start));
    return true;
}

}  // namespace sim
