#ifndef VERDA_WIRE_REGISTER_TEXT_H
#define VERDA_WIRE_REGISTER_TEXT_H

// The register's text rules, for every part that meets text from a person or
// a program (the C interface, the tool, the server, the readable log, the
// simulator): UTF-8 at those edges, and the three forms of the register's
// own text.
//
//   - The register's code page, CP866: what it stores, prints and sends.
//   - The application's form: single bytes, the Cyrillic letters coded as in
//     CP1251. The driver converts it into CP866 for the register on the way
//     in; it carries printable ASCII and А to я, so Ё and ё are written as Е
//     and е, as a cashier writes them when the register has no Ё.
//   - The one-way form: what the driver hands back from the register, each
//     Cyrillic letter reduced to the second byte of its UTF-8 form (0x90 to
//     0xBF for А to п, 0x80 to 0x8F for р to я), which is put back here.
//
// Internal to the protocol core; not installed.

#include <cstddef>
#include <string>

namespace wire {
namespace text {

// --- UTF-8 ----------------------------------------------------------------

// Reads the character at text[at] into code and steps at past it. A byte
// that starts no well-formed character (a stray continuation byte, a cut,
// overlong or surrogate sequence, a code point above U+10FFFF) gives false,
// with at one byte further on.
bool decodeUtf8(const std::string& text, std::size_t& at, unsigned int& code);
// True when the whole of text is well-formed UTF-8.
bool isUtf8(const std::string& text);
// Appends code, a code point up to U+10FFFF, as UTF-8.
void appendUtf8(std::string& out, unsigned int code);
// The number of characters of UTF-8 text: the bytes that are not
// continuation bytes.
std::size_t characters(const std::string& utf8);

// --- Checking and converting a text for the register ----------------------

// What stands in the way of a text: nothing; bytes that are not UTF-8; a
// control character (below U+0020, or U+007F), which could split a request
// field; a character that the form has no place for.
enum class Problem { None, NotUtf8, Control, Unprintable };

// The reading of a whole text for one form.
struct Verdict {
    Problem first = Problem::None;  // the first problem in the text's order
    unsigned int character = 0;     // the character of a first Control or Unprintable
    bool utf8 = true;               // the whole text is UTF-8
    std::size_t characters = 0;     // characters read, each bad byte counting as one

    bool ok() const { return first == Problem::None; }
};

// UTF-8 to the application's form: printable ASCII as it is, А to я as in
// CP1251, Ё and ё as Е and е. The text is read to its end; bytes holds what
// could be converted, and the verdict says what could not.
Verdict toApplication(const std::string& utf8, std::string& bytes);
// UTF-8 to CP866: every character that the code page has, but the control
// characters.
Verdict toCp866(const std::string& utf8, std::string& bytes);
// Whether the register can print text given in the application's form (the
// form of every name, cashier and free text line), and if not, why.
Verdict checkPrintable(const std::string& utf8);

// --- The register's text read back ----------------------------------------

// The character of one byte of the register's code page.
unsigned int fromCp866(unsigned char byte);
// The CP866 byte of code, when it has one.
bool cp866Byte(unsigned int code, unsigned char& byte);
// CP866 to UTF-8, one character for each byte.
std::string cp866ToUtf8(const std::string& bytes);
// UTF-8 to CP866, one byte for each character; a character that CP866
// lacks, and a byte that is not UTF-8, become "?".
std::string utf8ToCp866(const std::string& text);

// The character of one byte of the application's form, read as CP1251 (a
// client of the C++ interface may write any of it); 0x98, which has none,
// gives U+FFFD.
unsigned int fromApplication(unsigned char byte);
// The letter of one byte of the one-way form, 0x80 to 0xBF.
unsigned int fromOneWay(unsigned char byte);
// A text handed back in the one-way form, as UTF-8. A text that is UTF-8
// already (the library's own texts, such as its error catalogue, and any
// text without Cyrillic) is kept; otherwise bytes below 0x80 are kept, each
// one-way byte gives its letter, and a byte from 0xC0 on, which the form
// never holds, gives U+FFFD.
std::string oneWayToUtf8(const std::string& text);

}  // namespace text
}  // namespace wire

#endif
