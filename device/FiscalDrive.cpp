// Fiscal drive and data operator: the drive's state, the queue of documents
// not yet with the operator, and the registration. The drive's phase, flags
// and dates reach the caller as the device's text, uninterpreted.
#include <ostream>
#include <string>

#include "device/OperationShape.h"
#include "device/Outputs.h"
#include "device/VR35.h"

// Shares 0x47 with PrintDiagnostic; InfoType selects the reply. Nothing is
// cleared: on failure the caller's values stay.
int VR35::GetStateFN(char InfoType, std::string& Version, std::string& Number, std::string& Phase,
                     std::string& ShiftStatus, std::string& WarningFlags, std::string& DateDeadline,
                     std::string& RegLeft, int& ShiftNumber, int& ReceiptsCount, int& LastDocIssued,
                     int& FirsDocUnsent) {
    const cmd::Outputs outputs = {{"Version", Version},
                                  {"Number", Number},
                                  {"Phase", Phase},
                                  {"ShiftStatus", ShiftStatus},
                                  {"WarningFlags", WarningFlags},
                                  {"DateDeadline", DateDeadline},
                                  {"RegLeft", RegLeft},
                                  {"ShiftNumber", ShiftNumber},
                                  {"ReceiptsCount", ReceiptsCount},
                                  {"LastDocIssued", LastDocIssued},
                                  {"FirsDocUnsent", FirsDocUnsent}};
    return cmd::runOutputs(*this, "GetStateFN", wire::Command::PrintDiagnostic,
                           cmd::Request().byte(InfoType), outputs, "GetStateFN(");
}

int VR35::GetOFDandFNStatus(bool& StatusShift, bool& End24hours, int& ShiftNumber, int& DocNumber,
                            int& UnsendDocCount, int& FirstUnsent, std::string& DateTimeUnsent) {
    const cmd::Outputs outputs = {{"StatusShift", StatusShift},       {"End24hours", End24hours},
                                  {"ShiftNumber", ShiftNumber},       {"DocNumber", DocNumber},
                                  {"UnsendDocCount", UnsendDocCount}, {"FirstUnsent", FirstUnsent},
                                  {"DateTimeUnsent", DateTimeUnsent}};
    cmd::clear(outputs);
    return cmd::runOutputs(*this, "GetOFDandFNStatus", wire::Command::GetOFDandFNStatus,
                           cmd::Request(), outputs, "GetOFDandFNStatus(");
}

// Only the types 1 to 4 and 31 answer with the two numbers; for the others
// both stay 0. The inspector's password reaches the log in clear.
int VR35::ChangeOFDRegistration(int OperationType, std::string InspPssword, int& nFD, int& SignFP) {
    nFD = 0;
    SignFP = 0;
    const bool numbered = (OperationType >= 1 && OperationType <= 4) || OperationType == 31;
    return cmd::run(
        *this, "ChangeOFDRegistration", wire::Command::ChangeOFDRegistration,
        cmd::Request().number(OperationType).text(InspPssword),
        [&](cmd::Fields& f) {
            if (!numbered) return;
            nFD = f.integer();
            SignFP = f.integer();
        },
        [&](std::ostream& log) {
            log << "ChangeOFDRegistration(OperationType=" << OperationType
                << ",InspPssword=" << InspPssword << ",nFD=" << nFD << ",SignFP=" << SignFP << ");";
        },
        cmd::FirstField::EmptyIsMinusOne);
}
