// Subtotal, payment and correction of an open receipt, and cash in and out.
#include <string>

#include "device/OperationShape.h"
#include "device/VR35.h"
#include "tools/stdTools.h"

int VR35::Subtotal(char Print, char Display, char DiscountType, double DiscountValue,
                   int& SlipNumber, double& Subtotal, double& Tax1, double& Tax2, double& Tax3,
                   double& Tax4, double& Tax5, double& Tax6) {
    SlipNumber = 0;
    Subtotal = Tax1 = Tax2 = Tax3 = Tax4 = Tax5 = 0.0;  // Tax6 keeps the caller's value
    cmd::Request request;
    request.byte(Print).byte(Display);
    // No discount: both fields stay empty and the value is not looked at.
    if (DiscountType == '0')
        request.empty().empty();
    else
        request.byte(DiscountType).amount(DiscountValue, 2);
    return cmd::run(
        *this, "Subtotal", wire::Command::Subtotal, request,
        [&](cmd::Fields& f) {
            SlipNumber = f.integer();
            Subtotal = f.amount();
            Tax1 = f.amount();
            Tax2 = f.amount();
            Tax3 = f.amount();
            Tax4 = f.amount();
            Tax5 = f.amount();
            Tax6 = f.amount();
        },
        [&](std::ostream& log) {
            log << "Subtotal(Print='" << Print << "',Display='" << Display << "',DiscountType='"
                << DiscountType << "',DiscountValue=" << cmd::amountText(DiscountValue, 2)
                << ",SlipNumber=" << SlipNumber << ",Subtotal=" << cmd::amountText(Subtotal, 2)
                << ",Tax1=" << cmd::amountText(Tax1, 2) << ",Tax2=" << cmd::amountText(Tax2, 2)
                << ",Tax3=" << cmd::amountText(Tax3, 2) << ",Tax4=" << cmd::amountText(Tax4, 2)
                << ",Tax5=" << cmd::amountText(Tax5, 2) << ");";
        });
}

int VR35::Total(int PaidMode, double Amount, char Change, char& ErrorStatus, double& NewAmount,
                int& SlipNumber) {
    ErrorStatus = ' ';
    NewAmount = 0.0;
    SlipNumber = 0;
    cmd::Request request;
    request.number(PaidMode).amount(Amount, 2);
    if (Change == '0' || Change == '1') request.byte(Change);
    return cmd::run(
        *this, "Total", wire::Command::Total, request,
        [&](cmd::Fields& f) {
            // A status the driver does not know is neither data nor an error:
            // the payment stands and the outputs stay as cleared.
            const std::string status = f.text();
            if (status != "0" && status != "D" && status != "R") return;
            ErrorStatus = status[0];
            NewAmount = f.amount();
            SlipNumber = f.integer();
        },
        [&](std::ostream& log) {
            log << "Total(PaidMode=" << PaidMode << ", Amount=" << cmd::amountText(Amount, 2)
                << ", Change=" << Change << ", ErrorStatus=" << ErrorStatus
                << ", NewAmount=" << cmd::amountText(NewAmount, 2) << ", SlipNumber=" << SlipNumber
                << ");";
        });
}

int VR35::TotalCorrecion(int PaidMode, double Amount_TL, double Tax_18, double Tax_10,
                         double Corr_0, double Corr_noNDS, double Tax_18_118, double Tax_10_110) {
    return cmd::run(*this, "TotalCorrecion", wire::Command::TotalCorrecion,
                    cmd::Request()
                        .number(PaidMode)
                        .amount(Amount_TL, 2)
                        .amount(Tax_18, 2)
                        .amount(Tax_10, 2)
                        .amount(Corr_0, 2)
                        .amount(Corr_noNDS, 2)
                        .amount(Tax_18_118, 2)
                        .amount(Tax_10_110, 2),
                    cmd::noFields, [&](std::ostream& log) {
                        log << "TotalCorrecion(PaidMode=" << PaidMode
                            << ",Amount_TL=" << cmd::amountText(Amount_TL, 2)
                            << ", Tax_18=" << cmd::amountText(Tax_18, 2)
                            << ", Tax_10=" << cmd::amountText(Tax_10, 2)
                            << ", Corr_0=" << cmd::amountText(Corr_0, 2)
                            << ", Corr_noNDS=" << cmd::amountText(Corr_noNDS, 2)
                            << ", Tax_18_118=" << cmd::amountText(Tax_18_118, 2)
                            << ", Tax_10_110=" << cmd::amountText(Tax_10_110, 2) << ");";
                    });
}

int VR35::ParishOrConsumption(char Type, double Amount, double& CashSum, double& CashIn,
                              double& CashOut) {
    CashSum = CashIn = CashOut = 0.0;
    return cmd::run(
        *this, "ParishOrConsumption", wire::Command::ParishOrConsumption,
        cmd::Request().byte(Type).amount(Amount, 2),
        [&](cmd::Fields& f) {
            CashSum = f.amount();
            CashIn = f.amount();
            CashOut = f.amount();
        },
        [&](std::ostream& log) {
            // Here the sums go to the log as the stream writes a double.
            log << "ParishOrConsumption(Type=" << Type << ",Amount=" << Amount
                << ",CashSum=" << CashSum << ",CashIn=" << CashIn << ",CashOut=" << CashOut << ");";
        });
}
