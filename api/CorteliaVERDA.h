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

// --- Status and device information -----------------------------------------------

// --- Device programming ----------------------------------------------------------

// --- Receipts --------------------------------------------------------------------

// --- Sales -----------------------------------------------------------------------

// --- Subtotal, payment and correction --------------------------------------------

// --- Service documents and printing ----------------------------------------------

// --- Peripherals -----------------------------------------------------------------

// --- Shift reports and daily totals ----------------------------------------------

// --- Fiscal memory and fiscalization ---------------------------------------------

// --- Fiscal drive and data operator ----------------------------------------------

// --- Electronic journal ----------------------------------------------------------

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
