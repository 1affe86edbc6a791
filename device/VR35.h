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
    // The firmware whose receipt commands take shorter field lists.
    bool shortFieldsFirmware() const { return firmwareRevision == 944123; }
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

    // --- Peripherals -------------------------------------------------------------

    // --- Shift reports and daily totals ------------------------------------------

    // --- Fiscal memory and fiscalization -----------------------------------------

    // --- Fiscal drive and data operator ------------------------------------------

    // --- Electronic journal ------------------------------------------------------

    // --- Error texts -------------------------------------------------------------

    // --- Article database --------------------------------------------------------
};

#endif
