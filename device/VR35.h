#ifndef VERDA_DEVICE_VR35_H
#define VERDA_DEVICE_VR35_H

#include <string>

#include "device/CPrinter.h"
#include "wire/Frame.h"
#include "device/MyStatus.h"
#include "transport/Port.h"

// The register driver. Every device operation is one member: it builds a
// request of tab-ended fields, runs one framed exchange and cuts the reply.
// Results: 0 success, 100001 a failed exchange, any other positive number the
// device's own error (a few operations also give -1).
class VR35 : public CPrinter {
  public:
    unsigned char seq;          // sequence number of the last exchange (0x20..0x3D)
    unsigned char lastCommand;  // command of the exchange under way, low 8 bits
    std::string model;          // device name, from DiagnosticInfo
    int firmwareRevision;       // from DiagnosticInfo; 0 until it has run
    std::string deviceNumber;   // from DiagnosticInfo
    bool logEnabled;            // false after construction, true after VERDA::Init
    std::string homeDir;        // the user's home directory with a trailing "/"
    int timeout;                // port timeout: 10 ms units on serial, 1 ms on TCP
    Port* port;                 // owned; null when there is none
    MyStatus* status;           // owned; the status bytes of the last valid reply
    // What the link went through since the object was made, for whoever
    // watches it (the C interface hands them out): frames sent, frames sent
    // again after a missing or bad reply, NAKs received.
    unsigned long long framesSent;
    unsigned long long framesRepeated;
    unsigned long long naksReceived;

    VR35();
    ~VR35() override;

    // --- Link -------------------------------------------------------------
    unsigned char getNextSeq();
    // One request and its reply: 0, with reply holding the reply's data
    // bytes, or 100001. Throws std::length_error for a valid frame whose
    // length field is below 19.
    int SendPMessage(unsigned int command, unsigned char* data, int length, std::string& reply);

    // --- Lifecycle and transport -----------------------------------------
    bool OpenSerial(std::string name, int baudRate);
    bool OpenCOMPort(int port, int baudRate) override;
    bool CloseCOMPort();
    bool OpenSocket(std::string host, int port);
    bool CloseSocket();

    // --- The abstract printer interface -----------------------------------
    bool isOk() override;
    int PrinterInit() override;
    bool CashInOut(bool direction, double sum) override;
    bool GetCashSum(double& sum) override;
    bool PrintZReport() override;
    bool PrintXReport() override;
    bool PrintLine(std::wstring text) override;
    int GetLineLength() override;

    // --- Connection, status and device information --------------------------------
    int CheckConnection();
    int GetStatusFP(std::string& StatusBytes);
    int GetStatusShift(bool& ShiftIsOpen, bool& Shift24h, int& ShiftTime);
    int FiscalTransactionsStatus(char& IsOpen, int& Number, int& Items, double& Amount,
                                 double& Paid);
    int InfoByCurrentInv(double& Value1, double& Value2, double& Value3, double& Value4,
                         double& Value5, double& Value6);
    int GetDateTime(std::string& DateTime);
    int SetDateTime(std::string DateTime);
    // Also refreshes model, firmwareRevision and deviceNumber on success.
    int DiagnosticInfo(std::string& Name, std::string& FwRev, std::string& FwDate,
                       std::string& FwTime, std::string& Checksum, std::string& Sw,
                       std::string& DevNumber);
    // The first reply field is the first output here, not a result.
    int ReadDeviceInfo1(std::string& Field1, std::string& Field2, std::string& Field3,
                        std::string& Field4, std::string& Field5);
    int ReadDeviceInfo2(std::string& Field1, std::string& Field2, std::string& Field3,
                        std::string& Field4, std::string& Field5);
    int ReadDeviceInfo3(int& Field1, std::string& Field2, int& Field3, std::string& Field4,
                        int& Field5, std::string& Field6);
    int PrintDiagnostic(char InfoType);

