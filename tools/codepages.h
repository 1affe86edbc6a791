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

#endif
