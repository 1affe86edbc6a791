#ifndef VERDA_DEVICE_VR35_H
#define VERDA_DEVICE_VR35_H

#include <string>

#include "device/CPrinter.h"
#include "device/Frame.h"
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

    // --- Connection ---------------------------------------------------------
    int CheckConnection();

    // --- Status and device information -------------------------------------------

    // --- Device programming ------------------------------------------------------

    // --- Receipts ----------------------------------------------------------------

    // --- Sales -------------------------------------------------------------------

    // --- Subtotal, payment and correction ----------------------------------------

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

    // --- Article database --------------------------------------------------------
};

#endif
