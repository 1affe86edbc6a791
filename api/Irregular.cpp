// The exported operations that do more than hand their arguments on (the
// others are generated: api/Forwards.cpp): a byte widened to the number it
// stands for, the point of the licence check, and the two reports whose
// result has always been reversed.
#include <string>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"

namespace {

// A byte handed on as a number, widened with its sign whatever char is here:
// byte 1 is 1, the digit "1" is 49.
int signedByte(char value) {
    return static_cast<signed char>(value);
}

}  // namespace

namespace VERDA {

bool PrinterInit() {
    g_ResultCode = vr35->PrinterInit();
    if (g_ResultCode != 0) return false;
    // The licence check stands at this point; this build leaves it empty.
    return g_ResultCode == 0;
}

bool SetFiscalInvParam(char Type, std::string Data) {
    return verdaResult(vr35->SetFiscalInvParam(signedByte(Type), Data));
}

bool Total(char PaidMode, double Amount, char Change, char& ErrorStatus, double& NewAmount,
           int& SlipNumber) {
    return verdaResult(
        vr35->Total(signedByte(PaidMode), Amount, Change, ErrorStatus, NewAmount, SlipNumber));
}

bool ChangeOFDRegistration(char OperationType, std::string InspPssword, int& nFD, int& SignFP) {
    return verdaResult(
        vr35->ChangeOFDRegistration(signedByte(OperationType), InspPssword, nFD, SignFP));
}

// The member's true (a report done) becomes result code 1 and false here:
// the reversed sense clients have always had.
bool PrintZReport() {
    return verdaResult(vr35->PrintZReport());
}

bool PrintXReport() {
    return verdaResult(vr35->PrintXReport());
}

}  // namespace VERDA
