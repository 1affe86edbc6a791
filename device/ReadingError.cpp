#include "device/OperationShape.h"
#include "wire/ErrorCatalogue.h"
#include "device/VR35.h"
#include "tools/stdTools.h"

int VR35::ReadingError(int Code, int& ECode, std::string& ErrorMessage) {
    ECode = 0;
    // The minus sign is written ahead of the digits, so 0 asks for "-0".
    const int result =
        cmd::exchange(*this, "ReadingError", wire::Command::ReadingError,
                      cmd::Request().text("-" + IntToStdStr(Code)), [&](cmd::Fields& f) {
                          ECode = f.integer();
                          ErrorMessage = fromDOStoASCII(f.text());
                      });
    // On every path, a failed request included, the catalogue explains Code
    // (never the ECode the register returned) when no text is there yet.
    if (ErrorMessage.empty()) {
        if (const char* text = errorText(Code)) ErrorMessage = text;
    }
    return cmd::finish(*this, result, [&](std::ostream& log) {
        log << "ReadingError(ECode=" << ECode << ",ErrorMessage=" << ErrorMessage << ");";
    });
}
