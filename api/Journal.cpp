// Exported electronic journal.
#include <string>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"

namespace VERDA {

bool GetDocInEJByDate(std::string DateFrom, std::string DateTo, char Type, std::string& Text1,
                      std::string& Text2, int& Number1, int& Number2) {
    return verdaResult(
        vr35->GetDocInEJByDate(DateFrom, DateTo, Type, Text1, Text2, Number1, Number2));
}

bool GetInfoFromEJ0(int Number, char Type, int& Value1, int& Value2, std::string& Text, char& Flag,
                    int& Value3) {
    return verdaResult(vr35->GetInfoFromEJ0(Number, Type, Value1, Value2, Text, Flag, Value3));
}

bool GetInfoFromEJ1(std::string& Text) {
    return verdaResult(vr35->GetInfoFromEJ1(Text));
}

bool GetInfoFromEJ2(std::string& Text) {
    return verdaResult(vr35->GetInfoFromEJ2(Text));
}

bool GetInfoFromEJ3(int Number, char Type) {
    return verdaResult(vr35->GetInfoFromEJ3(Number, Type));
}

}  // namespace VERDA
