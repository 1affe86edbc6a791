// Interim: the Z and X reports arrive with the report commands, and this
// file goes with them.
#include "device/VR35.h"

bool VR35::PrintZReport() { return false; }
bool VR35::PrintXReport() { return false; }
