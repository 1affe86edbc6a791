#include "tools/strings.h"

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <locale>
#include <stdexcept>

#include "tools/fields.h"
#include "tools/numbers.h"
#include "tools/textShapes.h"
#include "tools/unicode.h"

namespace {

// What stands before or after position at; the whole text for npos.
template <typename S>
S before(const S& text, typename S::size_type at) {
    return at == S::npos ? text : text.substr(0, at);
}

template <typename S>
S after(const S& text, typename S::size_type at) {
    return at == S::npos ? text : text.substr(at + 1);
}

// The last c, where one at position 0 counts as none.
template <typename S>
typename S::size_type lastButFirst(const S& text, typename S::value_type c) {
    const typename S::size_type at = text.rfind(c);
    return at == 0 ? S::npos : at;
}

// The locale of the wide conversions. Throws std::runtime_error where the
// system has no locale of that name.
std::locale rus() {
    return std::locale("rus");
}

std::tm localNow() {
    const std::time_t now = std::time(nullptr);
    const std::tm* parts = std::localtime(&now);
    return parts ? *parts : std::tm();
}

std::string twoDigits(int value) {
    return add0(IntToStdStr(value));
}

}  // namespace

std::string BeforeFirst(std::string text, char c) {
    return before(text, text.find(c));
}

std::string BeforeFirst(std::string text, unsigned char c) {
    return BeforeFirst(text, static_cast<char>(c));
}

std::string BeforeLast(std::string text, char c) {
    return before(text, lastButFirst(text, c));
}

std::string AfterFirst(std::string text, char c) {
    return after(text, text.find(c));
}

std::string AfterLast(std::string text, char c) {
    return after(text, text.rfind(c));
}

std::wstring BeforeWFirst(std::wstring text, wchar_t c) {
    return before(text, text.find(c));
}

std::wstring BeforeWLast(std::wstring text, wchar_t c) {
    return before(text, lastButFirst(text, c));
}

std::wstring AfterWFirst(std::wstring text, wchar_t c) {
    return after(text, text.find(c));
}

std::wstring CutBeforeWFirst(std::wstring& text, wchar_t c) {
    return text_shapes::cutAt(text, text.find(c), 1, true);
}

void replaseChars(std::string& text, char from, char to) {
    std::string::size_type at = 0;
    while ((at = text.find(from, at)) != std::string::npos) {
        text[at] = to;
        text_shapes::keepLooping();  // from equal to to is found here for ever
    }
}

void replaceAll(std::wstring& text, std::wstring from, std::wstring to) {
    if (!from.empty()) text_shapes::replaceEvery(text, from, to);
}

std::wstring replaceStrings(std::wstring text, std::wstring from, std::wstring to) {
    return text_shapes::replaced(text, from, to);
}

std::wstring IntToStdWStr(int value) {
    return StringToWString(IntToStdStr(value), rus());
}

std::wstring FloatToStdWStr(double value, int precision) {
    return text_shapes::mapEach<std::wstring>(FloatToStdStr(value, precision, '\0'),
                                              [](char c) { return static_cast<unsigned char>(c); });
}

int StdWStrToInt(const std::wstring& text, bool filter) {
    return text_shapes::extract<int>(filter ? text_shapes::keepDigits(text, true) : text);
}

unsigned int StdWStrToUInt(const std::wstring& text, bool filter) {
    return static_cast<unsigned int>(
        text_shapes::extract<int>(filter ? text_shapes::keepDigits(text, false) : text));
}

template <>
int fromWString<int>(const std::wstring& text) {
    return fromString<int>(WStringToString(text, rus()));
}

std::string getStrDate() {
    const std::tm now = localNow();
    return twoDigits(now.tm_mday) + twoDigits(now.tm_mon + 1) + IntToStdStr(now.tm_year + 1900);
}

std::wstring getWStrDate() {
    return StringToWString(getStrDate(), rus());
}

std::string getDateTime() {
    const std::tm now = localNow();
    return twoDigits(now.tm_mday) + "." + twoDigits(now.tm_mon + 1) + "." +
           IntToStdStr(now.tm_year + 1900) + " " + twoDigits(now.tm_hour) + ":" +
           twoDigits(now.tm_min) + ":" + twoDigits(now.tm_sec);
}

std::string getAppPathA() {
    return std::string();
}

std::wstring getAppPathW(bool) {
    return std::wstring();
}

int MaxI4(int a, int b) {
    return a > b ? a : b;
}

int hexCharToInt(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    throw std::invalid_argument("Invalid input string");
}

int RandInt(int low, int high) {
    // high - low + 1 and the final sum are worked out as x86 computes them,
    // wrapping at 32 bits, so that a wide range does not overflow. A span of
    // 0 (high equal to low - 1, or the whole range of int) divides by zero,
    // which x86 answers with SIGFPE: that signal is raised here rather than
    // left to an undefined division.
    const int span =
        static_cast<int>(static_cast<unsigned int>(high) - static_cast<unsigned int>(low) + 1u);
    if (span == 0) {
        std::raise(SIGFPE);
        return low;
    }
    return static_cast<int>(static_cast<unsigned int>(low) +
                            static_cast<unsigned int>(std::rand() % span));
}

unsigned char CRC8(const char* data, unsigned char size, unsigned char start) {
    for (unsigned int i = 0; i < size; ++i) start ^= static_cast<unsigned char>(data[i]);
    return start;
}

unsigned short Crc16(unsigned char value, unsigned short crc) {
    unsigned int sum = crc ^ (static_cast<unsigned int>(value) << 8);
    for (int bit = 0; bit < 8; ++bit) sum = (sum & 0x8000) ? (sum << 1) ^ 0x1021 : sum << 1;
    return static_cast<unsigned short>(sum);
}

unsigned short Crc16(const char* data, unsigned short size, unsigned short crc) {
    for (unsigned int i = 0; i < size; ++i) crc = Crc16(static_cast<unsigned char>(data[i]), crc);
    return crc;
}

void Encrypt(unsigned char* key, unsigned short keySize, unsigned char* data,
             unsigned short dataSize) {
    for (unsigned int i = 0; i < dataSize; ++i)
        for (unsigned int k = 0; k < keySize; ++k) data[i] ^= key[k];
}

// Never implemented: the data stays as it is.
void Decrypt(unsigned char*, unsigned short, unsigned char*, unsigned short) {}
