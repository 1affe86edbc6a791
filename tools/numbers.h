#ifndef VERDA_TOOLS_NUMBERS_H
#define VERDA_TOOLS_NUMBERS_H

#include <string>

// Numbers and field conversions. Numeric text goes through the standard
// string streams in the global locale; a field that does not parse gives 0.
// The text arguments taken by non-constant reference are not changed, except
// by the cutting functions.

// --- Cutting ------------------------------------------------------------------
// Each returns one piece and leaves the other in text. Without the separator
// the whole text is returned and text is left empty.

// Returns what stands before the first separator, leaves what stands after it.
std::string CutBeforeFirst(std::string& text, std::string separator);
// Returns what stands after the first separator, leaves what stands before it.
std::string CutAfterFirst(std::string& text, std::string separator);
// Returns what stands after the last separator, leaves what stands before it.
std::string CutAfterLast(std::string& text, unsigned char separator);

// --- Text to number -------------------------------------------------------------

// StdStrToInt read as unsigned: an empty text gives 0; with filter only the
// digits are kept ("-" dropped). Unfiltered "-1" gives the bit pattern of -1.
unsigned int StdStrToUInt(std::string& text, bool filter);

// fallback for an empty text; otherwise stream extraction (0 when it fails).
double StdStrToDouble(std::string& text, double fallback);

// 0 for an empty text; otherwise stream extraction of a float.
float StdStrToFloat(std::string& text);

// Stream extraction in hexadecimal mode; 0 when it fails.
unsigned int HexStdStrToUInt(std::string& text);

// 0 for an empty text; otherwise a 16-bit hexadecimal extraction, of which
// the low byte is kept ("4a" gives 0x4A, "zz" gives 0).
unsigned char hexToChar(const std::string& text);

// --- Number to text -------------------------------------------------------------

// Fixed notation at precision decimals (the stream's 6 when negative),
// rounded as the stream rounds. separator "." or "," rewrites the other mark;
// any other separator leaves the text as the stream wrote it.
std::string FloatToStdStr(double value, int precision, char separator);

// Two lower-case hexadecimal digits, zero-filled.
std::string charToHex(unsigned char value);

// Two lower-case hexadecimal digits for each of count bytes, nothing between
// them; empty when count is 0 or less.
std::string toHexString(unsigned char* bytes, int count);

// A "0" in front of a text of exactly one character; other texts unchanged.
std::string add0(std::string text);

// --- Trimming ---------------------------------------------------------------------

// Leading and trailing blanks, tabs and carriage returns removed. Newlines
// and form feeds stay.
std::string trim(const std::string& text);

// In place: leading, trailing, or both, blanks, tabs, form feeds, newlines and
// carriage returns.
void TrimLeft(std::string& text);
void TrimRight(std::string& text);
void Trim(std::string& text);

// Every occurrence of from replaced by to, left to right, replaced text not
// scanned again; from equal to to returns text at once. Callers must not pass
// an empty from: the search would find it at the same place for ever.
std::string replaceStrings(std::string text, std::string from, std::string to);

// --- Packed decimal digits ----------------------------------------------------------

// Two characters into each byte, each pair read as a hexadecimal number
// ("1234" gives 0x12 0x34, "123" gives 0x01 0x23); a pair that does not
// parse gives a zero byte.
std::string CodeBSD(std::string digits);
// CodeBSD of the decimal text of value, with zero bytes in front up to width
// bytes; a longer result is not cut.
std::string CodeBSD(int value, int width);

// Two digit characters, high nibble first; a nibble above 9 gives "0".
std::string DecodeBSD(char value);
// DecodeBSD of each byte from start; count 0 means up to the end, and the
// range stops at the end of bytes.
std::string DecodeBSD(std::string bytes, unsigned int start, unsigned int count);

// Not implemented: always 0.
int BSDToInt(char value);
int BSDToInt(std::string bytes, unsigned int start, unsigned int count);

#endif
