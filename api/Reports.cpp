// Exported shift reports and daily totals.
#include <string>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"

namespace VERDA {

// The member's true (a report done) becomes result code 1 and false here:
// the reversed sense clients have always had.
bool PrintZReport() {
    return verdaResult(vr35->PrintZReport());
}

bool PrintXReport() {
    return verdaResult(vr35->PrintXReport());
}

bool PrintReport(char Type, int& nRep, int& nFD, int& SignFP, double& Sum1, double& Sum2,
                 double& Sum3, double& Sum4, double& Sum5, double& Sum6, double& Ret1, double& Ret2,
                 double& Ret3, double& Ret4, double& Ret5, double& Ret6, double& Purch1,
                 double& Purch2, double& Purch3, double& Purch4, double& Purch5, double& Purch6,
                 double& RetPurch1, double& RetPurch2, double& RetPurch3, double& RetPurch4,
                 double& RetPurch5, double& RetPurch6) {
    return verdaResult(vr35->PrintReport(Type, nRep, nFD, SignFP, Sum1, Sum2, Sum3, Sum4, Sum5,
                                         Sum6, Ret1, Ret2, Ret3, Ret4, Ret5, Ret6, Purch1, Purch2,
                                         Purch3, Purch4, Purch5, Purch6, RetPurch1, RetPurch2,
                                         RetPurch3, RetPurch4, RetPurch5, RetPurch6));
}

bool ReportOnTaxRates(int& NZreport, double& TaxA, double& TaxB, double& TaxC, double& TaxD,
                      double& TaxE, double& TaxF, std::string& EntryDate) {
    return verdaResult(
        vr35->ReportOnTaxRates(NZreport, TaxA, TaxB, TaxC, TaxD, TaxE, TaxF, EntryDate));
}

bool LatestFiscalRecord(char Type, char RecType, int& NRep, double& Sum1, double& Sum2,
                        double& Sum3, double& Sum4, double& Sum5, double& Sum6, std::string& Date) {
    return verdaResult(
        vr35->LatestFiscalRecord(Type, RecType, NRep, Sum1, Sum2, Sum3, Sum4, Sum5, Sum6, Date));
}

bool AmountOfSavingsPerDay(char Type, int& NRep, double& Sum1, double& Sum2, double& Sum3,
                           double& Sum4, double& Sum5, double& Sum6) {
    return verdaResult(vr35->AmountOfSavingsPerDay(Type, NRep, Sum1, Sum2, Sum3, Sum4, Sum5, Sum6));
}

bool OperatorReport(int From, int To, char Type) {
    return verdaResult(vr35->OperatorReport(From, To, Type));
}

bool ReportByArticle(char Type, int From, int To) {
    return verdaResult(vr35->ReportByArticle(Type, From, To));
}

bool ReportByOperators(int Operator, int& Number1, double& Amount1, int& Number2, double& Amount2,
                       int& Number3, double& Amount3, int& Number4, double& Amount4, int& Number5,
                       double& Amount5, int& Number6, double& Amount6, int& Number7,
                       double& Amount7) {
    return verdaResult(vr35->ReportByOperators(Operator, Number1, Amount1, Number2, Amount2,
                                               Number3, Amount3, Number4, Amount4, Number5, Amount5,
                                               Number6, Amount6, Number7, Amount7));
}

bool DailyReportByTypesOfPayment0(double& Value1, double& Value2, double& Value3, double& Value4,
                                  double& Value5, double& Value6, double& Value7) {
    return verdaResult(
        vr35->DailyReportByTypesOfPayment0(Value1, Value2, Value3, Value4, Value5, Value6, Value7));
}

bool DailyReportByTypesOfPayment1(double& Value1, double& Value2, double& Value3, double& Value4,
                                  double& Value5, double& Value6, double& Value7) {
    return verdaResult(
        vr35->DailyReportByTypesOfPayment1(Value1, Value2, Value3, Value4, Value5, Value6, Value7));
}

bool DailyReportByTypesOfPayment2(int& Number1, double& Amount1) {
    return verdaResult(vr35->DailyReportByTypesOfPayment2(Number1, Amount1));
}

bool DailyReportByTypesOfPayment3(int& Number1, double& Amount1, int& Number2, double& Amount2,
                                  int& Number3, double& Amount3, int& Number4, double& Amount4) {
    return verdaResult(vr35->DailyReportByTypesOfPayment3(Number1, Amount1, Number2, Amount2,
                                                          Number3, Amount3, Number4, Amount4));
}

bool DailyReportByTypesOfPayment4(int& Number1, double& Amount1, int& Number2, double& Amount2) {
    return verdaResult(vr35->DailyReportByTypesOfPayment4(Number1, Amount1, Number2, Amount2));
}

bool DailyReportByTypesOfPayment5(int& Number1, double& Amount1, int& Number2, double& Amount2,
                                  int& Number3, double& Amount3, int& Number4, double& Amount4) {
    return verdaResult(vr35->DailyReportByTypesOfPayment5(Number1, Amount1, Number2, Amount2,
                                                          Number3, Amount3, Number4, Amount4));
}

}  // namespace VERDA
