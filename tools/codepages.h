#ifndef VERDA_TOOLS_CODEPAGES_H
#define VERDA_TOOLS_CODEPAGES_H

#include <string>

// Device code pages. Each function maps byte by byte and keeps the length.

// Application text (Cyrillic as in CP1251) to device text (CP866).
std::string fromASCIItoDOS(std::string text);

// Device text (CP866) to the text handed back to the application: each
// Cyrillic letter becomes only the second byte of its UTF-8 form. Not the
// inverse of fromASCIItoDOS, and meant so.
std::string fromDOStoASCII(std::string text);

// Kazakh single-byte text (А to я placed as in CP1251, 0x7F the sign ×, and
// 21 Kazakh letters in the upper half) to wide text, one element per byte.
// Control characters become "?", unknown upper-half bytes a space.
std::wstring fromKAZASCII(std::string text);

// Wide text to Kazakh single-byte text, one byte per element. U+0000 to
// U+007E stay, control characters included; anything outside the table,
// U+007F and negative values too, becomes a space.
std::string toKAZASCII(std::wstring text);

#endif
