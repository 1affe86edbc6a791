// Sale registration: the lines of an open receipt.
#include <cmath>
#include <string>

#include "device/OperationShape.h"
#include "device/PrintText.h"
#include "device/VR35.h"
#include "tools/stdTools.h"

namespace {

const std::string::size_type kSaleNameBytes = 64;
const std::string::size_type kShortSaleNameBytes = 32;  // short-fields firmware
// A discount value this close to zero is no discount at all.
const double kNoDiscount = 0.000001;

std::string unlessZero(int value) {
    return value != 0 ? IntToStdStr(value) : std::string();
}

}  // namespace

int VR35::RegisterSale(std::string PluName, char TaxCd, double Price, double Quantity, int Unit,
                       int Department, char DiscountType, double DiscountValue, double DiscSum,
                       double Sum, int Sign, int SignPay, int& SlipNumber) {
    SlipNumber = 0;
    PluName = fromASCIItoDOS(PluName);
    if (PluName.empty()) {
        // A line without a name sells under its department's name, read from
        // the device each time. That text is sent as Programming hands it
        // back, without a second conversion. Department 1 is index 0; the
        // index wraps rather than overflows for the lowest int.
        const int index = static_cast<int>(static_cast<unsigned int>(Department) - 1u);
        Programming("Dept_name", IntToStdStr(index), PluName);  // a failed read leaves "_"
        if (PluName.empty()) PluName = "_";
    }
    // A licence check may refuse the line at this point; this build has none.
    PluName = replaceStrings(PluName, "\n", " ");
    if (std::fabs(DiscountValue) < kNoDiscount) DiscountType = '0';

    cmd::Request request;
    request.text(PluName, shortFieldsFirmware() ? kShortSaleNameBytes : kSaleNameBytes)
        .byte(TaxCd)
        .amount(Price, 2)
        .amount(Quantity, 3)
        .byte(DiscountType)
        .amount(DiscountValue, 2)
        .number(Department);
    if (!shortFieldsFirmware()) {
        request.text(unlessZero(Unit))
            .text(DiscSum != 0.0 ? cmd::amountText(DiscSum, 2) : std::string())
            .empty()  // Sum: shown in the log, never sent
            .text(unlessZero(Sign))
            .text(unlessZero(SignPay));
    }
    return cmd::run(
        *this, "RegisterSale", wire::Command::RegisterSale, request,
        [&](cmd::Fields& f) { SlipNumber = f.integer(); },
        [&](std::ostream& log) {
            log << "RegisterSale(PluName=\"" << fromDOStoASCII(PluName) << "\",TaxCd='" << TaxCd
                << "',Price=" << cmd::amountText(Price, 2)
                << ",Quantity=" << cmd::amountText(Quantity, 3) << ",Unit=" << Unit
                << ",Department=" << Department << ",DiscountType='" << DiscountType
                << "',DiscountValue=" << cmd::amountText(DiscountValue, 2)
                << ",DiscSum=" << cmd::amountText(DiscSum, 2) << ",Sum=" << cmd::amountText(Sum, 2)
                << ",Sign=" << Sign << ",SignPay=" << SignPay << ",SlipNumber=" << SlipNumber
                << ");";
        });
}

int VR35::RegisterArticleSale(int PluCode, double Quantity, char DiscountType, double DiscountValue,
                              int& SlipNumber) {
    SlipNumber = 0;
    cmd::Request request;
    request.number(PluCode).amount(Quantity, 3).byte(DiscountType);
    // The kind byte "0" alone means no discount here, whatever the value:
    // the value field is then left out together with its tab.
    if (DiscountType != '0') request.amount(DiscountValue, 2);
    return cmd::run(
        *this, "RegisterArticleSale", wire::Command::RegisterArticleSale, request,
        [&](cmd::Fields& f) { SlipNumber = f.integer(); },
        [&](std::ostream& log) {
            log << "RegisterArticleSale(PluCode=" << PluCode
                << ",Quantity=" << cmd::amountText(Quantity, 3) << ",DiscountType=" << DiscountType
                << ",DiscountValue=" << cmd::amountText(DiscountValue, 2)
                << ",SlipNumber=" << SlipNumber << ");";
        });
}

int VR35::PrintFreeTextInFiscalInv(std::string Text, char Bold, char Italic, char DoubleH,
                                   char Underline, char alignment, char Extra) {
    return cmd::run(
        *this, "PrintFreeTextInFiscalInv", wire::Command::PrintFreeTextInFiscalInv,
        cmd::printTextRequest(model, Text, Bold, Italic, DoubleH, Underline, alignment, Extra),
        cmd::noFields,
        [&](std::ostream& log) { log << "PrintFreeTextInFiscalInv(Text=" << Text << ");"; });
}
