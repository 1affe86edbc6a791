// Printer initialisation: what the driver needs to know about the device
// before the first document.
#include <string>

#include "device/VR35.h"
#include "tools/stdTools.h"

int VR35::PrinterInit() {
    std::string decimalPoint;
    const int read = Programming("DecimalPoint", "0", decimalPoint);
    if (read != 0) return read;  // the identity is not asked for then
    decimalPlaces = static_cast<unsigned char>(StdStrToInt(decimalPoint, false));  // low byte

    // Fills model, firmwareRevision and deviceNumber; the texts themselves are
    // not needed here.
    std::string name, fwRev, fwDate, fwTime, checksum, sw, devNumber;
    return DiagnosticInfo(name, fwRev, fwDate, fwTime, checksum, sw, devNumber);
}
