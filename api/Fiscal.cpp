// Exported fiscal memory, fiscalization, fiscal drive and data operator.
#include <string>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"

namespace VERDA {

bool Fiscalization(std::string SerialNumber, std::string TAXnumber, std::string REGnumber,
                   std::string InspPssword) {
    return verdaResult(vr35->Fiscalization(SerialNumber, TAXnumber, REGnumber, InspPssword));
}

bool SetTAXNumber(std::string TAXnumber) {
    return verdaResult(vr35->SetTAXNumber(TAXnumber));
}

bool GetTAXNumber(std::string& TAXnumber) {
    return verdaResult(vr35->GetTAXNumber(TAXnumber));
}

bool SetManufacturersSerialNumber(std::string Serial, std::string& ReplyText) {
    return verdaResult(vr35->SetManufacturersSerialNumber(Serial, ReplyText));
}

bool FiscalReportByDate(char Type, std::string DateFrom, std::string DateTo,
                        std::string& TextData) {
    return verdaResult(vr35->FiscalReportByDate(Type, DateFrom, DateTo, TextData));
}

bool FiscalReportByNumber(char Type, int From, int To, std::string& TextData) {
    return verdaResult(vr35->FiscalReportByNumber(Type, From, To, TextData));
}

bool ReadFiscalMemoryBlock(int From, int To, std::string& Block) {
    return verdaResult(vr35->ReadFiscalMemoryBlock(From, To, Block));
}

bool TestFiscalMemory(char Write, int& Records) {
    return verdaResult(vr35->TestFiscalMemory(Write, Records));
}

bool FreeFieldsByFiscalMemory(int& FreeFields) {
    return verdaResult(vr35->FreeFieldsByFiscalMemory(FreeFields));
}

bool DateOfLastEntryByFiscalMemory(std::string& EntryDate) {
    return verdaResult(vr35->DateOfLastEntryByFiscalMemory(EntryDate));
}

bool GetStateFN(char InfoType, std::string& Version, std::string& Number, std::string& Phase,
                std::string& ShiftStatus, std::string& WarningFlags, std::string& DateDeadline,
                std::string& RegLeft, int& ShiftNumber, int& ReceiptsCount, int& LastDocIssued,
                int& FirsDocUnsent) {
    return verdaResult(vr35->GetStateFN(InfoType, Version, Number, Phase, ShiftStatus, WarningFlags,
                                        DateDeadline, RegLeft, ShiftNumber, ReceiptsCount,
                                        LastDocIssued, FirsDocUnsent));
}

bool GetOFDandFNStatus(bool& StatusShift, bool& End24hours, int& ShiftNumber, int& DocNumber,
                       int& UnsendDocCount, int& FirstUnsent, std::string& DateTimeUnsent) {
    return verdaResult(vr35->GetOFDandFNStatus(StatusShift, End24hours, ShiftNumber, DocNumber,
                                               UnsendDocCount, FirstUnsent, DateTimeUnsent));
}

// The type byte is widened with its sign: byte 1 is type 1, "1" would be 49.
bool ChangeOFDRegistration(char OperationType, std::string InspPssword, int& nFD, int& SignFP) {
    return verdaResult(vr35->ChangeOFDRegistration(static_cast<signed char>(OperationType),
                                                   InspPssword, nFD, SignFP));
}

}  // namespace VERDA
