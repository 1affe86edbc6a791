#ifndef VERDA_API_CORTELIAVERDA_H
#define VERDA_API_CORTELIAVERDA_H

// The library's outward face: plain functions over one global driver.
//
// A client runs: Init, optionally setTimeOut, OpenSerial or OpenSocket,
// PrinterInit, any operations, CloseSerial or CloseSocket, Done.
//
// Each operation returns true exactly when the device accepted it; the
// result code (0, 100001 for a failed exchange, or the device's own error
// number) reaches the log, and ReadingError turns it into a text.

#include <string>

#include "api/ResultCodes.h"

namespace VERDA {

// --- Lifecycle and transport -------------------------------------------------
void Init();
void Done();
bool setTimeOut(int timeout);  // before the open; 10 ms units on serial, 1 ms on TCP
bool OpenSerial(std::string name, int baudRate);
bool CloseSerial();
bool OpenSocket(std::string host, int port);
bool CloseSocket();

// --- Connection ----------------------------------------------------------------
bool CheckConnection();

// --- Printer initialisation ------------------------------------------------------
// After the open, before selling: reads the decimal places, model and firmware.
bool PrinterInit();

// --- Status and device information -----------------------------------------------
bool GetStatusFP(std::string& StatusBytes);  // "0"/"1" per bit, bit 7 first
bool GetStatusShift(bool& ShiftIsOpen, bool& Shift24h, int& ShiftTime);
bool FiscalTransactionsStatus(char& IsOpen, int& Number, int& Items, double& Amount, double& Paid);
bool InfoByCurrentInv(double& Value1, double& Value2, double& Value3, double& Value4,
                      double& Value5, double& Value6);
bool GetDateTime(std::string& DateTime);
bool SetDateTime(std::string DateTime);
bool DiagnosticInfo(std::string& Name, std::string& FwRev, std::string& FwDate, std::string& FwTime,
                    std::string& Checksum, std::string& Sw, std::string& DevNumber);
// These three succeed whenever the device answers: the first field is data.
bool ReadDeviceInfo1(std::string& Field1, std::string& Field2, std::string& Field3,
                     std::string& Field4, std::string& Field5);
bool ReadDeviceInfo2(std::string& Field1, std::string& Field2, std::string& Field3,
                     std::string& Field4, std::string& Field5);
bool ReadDeviceInfo3(int& Field1, std::string& Field2, int& Field3, std::string& Field4,
                     int& Field5, std::string& Field6);
bool PrintDiagnostic(char InfoType);

// --- Device programming ----------------------------------------------------------
// An empty Value reads the parameter into it; any other value writes it.
bool Programming(std::string Name, std::string Index, std::string& Value);
bool SetServiceParam(std::string Type, std::string Value, std::string Param3, std::string& Code,
                     std::string& Answer);
bool SetTaxRates(double Tax1, double Tax2, double Tax3, double Tax4, double Tax5, double Tax6,
                 char Point, int& RemainingChanges);
bool SetOperatorPassword(std::string OperField1, std::string OperField2, std::string OperField3);
bool UploadImage(std::string Image, std::string& Answer);
bool UploadStamp(std::string Stamp, std::string& Answer);
bool PowerOff();
bool Restart();
bool CheckUpdate();
bool GetTradingGroupInfo(int Group, int& GroupNumber, double& GroupAmount, std::string& GroupText);
bool GetDepInfoInCheck(int Dep, char& DepChar, double& DepAmount1, long& DepNumber,
                       double& DepAmount2, std::string& DepText);

// --- Receipts --------------------------------------------------------------------
bool OpenFiscalInv(int OpCode, std::string OpPwd, int TillNmb, int ReceiptType, std::string Buyer,
                   std::string VatSystem, std::string OperName, std::string OperInn,
                   int& SlipNumber, int& nDoc, int& nShift);
bool OpenShift(int OpCode, std::string OpPwd, int TillNmb, std::string Buyer, std::string VatSystem,
               std::string OperName, std::string OperInn, int& nFD, int& SignFP, int& nShift);
bool CloseFiscalInv(int& SlipNumber, int& nFD, std::string& SignFP, int& nDoc, int& nShift);
bool CancelFiscalInv(int& SlipNumber);
// Type goes to the device as the number of its byte: 0 is 0, the digit "0" is 48.
bool SetFiscalInvParam(char Type, std::string Data);

// --- Sales -----------------------------------------------------------------------
bool RegisterSale(std::string PluName, char TaxCd, double Price, double Quantity, int Unit,
                  int Department, char DiscountType, double DiscountValue, double DiscSum,
                  double Sum, int Sign, int SignPay, int& SlipNumber);
bool RegisterArticleSale(int PluCode, double Quantity, char DiscountType, double DiscountValue,
                         int& SlipNumber);
bool PrintFreeTextInFiscalInv(std::string Text, char Bold, char Italic, char DoubleH,
                              char Underline, char alignment, char Extra);

// --- Subtotal, payment and correction --------------------------------------------
bool Subtotal(char Print, char Display, char DiscountType, double DiscountValue, int& SlipNumber,
              double& Subtotal, double& Tax1, double& Tax2, double& Tax3, double& Tax4,
              double& Tax5, double& Tax6);
// PaidMode goes to the device as the number of its byte: 1 is 1, the digit "1" is 49.
bool Total(char PaidMode, double Amount, char Change, char& ErrorStatus, double& NewAmount,
           int& SlipNumber);
bool ParishOrConsumption(char Type, double Amount, double& CashSum, double& CashIn,
                         double& CashOut);

// --- Service documents and printing ----------------------------------------------
bool OpenServiceInv(char Extend, int& SlipNumber);
bool CloseServiceInv(int& SlipNumber);
bool PrintFreeTextInServiceInv(std::string Text, char Bold, char Italic, char DoubleH,
                               char Underline, char alignment, char Extra);
bool PrintBarCode(char Type, std::string Data, int Option);
bool PrintDivideLine(char Type);
bool PrintStamp(char Type, std::string Data);  // -1 for an empty first reply field
bool PrintDublicateReceipt();
bool CutPaper();
bool FeedPaper(int count);

// --- Peripherals -----------------------------------------------------------------
bool DisplayLower(std::string Text);
bool DisplayUpper(std::string Text);
bool DisplayClear();
bool OpenCashDrawer(int Value);
bool Beep(int Hz, int mSec);

// --- Shift reports and daily totals ----------------------------------------------
// Reversed on purpose, as clients have always seen them: after a report the
// device accepted these return false and keep 1 as the result code, after a
// refused one they return true. PrintReport has the plain sense.
bool PrintZReport();
bool PrintXReport();
bool PrintReport(char Type, int& nRep, int& nFD, int& SignFP, double& Sum1, double& Sum2,
                 double& Sum3, double& Sum4, double& Sum5, double& Sum6, double& Ret1, double& Ret2,
                 double& Ret3, double& Ret4, double& Ret5, double& Ret6, double& Purch1,
                 double& Purch2, double& Purch3, double& Purch4, double& Purch5, double& Purch6,
                 double& RetPurch1, double& RetPurch2, double& RetPurch3, double& RetPurch4,
                 double& RetPurch5, double& RetPurch6);
bool ReportOnTaxRates(int& NZreport, double& TaxA, double& TaxB, double& TaxC, double& TaxD,
                      double& TaxE, double& TaxF, std::string& EntryDate);
bool LatestFiscalRecord(char Type, char RecType, int& NRep, double& Sum1, double& Sum2,
                        double& Sum3, double& Sum4, double& Sum5, double& Sum6, std::string& Date);
bool AmountOfSavingsPerDay(char Type, int& NRep, double& Sum1, double& Sum2, double& Sum3,
                           double& Sum4, double& Sum5, double& Sum6);
bool OperatorReport(int From, int To, char Type);
bool ReportByArticle(char Type, int From, int To);
bool ReportByOperators(int Operator, int& Number1, double& Amount1, int& Number2, double& Amount2,
                       int& Number3, double& Amount3, int& Number4, double& Amount4, int& Number5,
                       double& Amount5, int& Number6, double& Amount6, int& Number7,
                       double& Amount7);
bool DailyReportByTypesOfPayment0(double& Value1, double& Value2, double& Value3, double& Value4,
                                  double& Value5, double& Value6, double& Value7);
bool DailyReportByTypesOfPayment1(double& Value1, double& Value2, double& Value3, double& Value4,
                                  double& Value5, double& Value6, double& Value7);
bool DailyReportByTypesOfPayment2(int& Number1, double& Amount1);
bool DailyReportByTypesOfPayment3(int& Number1, double& Amount1, int& Number2, double& Amount2,
                                  int& Number3, double& Amount3, int& Number4, double& Amount4);
bool DailyReportByTypesOfPayment4(int& Number1, double& Amount1, int& Number2, double& Amount2);
bool DailyReportByTypesOfPayment5(int& Number1, double& Amount1, int& Number2, double& Amount2,
                                  int& Number3, double& Amount3, int& Number4, double& Amount4);

// --- Fiscal memory and fiscalization ---------------------------------------------
bool Fiscalization(std::string SerialNumber, std::string TAXnumber, std::string REGnumber,
                   std::string InspPssword);
bool SetTAXNumber(std::string TAXnumber);
bool GetTAXNumber(std::string& TAXnumber);
bool SetManufacturersSerialNumber(std::string Serial, std::string& ReplyText);
bool FiscalReportByDate(char Type, std::string DateFrom, std::string DateTo, std::string& TextData);
bool FiscalReportByNumber(char Type, int From, int To, std::string& TextData);
bool ReadFiscalMemoryBlock(int From, int To, std::string& Block);
bool TestFiscalMemory(char Write, int& Records);
bool FreeFieldsByFiscalMemory(int& FreeFields);
bool DateOfLastEntryByFiscalMemory(std::string& EntryDate);

// --- Fiscal drive and data operator ----------------------------------------------
bool GetStateFN(char InfoType, std::string& Version, std::string& Number, std::string& Phase,
                std::string& ShiftStatus, std::string& WarningFlags, std::string& DateDeadline,
                std::string& RegLeft, int& ShiftNumber, int& ReceiptsCount, int& LastDocIssued,
                int& FirsDocUnsent);
bool GetOFDandFNStatus(bool& StatusShift, bool& End24hours, int& ShiftNumber, int& DocNumber,
                       int& UnsendDocCount, int& FirstUnsent, std::string& DateTimeUnsent);
// OperationType is a small number (byte 1 selects type 1), not a digit.
bool ChangeOFDRegistration(char OperationType, std::string InspPssword, int& nFD, int& SignFP);

// --- Electronic journal ----------------------------------------------------------
bool GetDocInEJByDate(std::string DateFrom, std::string DateTo, char Type, std::string& Text1,
                      std::string& Text2, int& Number1, int& Number2);
bool GetInfoFromEJ0(int Number, char Type, int& Value1, int& Value2, std::string& Text, char& Flag,
                    int& Value3);
bool GetInfoFromEJ1(std::string& Text);  // Text in the application's code page
bool GetInfoFromEJ2(std::string& Text);  // Text as the device sent it
bool GetInfoFromEJ3(int Number, char Type);

// --- Error texts -----------------------------------------------------------------
// The text for a result code, from the register or else the driver's own
// catalogue. Pass an empty ErrorMessage to get the catalogue's text, and read
// it whatever the result: a failed request still leaves the catalogue's text.
bool ReadingError(int Code, int& ECode, std::string& ErrorMessage);

// --- Article database ------------------------------------------------------------
// Outputs are meaningful only when the call returns true. Units to Extra2
// reach the register only when its firmware is above 944123.
bool PrgAndReadArticleI(int& Info1, int& Info2, int& Info3);
bool PrgAndReadArticleP(int PLU, char TaxGr, int Dep, int Group, char PriceType, double Price,
                        char AddQty, double Quantity, std::string Bar1, std::string Bar2,
                        std::string Bar3, std::string Bar4, std::string Name, std::string Units,
                        std::string Id1C, std::string IsWeight, std::string Service, int Extra1,
                        int Extra2);
bool PrgAndReadArticleA(int PLU, double Quantity);
bool PrgAndReadArticleD(int PLU, int ToPLU);
bool PrgAndReadArticleR(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                        double& Value1, double& Value2, double& Value3, std::string& Bar1,
                        std::string& Bar2, std::string& Bar3, std::string& Bar4, std::string& Name,
                        std::string& Units, std::string& Id1C, std::string& IsWeight,
                        std::string& Service, int& Extra1, int& Extra2);
// The table walks; Name comes back in the register's own code page.
bool PrgAndReadArticleF(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                        double& Value1, double& Value2, double& Value3, std::string& Bar1,
                        std::string& Bar2, std::string& Bar3, std::string& Bar4, std::string& Name);
bool PrgAndReadArticleL(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                        double& Value1, double& Value2, double& Value3, std::string& Bar1,
                        std::string& Bar2, std::string& Bar3, std::string& Bar4, std::string& Name);
bool PrgAndReadArticleLL(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                         double& Value1, double& Value2, double& Value3, std::string& Bar1,
                         std::string& Bar2, std::string& Bar3, std::string& Bar4,
                         std::string& Name);
bool PrgAndReadArticleN(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                        double& Value1, double& Value2, double& Value3, std::string& Bar1,
                        std::string& Bar2, std::string& Bar3, std::string& Bar4, std::string& Name);
bool PrgAndReadArticleNN(int& PLU, char& TaxGr, int& Dep, int& Group, char& PriceType,
                         double& Price, double& Value1, double& Value2, double& Value3,
                         std::string& Bar1, std::string& Bar2, std::string& Bar3, std::string& Bar4,
                         std::string& Name);
bool PrgAndReadArticleFF(int PLU, char& TaxGr, int& Dep, int& Group, char& PriceType, double& Price,
                         double& Value1, double& Value2, double& Value3, std::string& Bar1,
                         std::string& Bar2, std::string& Bar3, std::string& Bar4,
                         std::string& Name);
bool PrgAndReadArticleX(int PLU, int& ArticleValue);
bool PrgAndReadArticleXX(int PLU, int& ArticleValue);

}  // namespace VERDA

#endif
