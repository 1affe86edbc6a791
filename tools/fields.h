#ifndef VERDA_TOOLS_FIELDS_H
#define VERDA_TOOLS_FIELDS_H

#include <sstream>
#include <string>

// Field tools of the command layer: a reply is a row of tab-ended fields.

// Returns what stands before the first separator and leaves in text what
// stands after it. Without a separator the whole text is returned and text is
// left empty.
std::string CutBeforeFirst(std::string& text, char separator);

// Reads an int with stream extraction: leading blanks skipped, a sign
// accepted, reading stops at the first character that does not fit. No
// number gives 0; a value out of range gives the type's limit.
template <typename T>
T fromString(const std::string& text) {
    std::istringstream stream(text);
    T value = T();
    stream >> value;
    return value;
}

// An empty text gives 0. With filter, only digits and one leading "-" are
// kept first ("a-1b2" gives -12). text is not changed.
int StdStrToInt(std::string& text, bool filter);

// Decimal text, "-" when negative.
std::string IntToStdStr(int value);

#endif
