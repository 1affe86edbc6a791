#ifndef VERDA_DEVICE_CPRINTER_H
#define VERDA_DEVICE_CPRINTER_H

#include <string>

// Abstract base of a fiscal printer driver.
class CPrinter {
  public:
    unsigned char decimalPlaces;  // the device's decimal places; 0 until PrinterInit
    int errorCode;                // result of the last device operation

    CPrinter() : decimalPlaces(0), errorCode(0) {}
    virtual ~CPrinter() = 0;
    virtual bool isOk() = 0;
    virtual bool OpenCOMPort(int port, int baudRate) = 0;
    virtual int PrinterInit() = 0;
    virtual bool CashInOut(bool direction, double sum) = 0;
    virtual bool GetCashSum(double& sum) = 0;
    virtual bool PrintZReport() = 0;
    virtual bool PrintXReport() = 0;
    virtual bool PrintLine(std::wstring text) = 0;
    virtual int GetLineLength() = 0;

    // 10 raised to decimalPlaces.
    double M();
};

#endif