    // --- Device programming ------------------------------------------------------
    // An empty Value reads the parameter into it; any other writes it.
    int Programming(std::string Name, std::string Index, std::string& Value);
    int SetServiceParam(std::string Type, std::string Value, std::string Param3, std::string& Code,
                        std::string& Answer);
    int SetTaxRates(double Tax1, double Tax2, double Tax3, double Tax4, double Tax5, double Tax6,
                    char Point, int& RemainingChanges);
    int SetOperatorPassword(std::string OperField1, std::string OperField2, std::string OperField3);
    int UploadImage(std::string Image, std::string& Answer);
    int UploadStamp(std::string Stamp, std::string& Answer);
    int PowerOff();
    int Restart();
    int CheckUpdate();
    int GetTradingGroupInfo(int Group, int& GroupNumber, double& GroupAmount,
                            std::string& GroupText);
    int GetDepInfoInCheck(int Dep, char& DepChar, double& DepAmount1, long& DepNumber,
                          double& DepAmount2, std::string& DepText);

    // --- Receipts ----------------------------------------------------------------
    // Whether the firmware's receipt commands take shorter field lists
    // (revision 944123 only).
    bool shortFieldsFirmware() const;
    int OpenFiscalInv(int OpCode, std::string OpPwd, int TillNmb, int ReceiptType,
                      std::string Buyer, std::string VatSystem, std::string OperName,
                      std::string OperInn, int& SlipNumber, int& nDoc, int& nShift);
    int OpenShift(int OpCode, std::string OpPwd, int TillNmb, std::string Buyer,
                  std::string VatSystem, std::string OperName, std::string OperInn, int& nFD,
                  int& SignFP, int& nShift);
    int CloseFiscalInv(int& SlipNumber, int& nFD, std::string& SignFP, int& nDoc, int& nShift);
    int CancelFiscalInv(int& SlipNumber);
    int SetFiscalInvParam(int Type, std::string Data);

    // --- Sales -------------------------------------------------------------------
    int RegisterSale(std::string PluName, char TaxCd, double Price, double Quantity, int Unit,
                     int Department, char DiscountType, double DiscountValue, double DiscSum,
                     double Sum, int Sign, int SignPay, int& SlipNumber);
    int RegisterArticleSale(int PluCode, double Quantity, char DiscountType, double DiscountValue,
                            int& SlipNumber);
    int PrintFreeTextInFiscalInv(std::string Text, char Bold, char Italic, char DoubleH,
                                 char Underline, char alignment, char Extra);

    // --- Subtotal, payment and correction ----------------------------------------
    int Subtotal(char Print, char Display, char DiscountType, double DiscountValue, int& SlipNumber,
                 double& Subtotal, double& Tax1, double& Tax2, double& Tax3, double& Tax4,
                 double& Tax5, double& Tax6);
    int Total(int PaidMode, double Amount, char Change, char& ErrorStatus, double& NewAmount,
              int& SlipNumber);
    // Not exported: reached only through the driver object.
    int TotalCorrecion(int PaidMode, double Amount_TL, double Tax_18, double Tax_10, double Corr_0,
                       double Corr_noNDS, double Tax_18_118, double Tax_10_110);
    int ParishOrConsumption(char Type, double Amount, double& CashSum, double& CashIn,
                            double& CashOut);

    // --- Service documents and printing ------------------------------------------
    int OpenServiceInv(char Extend, int& SlipNumber);
    int CloseServiceInv(int& SlipNumber);
    int PrintFreeTextInServiceInv(std::string Text, char Bold, char Italic, char DoubleH,
                                  char Underline, char alignment, char Extra);
    int PrintBarCode(char Type, std::string Data, int Option);
    int PrintDivideLine(char Type);
    int PrintStamp(char Type, std::string Data);  // -1 for an empty first reply field
    int PrintDublicateReceipt();
    int CutPaper();
    int FeedPaper(int count);

    // --- Peripherals -------------------------------------------------------------
    int DisplayLower(std::string Text);
    int DisplayUpper(std::string Text);
    int DisplayClear();
    int OpenCashDrawer(int Value);
    int Beep(int Hz, int mSec);

