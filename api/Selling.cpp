// Exported selling operations: printer initialisation, receipts, sales,
// subtotal and payment.
#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"

namespace {

// A byte handed on as a number, widened with its sign whatever char is here.
int signedByte(char value) {
    return static_cast<signed char>(value);
}

}  // namespace

namespace VERDA {

bool PrinterInit() {
    g_ResultCode = vr35->PrinterInit();
    if (g_ResultCode != 0) return false;
    // The licence check stands at this point; this build leaves it empty.
    return g_ResultCode == 0;
}

bool OpenFiscalInv(int OpCode, std::string OpPwd, int TillNmb, int ReceiptType, std::string Buyer,
                   std::string VatSystem, std::string OperName, std::string OperInn,
                   int& SlipNumber, int& nDoc, int& nShift) {
    return verdaResult(vr35->OpenFiscalInv(OpCode, OpPwd, TillNmb, ReceiptType, Buyer, VatSystem,
                                           OperName, OperInn, SlipNumber, nDoc, nShift));
}

bool OpenShift(int OpCode, std::string OpPwd, int TillNmb, std::string Buyer, std::string VatSystem,
               std::string OperName, std::string OperInn, int& nFD, int& SignFP, int& nShift) {
    return verdaResult(vr35->OpenShift(OpCode, OpPwd, TillNmb, Buyer, VatSystem, OperName, OperInn,
                                       nFD, SignFP, nShift));
}

bool CloseFiscalInv(int& SlipNumber, int& nFD, std::string& SignFP, int& nDoc, int& nShift) {
    return verdaResult(vr35->CloseFiscalInv(SlipNumber, nFD, SignFP, nDoc, nShift));
}

bool CancelFiscalInv(int& SlipNumber) {
    return verdaResult(vr35->CancelFiscalInv(SlipNumber));
}

bool SetFiscalInvParam(char Type, std::string Data) {
    return verdaResult(vr35->SetFiscalInvParam(signedByte(Type), Data));
}

bool RegisterSale(std::string PluName, char TaxCd, double Price, double Quantity, int Unit,
                  int Department, char DiscountType, double DiscountValue, double DiscSum,
                  double Sum, int Sign, int SignPay, int& SlipNumber) {
    return verdaResult(vr35->RegisterSale(PluName, TaxCd, Price, Quantity, Unit, Department,
                                          DiscountType, DiscountValue, DiscSum, Sum, Sign, SignPay,
                                          SlipNumber));
}

bool RegisterArticleSale(int PluCode, double Quantity, char DiscountType, double DiscountValue,
                         int& SlipNumber) {
    return verdaResult(
        vr35->RegisterArticleSale(PluCode, Quantity, DiscountType, DiscountValue, SlipNumber));
}

bool PrintFreeTextInFiscalInv(std::string Text, char Bold, char Italic, char DoubleH,
                              char Underline, char alignment, char Extra) {
    return verdaResult(
        vr35->PrintFreeTextInFiscalInv(Text, Bold, Italic, DoubleH, Underline, alignment, Extra));
}

bool Subtotal(char Print, char Display, char DiscountType, double DiscountValue, int& SlipNumber,
              double& Subtotal, double& Tax1, double& Tax2, double& Tax3, double& Tax4,
              double& Tax5, double& Tax6) {
    return verdaResult(vr35->Subtotal(Print, Display, DiscountType, DiscountValue, SlipNumber,
                                      Subtotal, Tax1, Tax2, Tax3, Tax4, Tax5, Tax6));
}

bool Total(char PaidMode, double Amount, char Change, char& ErrorStatus, double& NewAmount,
           int& SlipNumber) {
    return verdaResult(
        vr35->Total(signedByte(PaidMode), Amount, Change, ErrorStatus, NewAmount, SlipNumber));
}

bool ParishOrConsumption(char Type, double Amount, double& CashSum, double& CashIn,
                         double& CashOut) {
    return verdaResult(vr35->ParishOrConsumption(Type, Amount, CashSum, CashIn, CashOut));
}

}  // namespace VERDA
