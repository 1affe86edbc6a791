// Shift reports and daily totals: the X and Z reports, the day's totals by
// tax rate, by payment type, by operator and by article.
#include <cstddef>
#include <ostream>
#include <string>

#include "device/OperationShape.h"
#include "device/Outputs.h"
#include "device/VR35.h"

namespace {

// One member of the daily totals by payment type: command 0x6E with its fixed
// sub-code as the only field. Only the first cleared outputs are set to 0
// before the exchange; the others keep the caller's values when it fails.
int dailyReport(VR35& device, const char* name, char subCode, const cmd::Outputs& outputs,
                std::size_t cleared) {
    cmd::clear(outputs, cleared);
    return cmd::run(
        device, name, wire::Command::DailyReportByTypesOfPayment, cmd::Request().byte(subCode),
        [&](cmd::Fields& f) { cmd::read(f, outputs); }, cmd::Plain{name});
}

// The two reports of the printer interface: the figures are dropped.
bool report(VR35& device, char Type) {
    int nRep, nFD, SignFP;
    double s[24];
    return device.PrintReport(Type, nRep, nFD, SignFP, s[0], s[1], s[2], s[3], s[4], s[5], s[6],
                              s[7], s[8], s[9], s[10], s[11], s[12], s[13], s[14], s[15], s[16],
                              s[17], s[18], s[19], s[20], s[21], s[22], s[23]) == 0;
}

}  // namespace

int VR35::PrintReport(char Type, int& nRep, int& nFD, int& SignFP, double& Sum1, double& Sum2,
                      double& Sum3, double& Sum4, double& Sum5, double& Sum6, double& Ret1,
                      double& Ret2, double& Ret3, double& Ret4, double& Ret5, double& Ret6,
                      double& Purch1, double& Purch2, double& Purch3, double& Purch4,
                      double& Purch5, double& Purch6, double& RetPurch1, double& RetPurch2,
                      double& RetPurch3, double& RetPurch4, double& RetPurch5, double& RetPurch6) {
    // Three rows a group, in reply order.
    // clang-format off
    const cmd::Outputs outputs = {
        {"nRep", nRep}, {"nFD", nFD}, {"SignFP", SignFP},
        {"Sum1", Sum1}, {"Sum2", Sum2}, {"Sum3", Sum3},
        {"Sum4", Sum4}, {"Sum5", Sum5}, {"Sum6", Sum6},
        {"Ret1", Ret1}, {"Ret2", Ret2}, {"Ret3", Ret3},
        {"Ret4", Ret4}, {"Ret5", Ret5}, {"Ret6", Ret6},
        {"Purch1", Purch1}, {"Purch2", Purch2}, {"Purch3", Purch3},
        {"Purch4", Purch4}, {"Purch5", Purch5}, {"Purch6", Purch6},
        {"RetPurch1", RetPurch1}, {"RetPurch2", RetPurch2}, {"RetPurch3", RetPurch3},
        {"RetPurch4", RetPurch4}, {"RetPurch5", RetPurch5}, {"RetPurch6", RetPurch6}
    };
    // clang-format on
    cmd::clear(outputs);
    // The reply carries one more field after RetPurch6, which is dropped unread.
    return cmd::runOutputs(*this, "PrintReport", wire::Command::PrintReport,
                           cmd::Request().byte(Type), outputs,
                           std::string("PrintReport(Type=") + Type + ",", cmd::AmountLog::Stream);
}

bool VR35::PrintZReport() {
    return report(*this, 'Z');
}

bool VR35::PrintXReport() {
    return report(*this, 'X');
}

int VR35::ReportOnTaxRates(int& NZreport, double& TaxA, double& TaxB, double& TaxC, double& TaxD,
                           double& TaxE, double& TaxF, std::string& EntryDate) {
    const cmd::Outputs outputs = {{"NZreport", NZreport}, {"TaxA", TaxA},          {"TaxB", TaxB},
                                  {"TaxC", TaxC},         {"TaxD", TaxD},          {"TaxE", TaxE},
                                  {"TaxF", TaxF},         {"EntryDate", EntryDate}};
    cmd::clear(outputs);
    return cmd::runOutputs(*this, "ReportOnTaxRates", wire::Command::ReportOnTaxRates,
                           cmd::Request(), outputs, "ReportOnTaxRates(",
                           cmd::AmountLog::TwoDecimals);
}

// Sum6 and Date are not cleared: they keep the caller's values on failure.
int VR35::LatestFiscalRecord(char Type, char RecType, int& NRep, double& Sum1, double& Sum2,
                             double& Sum3, double& Sum4, double& Sum5, double& Sum6,
                             std::string& Date) {
    const cmd::Outputs outputs = {{"NRep", NRep}, {"Sum1", Sum1}, {"Sum2", Sum2}, {"Sum3", Sum3},
                                  {"Sum4", Sum4}, {"Sum5", Sum5}, {"Sum6", Sum6}, {"Date", Date}};
    cmd::clear(outputs, 6);
    return cmd::runOutputs(
        *this, "LatestFiscalRecord", wire::Command::LatestFiscalRecord,
        cmd::Request().byte(Type).byte(RecType), outputs,
        std::string("LatestFiscalRecord(Type=") + Type + ",RecType=" + RecType + ",",
        cmd::AmountLog::TwoDecimals);
}

