#ifndef VERDA_TOOLS_NUMBERS_H
#define VERDA_TOOLS_NUMBERS_H

#include <string>

// Numbers and field conversions. Numeric text goes through the standard
// string streams in the global locale; a field that does not parse gives 0.

// fallback for an empty text; otherwise stream extraction (0 when it fails).
double StdStrToDouble(std::string& text, double fallback);

// Fixed notation at precision decimals (the stream's 6 when negative),
// rounded as the stream rounds. separator "." or "," rewrites the other mark.
std::string FloatToStdStr(double value, int precision, char separator);

// Leading and trailing blanks, tabs and carriage returns removed.
std::string trim(const std::string& text);

// Every occurrence of from replaced by to, left to right, replaced text not
// scanned again. Callers must not pass an empty from: the search would find
// it at the same place for ever.
std::string replaceStrings(std::string text, std::string from, std::string to);

#endif
