#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"

namespace VERDA {

bool ReadingError(int Code, int& ECode, std::string& ErrorMessage) {
    return verdaResult(vr35->ReadingError(Code, ECode, ErrorMessage));
}

}  // namespace VERDA