// Sum6 is not cleared: it keeps the caller's value on failure.
int VR35::AmountOfSavingsPerDay(char Type, int& NRep, double& Sum1, double& Sum2, double& Sum3,
                                double& Sum4, double& Sum5, double& Sum6) {
    const cmd::Outputs outputs = {{"NRep", NRep}, {"Sum1", Sum1}, {"Sum2", Sum2}, {"Sum3", Sum3},
                                  {"Sum4", Sum4}, {"Sum5", Sum5}, {"Sum6", Sum6}};
    cmd::clear(outputs, 6);
    return cmd::runOutputs(*this, "AmountOfSavingsPerDay", wire::Command::AmountOfSavingsPerDay,
                           cmd::Request().byte(Type), outputs,
                           std::string("AmountOfSavingsPerDay(Type=") + Type + ",",
                           cmd::AmountLog::TwoDecimals);
}

int VR35::OperatorReport(int From, int To, char Type) {
    return cmd::run(*this, "OperatorReport", wire::Command::OperatorReport,
                    cmd::Request().number(From).number(To).byte(Type), cmd::noFields,
                    cmd::Plain{"OperatorReport"});
}

int VR35::ReportByArticle(char Type, int From, int To) {
    return cmd::run(*this, "ReportByArticle", wire::Command::ReportByArticle,
                    cmd::Request().byte(Type).number(From).number(To), cmd::noFields,
                    cmd::Plain{"ReportByArticle"});
}

// Shares 0x70 with ReadFiscalMemoryBlock, which sends "0" and two numbers:
// here the operator's number is the one field. Nothing is cleared.
int VR35::ReportByOperators(int Operator, int& Number1, double& Amount1, int& Number2,
                            double& Amount2, int& Number3, double& Amount3, int& Number4,
                            double& Amount4, int& Number5, double& Amount5, int& Number6,
                            double& Amount6, int& Number7, double& Amount7) {
    const cmd::Outputs outputs = {Number1, Amount1, Number2, Amount2, Number3, Amount3, Number4,
                                  Amount4, Number5, Amount5, Number6, Amount6, Number7, Amount7};
    return cmd::run(
        *this, "ReportByOperators", wire::Command::ReportByOperators,
        cmd::Request().number(Operator), [&](cmd::Fields& f) { cmd::read(f, outputs); },
        cmd::Plain{"ReportByOperators"});
}

int VR35::DailyReportByTypesOfPayment0(double& Value1, double& Value2, double& Value3,
                                       double& Value4, double& Value5, double& Value6,
                                       double& Value7) {
    return dailyReport(*this, "DailyReportByTypesOfPayment0", '0',
                       {Value1, Value2, Value3, Value4, Value5, Value6, Value7}, 7);
}

int VR35::DailyReportByTypesOfPayment1(double& Value1, double& Value2, double& Value3,
                                       double& Value4, double& Value5, double& Value6,
                                       double& Value7) {
    return dailyReport(*this, "DailyReportByTypesOfPayment1", '1',
                       {Value1, Value2, Value3, Value4, Value5, Value6, Value7}, 7);
}

int VR35::DailyReportByTypesOfPayment2(int& Number1, double& Amount1) {
    return dailyReport(*this, "DailyReportByTypesOfPayment2", '2', {Number1, Amount1}, 2);
}

// Only the first two pairs are cleared; the last two keep the caller's values
// when the exchange fails.
int VR35::DailyReportByTypesOfPayment3(int& Number1, double& Amount1, int& Number2, double& Amount2,
                                       int& Number3, double& Amount3, int& Number4,
                                       double& Amount4) {
    return dailyReport(*this, "DailyReportByTypesOfPayment3", '3',
                       {Number1, Amount1, Number2, Amount2, Number3, Amount3, Number4, Amount4}, 4);
}

int VR35::DailyReportByTypesOfPayment4(int& Number1, double& Amount1, int& Number2,
                                       double& Amount2) {
    return dailyReport(*this, "DailyReportByTypesOfPayment4", '4',
                       {Number1, Amount1, Number2, Amount2}, 4);
}

int VR35::DailyReportByTypesOfPayment5(int& Number1, double& Amount1, int& Number2, double& Amount2,
                                       int& Number3, double& Amount3, int& Number4,
                                       double& Amount4) {
    return dailyReport(*this, "DailyReportByTypesOfPayment5", '5',
                       {Number1, Amount1, Number2, Amount2, Number3, Amount3, Number4, Amount4}, 8);
}
