#ifndef VERDA_WIRE_COMMAND_H
#define VERDA_WIRE_COMMAND_H

// The register's command numbers, one entry per number. An entry is named
// after the operation that owns the number; where several operations share
// one, the comment names the others and what tells them apart.

namespace wire {

enum class Command : unsigned int {
    DisplayClear = 0x21,
    DisplayLower = 0x23,
    OpenServiceInv = 0x26,
    CloseServiceInv = 0x27,
    PrintFreeTextInServiceInv = 0x2A,
    FeedPaper = 0x2C,
    CheckConnection = 0x2D,
    CutPaper = 0x2E,
    DisplayUpper = 0x2F,
    OpenFiscalInv = 0x30,  // also OpenShift: the receipt type field
    RegisterSale = 0x31,
    ReportOnTaxRates = 0x32,
    Subtotal = 0x33,
    TotalCorrecion = 0x34,
    Total = 0x35,
    PrintFreeTextInFiscalInv = 0x36,
    CloseFiscalInv = 0x38,
    SetFiscalInvParam = 0x39,
    RegisterArticleSale = 0x3A,
    CancelFiscalInv = 0x3C,
    SetDateTime = 0x3D,
    GetDateTime = 0x3E,
    LatestFiscalRecord = 0x40,
    AmountOfSavingsPerDay = 0x41,
    FreeFieldsByFiscalMemory = 0x44,
    PrintReport = 0x45,
    ParishOrConsumption = 0x46,
    PrintDiagnostic = 0x47,  // also GetStateFN: the same selector, a reply of eleven fields
    Fiscalization = 0x48,
    GetStatusFP = 0x4A,
    GetStatusShift = 0x4B,
    FiscalTransactionsStatus = 0x4C,
    GetOFDandFNStatus = 0x4D,
    Beep = 0x50,
    SetTaxRates = 0x53,
    PrintBarCode = 0x54,
    DateOfLastEntryByFiscalMemory = 0x56,
    GetTradingGroupInfo = 0x57,
    GetDepInfoInCheck = 0x58,
    TestFiscalMemory = 0x59,
    DiagnosticInfo = 0x5A,
    SetManufacturersSerialNumber = 0x5B,
    PrintDivideLine = 0x5C,
    FiscalReportByDate = 0x5E,
    FiscalReportByNumber = 0x5F,
    SetTAXNumber = 0x62,
    GetTAXNumber = 0x63,
    ReadingError = 0x64,
    SetOperatorPassword = 0x65,
    InfoByCurrentInv = 0x67,
    OperatorReport = 0x69,
    OpenCashDrawer = 0x6A,
    PrgAndReadArticle = 0x6B,  // PrgAndReadArticleI, P, A, D, R, F, L, ...: the sub-command letter
    PrintDublicateReceipt = 0x6D,
    DailyReportByTypesOfPayment = 0x6E,  // members 0 to 5: the sub-code
    ReportByArticle = 0x6F,
    ReportByOperators = 0x70,  // also ReadFiscalMemoryBlock: a leading "0" field
    ReadDeviceInfo = 0x7B,     // ReadDeviceInfo1, 2, 3: the sub-code
    GetDocInEJByDate = 0x7C,
    GetInfoFromEJ = 0x7D,  // GetInfoFromEJ0 to 3: the sub-code
    PrintStamp = 0x7F,
    ChangeOFDRegistration = 0x90,
    CheckUpdate = 0xC8,
    UploadImage = 0xCA,  // also PowerOff and Restart: the text of the one field
    UploadStamp = 0xCB,
    SetServiceParam = 0xFD,
    Programming = 0xFF,
};

inline constexpr unsigned int number(Command command) {
    return static_cast<unsigned int>(command);
}

}  // namespace wire

#endif
