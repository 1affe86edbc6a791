#ifndef VERDA_TOOLS_UNICODE_H
#define VERDA_TOOLS_UNICODE_H

#include <cstdio>
#include <locale>
#include <string>

// Wide text, encodings and UTF-16 text files. wchar_t is a signed 32-bit
// value, and a wide string holds one code point in each element.

// One CP866 byte for each element: А to я to their CP866 bytes, Ё and ё to
// the bytes of Е and е, anything else cut to its low 8 bits (U+2116 gives
// 0x16).
std::string UnicodeToDOS886(std::wstring text);

// One element for each CP866 byte: ASCII and the letters А to я as code
// points; the bytes of Ё, ё and a few others "?"; the remaining line-drawing
// bytes as negative values (the byte read as a signed 8-bit number, 0xC4
// gives -60). Not the inverse of UnicodeToDOS886.
std::wstring DOS886ToUnicode(std::string text);

// Latin a to z and Cyrillic а to я (except й, which stays) and ё to upper
// case; everything else unchanged.
std::wstring UpperCase(const std::wstring& text);

// The bytes A to Z to lower case; everything else unchanged.
std::string lowerCaseENG(std::string text);

// UTF-8 of each element compared as a signed number: negative values give
// their low byte, values above U+10FFFF are dropped, no surrogate handling.
std::string convUTF16ToUTF8(const std::wstring& text);

// Decodes one- and two-byte UTF-8 sequences (ASCII and all Cyrillic).
// Three- and four-byte sequences are built from their lead byte alone, so
// E2 82 AC gives U+28A2. Callers must pass valid UTF-8: a continuation byte
// where a lead byte is expected makes this function loop for ever.
std::wstring convUTF8ToUTF16(const std::string& text);

// text converted with iconv from the encoding from to the encoding to.
// Throws std::runtime_error: "Не удалось открыть дескриптор iconv" when the
// pair is unknown, "invalid multibyte chars" for invalid or incomplete
// input, "unknown error" for other failures (also a result more than four
// times the input's size), "Не удается закрыть дескриптор iconv".
std::string iConvert(const std::string& text, const char* from, const char* to);

// The low 8 bits of each element.
std::string ws2s(const std::wstring& text);

// Each byte widened, or each element narrowed with "?" as the default, by the
// wchar_t ctype facet of locale.
std::wstring StringToWString(const std::string& text, const std::locale& locale);
std::string WStringToString(const std::wstring& text, const std::locale& locale);

// Reads on to just behind the next 0xFF 0xFE pair: 1 when found, 0 at end of
// file. In 0xFF 0xFF 0xFE the second 0xFF is used up and no mark is found.
// An int rather than a bool, like readBOM: callers test for 1 and 0.
int seekToLEBOM(FILE* file);

// Reads two bytes from where the file stands: 1 for 0xFF 0xFE, 2 for
// 0xFE 0xFF, 0 for anything else or a failed read.
int readBOM(FILE* file);

// One line of UTF-16LE text, without its line feed; carriage returns are
// dropped wherever they stand. At end of file the text read so far; a single
// left-over byte is ignored.
std::wstring readUTF16LEString(FILE* file);

#endif
