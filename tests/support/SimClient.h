#ifndef VERDA_TESTS_SIM_CLIENT_H
#define VERDA_TESTS_SIM_CLIENT_H

// The simulated register driven as a point-of-sale program drives it: only
// through the exported VERDA functions, after PrinterInit.

#include <string>
#include <vector>

#include "support/SimRegister.h"

class SimClient : public SimTest {
  protected:
    void SetUp() override;

    // Shift and receipt steps that must succeed; each checks its own result.
    void openShift();
    int openReceipt(int type);  // the receipt's slip number
    void sell(const std::string& name, char tax, double price, double quantity,
              char discountType = '0', double discountValue = 0);
    // A payment: the status letter and the amount still due or to give back.
    std::pair<char, double> pay(int mode, double amount, char change = ' ');
    int closeReceipt();  // the fiscal document number

    // The 24 sums of an X or Z report: sales, returns, purchases and returns
    // of purchases, six tax groups each; and the report's number.
    struct Report {
        int number = 0;
        std::vector<double> sums;
    };
    bool report(char type, Report& out);
};

// A bad line the driver still gets through: naks, lost and spoilt replies,
// noise, pieces, SYNs and delays below the driver's patience, with seed 2024.
void moderateFaults(sim::Options& options);

// Application text: the Cyrillic letters of a UTF-8 text as CP1251 bytes.
std::string cp1251(const std::string& utf8);

// What a Cyrillic UTF-8 text becomes on its way back from the register
// through the driver: only the second byte of each letter's UTF-8 form.
std::string secondBytes(const std::string& utf8);

#endif
