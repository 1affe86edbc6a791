#ifndef VERDA_TOOLS_STRINGS_H
#define VERDA_TOOLS_STRINGS_H

#include <string>

// General string and byte helpers for the library's clients: pieces of a
// string, wide number conversions, dates, sums.

// --- Pieces of a string -------------------------------------------------------------
// text is not changed; without c the whole text is the answer.

std::string BeforeFirst(std::string text, char c);
std::string BeforeFirst(std::string text, unsigned char c);
// Also the whole text when the only c stands at position 0.
std::string BeforeLast(std::string text, char c);
std::string AfterFirst(std::string text, char c);
std::string AfterLast(std::string text, char c);

std::wstring BeforeWFirst(std::wstring text, wchar_t c);
// Also the whole text when the only c stands at position 0.
std::wstring BeforeWLast(std::wstring text, wchar_t c);
std::wstring AfterWFirst(std::wstring text, wchar_t c);

// Returns what stands before the first c and leaves what stands after it;
// without c the whole text is returned and text is left empty.
std::wstring CutBeforeWFirst(std::wstring& text, wchar_t c);

// --- Replacement ----------------------------------------------------------------------

// Every from replaced by to, in place. Callers must not pass from equal to
// to: the search would find the same character for ever.
void replaseChars(std::string& text, char from, char to);

// Every from replaced by to, in place, replaced text not scanned again; an
// empty from changes nothing.
void replaceAll(std::wstring& text, std::wstring from, std::wstring to);

// Every from replaced by to, replaced text not scanned again; from equal to
// to returns text at once. Callers must not pass an empty from: the search
// would find it at the same place for ever.
std::wstring replaceStrings(std::wstring text, std::wstring from, std::wstring to);

// --- Wide numbers ---------------------------------------------------------------------
// IntToStdWStr and fromWString<int> use the locale named "rus" and throw
// std::runtime_error where the system has none.

std::wstring IntToStdWStr(int value);
// FloatToStdStr's text as the stream wrote it, one element for each byte.
std::wstring FloatToStdWStr(double value, int precision);
// With filter only the digits and one leading "-" are kept first.
int StdWStrToInt(const std::wstring& text, bool filter);
// With filter only the digits are kept; read as an int, so "-1" gives the
// bit pattern of -1.
unsigned int StdWStrToUInt(const std::wstring& text, bool filter);

template <typename T>
T fromWString(const std::wstring& text);
// The text narrowed in the "rus" locale, then read as fromString<int> reads.
template <>
int fromWString<int>(const std::wstring& text);

// --- Dates, from the local time of the call ----------------------------------------------

// Day, month and year as "ddmmyyyy".
std::string getStrDate();
// getStrDate widened in the "rus" locale; throws std::runtime_error where the
// system has none.
std::wstring getWStrDate();
// "dd.mm.yyyy hh:mm:ss".
std::string getDateTime();

// Not implemented: always empty.
std::string getAppPathA();
std::wstring getAppPathW(bool);

// --- Bytes --------------------------------------------------------------------------------

int MaxI4(int a, int b);

// The value of a hexadecimal digit of either case; any other byte throws
// std::invalid_argument("Invalid input string").
int hexCharToInt(char c);

// low + rand() % (high - low + 1), from the unseeded generator. high equal to
// low - 1 divides by zero.
int RandInt(int low, int high);

// start combined with each of size bytes by exclusive or (no polynomial).
unsigned char CRC8(const char* data, unsigned char size, unsigned char start);

// CRC-16, polynomial 0x1021, most significant bit first, no final inversion:
// one byte, or size bytes from the start value crc. From 0xFFFF this is
// CRC-16/CCITT-FALSE.
unsigned short Crc16(unsigned char value, unsigned short crc);
unsigned short Crc16(const char* data, unsigned short size, unsigned short crc);

// In place: each byte of data combined by exclusive or with every key byte.
void Encrypt(unsigned char* key, unsigned short keySize, unsigned char* data,
             unsigned short dataSize);
// Not implemented: changes nothing.
void Decrypt(unsigned char* key, unsigned short keySize, unsigned char* data,
             unsigned short dataSize);

#endif