    // --- Shift reports and daily totals ------------------------------------------
    int PrintReport(char Type, int& nRep, int& nFD, int& SignFP, double& Sum1, double& Sum2,
                    double& Sum3, double& Sum4, double& Sum5, double& Sum6, double& Ret1,
                    double& Ret2, double& Ret3, double& Ret4, double& Ret5, double& Ret6,
                    double& Purch1, double& Purch2, double& Purch3, double& Purch4, double& Purch5,
                    double& Purch6, double& RetPurch1, double& RetPurch2, double& RetPurch3,
                    double& RetPurch4, double& RetPurch5, double& RetPurch6);
    int ReportOnTaxRates(int& NZreport, double& TaxA, double& TaxB, double& TaxC, double& TaxD,
                         double& TaxE, double& TaxF, std::string& EntryDate);
    int LatestFiscalRecord(char Type, char RecType, int& NRep, double& Sum1, double& Sum2,
                           double& Sum3, double& Sum4, double& Sum5, double& Sum6,
                           std::string& Date);
    int AmountOfSavingsPerDay(char Type, int& NRep, double& Sum1, double& Sum2, double& Sum3,
                              double& Sum4, double& Sum5, double& Sum6);
    int OperatorReport(int From, int To, char Type);
    int ReportByArticle(char Type, int From, int To);
    int ReportByOperators(int Operator, int& Number1, double& Amount1, int& Number2,
                          double& Amount2, int& Number3, double& Amount3, int& Number4,
                          double& Amount4, int& Number5, double& Amount5, int& Number6,
                          double& Amount6, int& Number7, double& Amount7);
    int DailyReportByTypesOfPayment0(double& Value1, double& Value2, double& Value3, double& Value4,
                                     double& Value5, double& Value6, double& Value7);
    int DailyReportByTypesOfPayment1(double& Value1, double& Value2, double& Value3, double& Value4,
                                     double& Value5, double& Value6, double& Value7);
    int DailyReportByTypesOfPayment2(int& Number1, double& Amount1);
    int DailyReportByTypesOfPayment3(int& Number1, double& Amount1, int& Number2, double& Amount2,
                                     int& Number3, double& Amount3, int& Number4, double& Amount4);
    int DailyReportByTypesOfPayment4(int& Number1, double& Amount1, int& Number2, double& Amount2);
    int DailyReportByTypesOfPayment5(int& Number1, double& Amount1, int& Number2, double& Amount2,
                                     int& Number3, double& Amount3, int& Number4, double& Amount4);

    // --- Fiscal memory and fiscalization -----------------------------------------
    int Fiscalization(std::string SerialNumber, std::string TAXnumber, std::string REGnumber,
                      std::string InspPssword);
    int SetTAXNumber(std::string TAXnumber);
    int GetTAXNumber(std::string& TAXnumber);
    int SetManufacturersSerialNumber(std::string Serial, std::string& ReplyText);
    int FiscalReportByDate(char Type, std::string DateFrom, std::string DateTo,
                           std::string& TextData);
    int FiscalReportByNumber(char Type, int From, int To, std::string& TextData);
    int ReadFiscalMemoryBlock(int From, int To, std::string& Block);
    int TestFiscalMemory(char Write, int& Records);
    int FreeFieldsByFiscalMemory(int& FreeFields);
    int DateOfLastEntryByFiscalMemory(std::string& EntryDate);

    // --- Fiscal drive and data operator ------------------------------------------
    int GetStateFN(char InfoType, std::string& Version, std::string& Number, std::string& Phase,
                   std::string& ShiftStatus, std::string& WarningFlags, std::string& DateDeadline,
                   std::string& RegLeft, int& ShiftNumber, int& ReceiptsCount, int& LastDocIssued,
                   int& FirsDocUnsent);
    int GetOFDandFNStatus(bool& StatusShift, bool& End24hours, int& ShiftNumber, int& DocNumber,
                          int& UnsendDocCount, int& FirstUnsent, std::string& DateTimeUnsent);
    // -1 when the device answers with an empty first field.
    int ChangeOFDRegistration(int OperationType, std::string InspPssword, int& nFD, int& SignFP);

