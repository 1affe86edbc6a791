#include "api/CorteliaVERDA.h"
#include "api/Globals.h"

namespace VERDA {

int LastResultCode() {
    return g_ResultCode;
}

}  // namespace VERDA
