#ifndef VERDA_API_GLOBALS_H
#define VERDA_API_GLOBALS_H

// The library's two globals. Internal: no exported function reads them, and
// they are not part of the installed interface.

class VR35;

extern VR35* vr35;        // the one driver, made by VERDA::Init
extern int g_ResultCode;  // result of the last exported operation

// The shape of every exported operation: keep the result, report success.
inline bool verdaResult(int result) {
    g_ResultCode = result;
    return result == 0;
}

#endif
