// Exported status, identity and device programming operations.
#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"

namespace VERDA {

bool GetStatusFP(std::string& StatusBytes) {
    return verdaResult(vr35->GetStatusFP(StatusBytes));
}

bool GetStatusShift(bool& ShiftIsOpen, bool& Shift24h, int& ShiftTime) {
    return verdaResult(vr35->GetStatusShift(ShiftIsOpen, Shift24h, ShiftTime));
}

bool FiscalTransactionsStatus(char& IsOpen, int& Number, int& Items, double& Amount, double& Paid) {
    return verdaResult(vr35->FiscalTransactionsStatus(IsOpen, Number, Items, Amount, Paid));
}

bool InfoByCurrentInv(double& Value1, double& Value2, double& Value3, double& Value4,
                      double& Value5, double& Value6) {
    return verdaResult(vr35->InfoByCurrentInv(Value1, Value2, Value3, Value4, Value5, Value6));
}

bool GetDateTime(std::string& DateTime) {
    return verdaResult(vr35->GetDateTime(DateTime));
}

bool SetDateTime(std::string DateTime) {
    return verdaResult(vr35->SetDateTime(DateTime));
}

bool DiagnosticInfo(std::string& Name, std::string& FwRev, std::string& FwDate, std::string& FwTime,
                    std::string& Checksum, std::string& Sw, std::string& DevNumber) {
    return verdaResult(vr35->DiagnosticInfo(Name, FwRev, FwDate, FwTime, Checksum, Sw, DevNumber));
}

bool ReadDeviceInfo1(std::string& Field1, std::string& Field2, std::string& Field3,
                     std::string& Field4, std::string& Field5) {
    return verdaResult(vr35->ReadDeviceInfo1(Field1, Field2, Field3, Field4, Field5));
}

bool ReadDeviceInfo2(std::string& Field1, std::string& Field2, std::string& Field3,
                     std::string& Field4, std::string& Field5) {
    return verdaResult(vr35->ReadDeviceInfo2(Field1, Field2, Field3, Field4, Field5));
}

bool ReadDeviceInfo3(int& Field1, std::string& Field2, int& Field3, std::string& Field4,
                     int& Field5, std::string& Field6) {
    return verdaResult(vr35->ReadDeviceInfo3(Field1, Field2, Field3, Field4, Field5, Field6));
}

bool PrintDiagnostic(char InfoType) {
    return verdaResult(vr35->PrintDiagnostic(InfoType));
}

bool Programming(std::string Name, std::string Index, std::string& Value) {
    return verdaResult(vr35->Programming(Name, Index, Value));
}

bool SetServiceParam(std::string Type, std::string Value, std::string Param3, std::string& Code,
                     std::string& Answer) {
    return verdaResult(vr35->SetServiceParam(Type, Value, Param3, Code, Answer));
}

bool SetTaxRates(double Tax1, double Tax2, double Tax3, double Tax4, double Tax5, double Tax6,
                 char Point, int& RemainingChanges) {
    return verdaResult(
        vr35->SetTaxRates(Tax1, Tax2, Tax3, Tax4, Tax5, Tax6, Point, RemainingChanges));
}

bool SetOperatorPassword(std::string OperField1, std::string OperField2, std::string OperField3) {
    return verdaResult(vr35->SetOperatorPassword(OperField1, OperField2, OperField3));
}

bool UploadImage(std::string Image, std::string& Answer) {
    return verdaResult(vr35->UploadImage(Image, Answer));
}

bool UploadStamp(std::string Stamp, std::string& Answer) {
    return verdaResult(vr35->UploadStamp(Stamp, Answer));
}

bool PowerOff() {
    return verdaResult(vr35->PowerOff());
}

bool Restart() {
    return verdaResult(vr35->Restart());
}

bool CheckUpdate() {
    return verdaResult(vr35->CheckUpdate());
}

bool GetTradingGroupInfo(int Group, int& GroupNumber, double& GroupAmount, std::string& GroupText) {
    return verdaResult(vr35->GetTradingGroupInfo(Group, GroupNumber, GroupAmount, GroupText));
}

bool GetDepInfoInCheck(int Dep, char& DepChar, double& DepAmount1, long& DepNumber,
                       double& DepAmount2, std::string& DepText) {
    return verdaResult(
        vr35->GetDepInfoInCheck(Dep, DepChar, DepAmount1, DepNumber, DepAmount2, DepText));
}

}  // namespace VERDA
