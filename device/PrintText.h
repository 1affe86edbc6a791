#ifndef VERDA_DEVICE_PRINTTEXT_H
#define VERDA_DEVICE_PRINTTEXT_H

// A free line of text on an open document, fiscal or not: the same fields
// for both commands, which differ only in their number and their log line.
//
// Internal to the library; not installed.

#include <string>

#include "device/OperationShape.h"
#include "tools/stdTools.h"

namespace cmd {

// The text in the device's code page, cut to 48 bytes for the "ВЕРДА 700V-Ф"
// and to 32 for any other model. model comes from DiagnosticInfo through
// fromDOStoASCII, so a Cyrillic name read from the device does not equal the
// literal and gets 32; the comparison stays as the device family always had it.
inline std::string printText(const std::string& model, const std::string& text) {
    const std::string::size_type limit = model == "ВЕРДА 700V-Ф" ? 48 : 32;
    return fromASCIItoDOS(text).substr(0, limit);
}

// Text, then the six format bytes, each a raw byte of the request.
inline Request printTextRequest(const std::string& model, const std::string& Text, char Bold,
                                char Italic, char DoubleH, char Underline, char alignment,
                                char Extra) {
    return Request()
        .text(printText(model, Text))
        .byte(Bold)
        .byte(Italic)
        .byte(DoubleH)
        .byte(Underline)
        .byte(alignment)
        .byte(Extra);
}

}  // namespace cmd

#endif
