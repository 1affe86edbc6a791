#ifndef VERDA_COMMON_READABLE_H
#define VERDA_COMMON_READABLE_H

// The library's own text made readable: its log lines and the text fields it
// hands back. Not part of the library and not installed.
//
// The library writes three kinds of text side by side, often in one log
// line: Cyrillic read from the register in the one-way form (each letter as
// the bare second byte of its UTF-8 form, 0x80..0xBF), application text with
// its Cyrillic letters coded as in CP1251, and its own catalogue texts in
// UTF-8. None of them marks which it is.

#include <string>

namespace readable {

// Text of the library as UTF-8. Bytes below 0x80 are kept as they are. Each
// run of bytes from 0x80 on (a word, or part of one, between ASCII bytes) is
// read whole:
//   - well-formed UTF-8 is kept;
//   - a run with a byte from 0xC0 on that is not UTF-8 is CP1251: the
//     application's letters (0xC0..0xFF) never stand alone in the one-way
//     form, so their presence decides;
//   - any other run is the one-way form: 0x90..0xBF are А..п and 0x80..0x8F
//     are р..я, their lead bytes put back (0x97, the register's mark for DEL,
//     reads as З, since no text holds a DEL).
// Text that fits none of these cleanly (CP1251 punctuation alone, such as a
// bare "№", or raw CP866) comes out as readable characters all the same,
// though not the ones meant: the output is always well-formed UTF-8.
std::string toUtf8(const std::string& text);

}  // namespace readable

#endif
