// Interim definitions of the three virtual operations whose commands come
// with the reports and the printer initialisation; each file that brings the
// real one removes its definition here.
#include "device/VR35.h"

int VR35::PrinterInit() {
    return 100001;
}
bool VR35::PrintZReport() {
    return false;
}
bool VR35::PrintXReport() {
    return false;
}
