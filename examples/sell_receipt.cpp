// A point-of-sale program in miniature: it opens the connection, opens the
// shift, sells one loaf of bread on a receipt paid in cash, and closes.
//
//   sell_receipt tcp HOST PORT          a register on the network
//   sell_receipt serial DEVICE [BAUD]   a register on a serial line (115200)
//
// Every call answers true when the register accepted it. The register's
// result codes stand in the log, ~/CorteliaVERDA.log. The exit status is 0
// when the receipt was closed.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "api/CorteliaVERDA.h"

namespace {

// Prints one step and passes its result on.
bool step(const char* name, bool ok) {
    std::printf("%-16s %s\n", name, ok ? "ok" : "refused (see ~/CorteliaVERDA.log)");
    return ok;
}

bool connect(int argc, char** argv) {
    const std::string transport = argv[1];
    if (transport == "tcp" && argc == 4)
        return step("OpenSocket", VERDA::OpenSocket(argv[2], std::atoi(argv[3])));
    if (transport == "serial" && (argc == 3 || argc == 4))
        return step("OpenSerial",
                    VERDA::OpenSerial(argv[2], argc == 4 ? std::atoi(argv[3]) : 115200));
    return false;
}

bool sellOneReceipt() {
    // Application text is single-byte with the Cyrillic letters of
    // Windows-1251; the library converts it for the register.
    const std::string cashier = "\xC8\xE2\xE0\xED\xEE\xE2\xE0";  // "Иванова"
    const std::string bread = "\xD5\xEB\xE5\xE1";                // "Хлеб"

    // A named cashier works through the register's operator 30, so the
    // operator number and password given here are not used.
    int nFD = 0, signFP = 0, nShift = 0;
    if (!step("OpenShift", VERDA::OpenShift(1, "1", 1, "", "", cashier, "", nFD, signFP, nShift)))
        std::puts("                 (a shift that is open already is fine)");
    else
        std::printf("                 shift %d opened\n", nShift);

    int slip = 0, nDoc = 0;
    const int kSale = 0;  // receipt type: a sale
    if (!step("OpenFiscalInv",
              VERDA::OpenFiscalInv(1, "1", 1, kSale, "", "", cashier, "", slip, nDoc, nShift)))
        return false;

    // One loaf at 45.50, tax group '1', department 1, no discount.
    if (!step("RegisterSale",
              VERDA::RegisterSale(bread, '1', 45.50, 1.0, 0, 1, '0', 0.0, 0.0, 0.0, 0, 0, slip))) {
        VERDA::CancelFiscalInv(slip);
        return false;
    }

    double subtotal = 0, tax1 = 0, tax2 = 0, tax3 = 0, tax4 = 0, tax5 = 0, tax6 = 0;
    if (!step("Subtotal", VERDA::Subtotal('1', '0', '0', 0.0, slip, subtotal, tax1, tax2, tax3,
                                          tax4, tax5, tax6))) {
        VERDA::CancelFiscalInv(slip);
        return false;
    }
    std::printf("                 subtotal %.2f\n", subtotal);

    // Cash (payment mode 0, as a number), 50.00 handed over, change allowed.
    char status = ' ';
    double rest = 0;
    if (!step("Total", VERDA::Total(0, 50.00, '1', status, rest, slip))) {
        VERDA::CancelFiscalInv(slip);
        return false;
    }
    std::printf("                 status %c, %s %.2f\n", status, status == 'R' ? "change" : "rest",
                rest);

    std::string sign;
    if (!step("CloseFiscalInv", VERDA::CloseFiscalInv(slip, nFD, sign, nDoc, nShift))) return false;
    std::printf("                 receipt %d, fiscal document %d, sign %s\n", slip, nFD,
                sign.c_str());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s tcp HOST PORT | serial DEVICE [BAUD]\n", argv[0]);
        return 2;
    }
    VERDA::Init();
    bool sold = false;
    if (connect(argc, argv) && step("CheckConnection", VERDA::CheckConnection()) &&
        step("PrinterInit", VERDA::PrinterInit()))
        sold = sellOneReceipt();
    // Close the port before Done: deleting the driver does not close it.
    if (std::string(argv[1]) == "tcp")
        VERDA::CloseSocket();
    else
        VERDA::CloseSerial();
    VERDA::Done();
    std::puts(sold ? "receipt sold" : "no receipt sold");
    return sold ? 0 : 1;
}
