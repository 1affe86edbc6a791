// Interim: PrinterInit arrives with the device programming commands, and
// this file goes with it.
#include "device/VR35.h"

int VR35::PrinterInit() {
    return 100001;
}