    // --- Electronic journal ------------------------------------------------------
    int GetDocInEJByDate(std::string DateFrom, std::string DateTo, char Type, std::string& Text1,
                         std::string& Text2, int& Number1, int& Number2);
    int GetInfoFromEJ0(int Number, char Type, int& Value1, int& Value2, std::string& Text,
                       char& Flag, int& Value3);
    int GetInfoFromEJ1(std::string& Text);  // Text in the application's code page
    int GetInfoFromEJ2(std::string& Text);  // Text as the device sent it
    int GetInfoFromEJ3(int Number, char Type);

    // --- Error texts -------------------------------------------------------------
    // Explains Code: the register's own text, or, when none arrives and
    // ErrorMessage is still empty, the catalogue's (wire/ErrorCatalogue.h).
    // ECode is cleared first; ErrorMessage is not, and a text the caller
    // passes in is kept. Read ErrorMessage whatever the result.
    int ReadingError(int Code, int& ECode, std::string& ErrorMessage);

    // --- Article database --------------------------------------------------------
    // One device command with a sub-command letter; the letters are
    // case-sensitive (the doubled suffix is the lower-case letter). Outputs
    // are touched only on success, but for Extra1 and Extra2 of R, which are
    // cleared first. Units to Extra2 travel only above firmware 944123.
    int PrgAndReadArticleI(int& Info1, int& Info2, int& Info3);
    int PrgAndReadArticleP(int PLU, char TaxGr, int Dep, int Group, char PriceType, double Price,
                           char AddQty, double Quantity, std::string Bar1, std::string Bar2,
                           std::string Bar3, std::string Bar4, std::string Name, std::string Units,
                           std::string Id1C, std::string IsWeight, std::string Service, int Extra1,
                           int Extra2);
    int PrgAndReadArticleA(int PLU, double Quantity);
    int PrgAndReadArticleD(int PLU, int ToPLU);
    int PrgAndReadArticleR(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                           double& Price, double& Value1, double& Value2, double& Value3,
                           std::string& Bar1, std::string& Bar2, std::string& Bar3,
                           std::string& Bar4, std::string& Name, std::string& Units,
                           std::string& Id1C, std::string& IsWeight, std::string& Service,
                           int& Extra1, int& Extra2);
    // The walks return the short record, Name in the register's code page.
    // F, N and NN write the record's PLU back.
    int PrgAndReadArticleF(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                           double& Price, double& Value1, double& Value2, double& Value3,
                           std::string& Bar1, std::string& Bar2, std::string& Bar3,
                           std::string& Bar4, std::string& Name);
    int PrgAndReadArticleL(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                           double& Price, double& Value1, double& Value2, double& Value3,
                           std::string& Bar1, std::string& Bar2, std::string& Bar3,
                           std::string& Bar4, std::string& Name);
    int PrgAndReadArticleLL(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                            double& Price, double& Value1, double& Value2, double& Value3,
                            std::string& Bar1, std::string& Bar2, std::string& Bar3,
                            std::string& Bar4, std::string& Name);
    int PrgAndReadArticleN(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                           double& Price, double& Value1, double& Value2, double& Value3,
                           std::string& Bar1, std::string& Bar2, std::string& Bar3,
                           std::string& Bar4, std::string& Name);
    int PrgAndReadArticleNN(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                            double& Price, double& Value1, double& Value2, double& Value3,
                            std::string& Bar1, std::string& Bar2, std::string& Bar3,
                            std::string& Bar4, std::string& Name);
    int PrgAndReadArticleFF(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                            double& Price, double& Value1, double& Value2, double& Value3,
                            std::string& Bar1, std::string& Bar2, std::string& Bar3,
                            std::string& Bar4, std::string& Name);
    int PrgAndReadArticleX(int PLU, int& ArticleValue);
    int PrgAndReadArticleXX(int PLU, int& ArticleValue);
};

#endif
