// Exported service documents, printing and peripherals.
#include <string>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"

namespace VERDA {

bool OpenServiceInv(char Extend, int& SlipNumber) {
    return verdaResult(vr35->OpenServiceInv(Extend, SlipNumber));
}

bool CloseServiceInv(int& SlipNumber) {
    return verdaResult(vr35->CloseServiceInv(SlipNumber));
}

bool PrintFreeTextInServiceInv(std::string Text, char Bold, char Italic, char DoubleH,
                               char Underline, char alignment, char Extra) {
    return verdaResult(
        vr35->PrintFreeTextInServiceInv(Text, Bold, Italic, DoubleH, Underline, alignment, Extra));
}

bool PrintBarCode(char Type, std::string Data, int Option) {
    return verdaResult(vr35->PrintBarCode(Type, Data, Option));
}

bool PrintDivideLine(char Type) {
    return verdaResult(vr35->PrintDivideLine(Type));
}

bool PrintStamp(char Type, std::string Data) {
    return verdaResult(vr35->PrintStamp(Type, Data));
}

bool PrintDublicateReceipt() {
    return verdaResult(vr35->PrintDublicateReceipt());
}

bool CutPaper() {
    return verdaResult(vr35->CutPaper());
}

bool FeedPaper(int count) {
    return verdaResult(vr35->FeedPaper(count));
}

bool DisplayLower(std::string Text) {
    return verdaResult(vr35->DisplayLower(Text));
}

bool DisplayUpper(std::string Text) {
    return verdaResult(vr35->DisplayUpper(Text));
}

bool DisplayClear() {
    return verdaResult(vr35->DisplayClear());
}

bool OpenCashDrawer(int Value) {
    return verdaResult(vr35->OpenCashDrawer(Value));
}

bool Beep(int Hz, int mSec) {
    return verdaResult(vr35->Beep(Hz, mSec));
}

}  // namespace VERDA
