#ifndef VERDA_CLI_TEXT_H
#define VERDA_CLI_TEXT_H

// Text between the terminal (UTF-8) and the library.
//
// The library takes application text with its Cyrillic letters coded as in
// CP1251, and hands device text back in one of two forms: most fields in its
// one-way form (each Cyrillic letter as the bare second byte of its UTF-8
// form), a few raw, in the register's CP866. Each output field is restored by
// the function that fits its form.

#include <string>

namespace cli {

// Typed text to the library's application text: ASCII as it is, А to я as
// in CP1251. Ё and ё become Е and е, since the register's conversion turns
// them into blanks. Returns false, with a message in error, for text that is
// not UTF-8, holds a control character (a tab would split a request field),
// or holds a character the register cannot print.
bool toApplication(const std::string& utf8, std::string& text, std::string& error);

// Device text in the one-way form back to UTF-8, and the library's own
// catalogue texts (UTF-8 already) kept, as readable::toUtf8 reads them.
// Control characters become "?".
std::string fromOneWay(const std::string& text);

// Raw register text, CP866, to UTF-8. Control characters become "?".
std::string fromCp866(const std::string& text);

// Number of characters in UTF-8 text (what a terminal column count needs).
size_t width(const std::string& utf8);

}  // namespace cli

#endif
