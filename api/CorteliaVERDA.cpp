// The exported lifecycle (Init, the opens and closes, Done) and the library's two
// globals.
#include "api/CorteliaVERDA.h"

#include <pwd.h>
#include <unistd.h>

#include "api/Globals.h"
#include "device/VR35.h"

VR35* vr35 = nullptr;
int g_ResultCode = 0;

namespace VERDA {

void Init() {
    vr35 = new VR35();  // an earlier driver is not looked at
    // A user without a passwd entry has no home: the log then fails to open
    // and says so on standard error, and the driver works on.
    const passwd* user = getpwuid(getuid());
    vr35->homeDir = user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "";
    vr35->homeDir += "/";
    vr35->logEnabled = true;
}

void Done() {
    if (vr35 != nullptr) delete vr35;  // the pointer is kept
}

bool setTimeOut(int timeout) {
    vr35->timeout = timeout;
    return true;
}

bool OpenSerial(std::string name, int baudRate) {
    return vr35->OpenSerial(name, baudRate);
}

bool CloseSerial() {
    return vr35->CloseCOMPort();
}

bool OpenSocket(std::string host, int port) {
    return vr35->OpenSocket(host, port);
}

bool CloseSocket() {
    return vr35->CloseSocket();
}

}  // namespace VERDA
