#ifndef VERDA_SIM_STATE_H
#define VERDA_SIM_STATE_H

// Everything the simulated register keeps in its non-volatile memory. Texts
// are CP866 bytes; money is in kopecks, quantities in thousandths.

#include <map>
#include <string>
#include <vector>

#include "sim/Formats.h"

namespace sim {

const int kTaxGroups = 6;
const int kPayModes = 6;
const int kDepartments = 16;
const int kOperators = 30;

// The four kinds of fiscal turnover, also the receipt types 0 to 3.
enum Kind { Sale = 0, Return = 1, Purchase = 2, ReturnPurchase = 3, kKinds = 4 };

struct Identity {
    std::string model;  // CP866
    std::string firmware = "944124";
    std::string firmwareDate = "15.03.2026";
    std::string firmwareTime = "12:00";
    std::string checksum = "5A3C";
    std::string software = "1.0.7";
    std::string deviceNumber = "0000000001";
    std::string fnNumber = "9999078900012345";
    // The drive's last valid day, "DD.MM.YYYY" (--fn-deadline): after it the
    // register makes no fiscal document.
    std::string fnDeadline = "15.03.2029";
    // The drive's warning flags (--fn-warnings), as GetStateFN reports them.
    int fnWarnings = 0;
    int columns = 32;
    bool ofdOnline = true;  // the data operator takes one queued document per command
    // The clock stands (--clock): the register's time is State::clockOffset
    // itself, seconds as parseTime gives them, and moves only by SetDateTime.
    bool clockStands = false;
};

struct Line {
    std::string name;  // CP866
    int tax = 0;       // tax group 0..5
    int department = 1;
    int plu = 0;  // the article sold, 0 for a free sale line
    Money price = 0;
    Milli quantity = 0;
    Money amount = 0;      // price x quantity
    Money adjustment = 0;  // negative discount or positive surcharge
};

// The document on the printer: a fiscal receipt or a service document.
struct Receipt {
    enum State { None, Fiscal, Service } state = None;
    int type = 0;  // Kind, or 5 and 6 for corrections
    int operatorNumber = 0;
    int slip = 0;  // receipt number in the shift, or document number of a service document
    int document = 0;
    std::vector<Line> lines;
    Money receiptAdjustment = 0;  // from Subtotal
    Money payments[kPayModes] = {};
    Money correctionTax[kTaxGroups] = {};
    bool corrected = false;            // TotalCorrecion recorded the sums
    std::vector<std::string> printed;  // CP866, for the journal
};

struct Counted {
    long long count = 0;
    Money sum = 0;
};

// Figures of one shift; a Z report clears them.
struct ShiftTotals {
    Money byTax[kKinds][kTaxGroups] = {};
    Money byPayment[kKinds][kPayModes] = {};
    Counted receipts[kKinds];
    Counted cancelled, discounts, surcharges, corrections, cashIn, cashOut;
    std::map<int, std::vector<Counted> > byOperator;  // 7 pairs, see FiscalRecords.cpp
    int lines[kTaxGroups] = {};
};

struct Article {
    int tax = 'A';  // the tax byte as written
    int department = 1;
    int group = 0;
    char priceType = '0';
    Money price = 0;
    Milli stock = 0;
    Milli sold = 0;      // this shift
    Money turnover = 0;  // this shift
    std::string bar[4];
    std::string name;  // CP866
    std::string units, id1c, isWeight, service;
    long long extra1 = 0, extra2 = 0;
};

// One record of the fiscal memory: a fiscalization ('F'), a change of tax
// rates ('T') or a Z report ('Z').
struct FiscalRecord {
    char type = 'Z';
    int number = 0;
    long long time = 0;
    Money sums[kTaxGroups] = {};     // sales by tax group, or the rates in hundredths
    Money returns[kTaxGroups] = {};  // returns by tax group
};

// A printed document as the electronic journal keeps it.
struct JournalDoc {
    int number = 0;
    int shift = 0;
    int fd = 0;  // fiscal document number, 0 for others
    char type = 'S';
    long long time = 0;
    std::vector<std::string> lines;  // CP866
};

struct Unsent {
    int fd = 0;
    long long time = 0;
};

struct State {
    // Identity and fiscal data.
    std::string serial = "VS00000001";
    std::string taxNumber = "7700000000";
    std::string regNumber = "0000000001012345";
    bool fiscalized = true;
    long long clockOffset = 0;  // device time minus host time, in seconds (Register::now)
    long long lastDocTime = 0;

    // Counters.
    int documents = 0;  // every printed document
    int fds = 0;        // fiscal documents on the drive
    int shift = 0;      // number of the last shift opened
    bool shiftOpen = false;
    long long shiftOpenedAt = 0;
    int receiptsInShift = 0;
    int xReports = 0;
    Money cash = 0;  // in the drawer
    Money grand[kKinds] = {};
    ShiftTotals totals;
    Receipt receipt;
    int lastReceiptDoc = 0;  // journal number of the last fiscal receipt

    // Settings.
    Money taxRates[kTaxGroups] = {2000, 1000, 0, 0, 0, 0};
    char taxPoint = '2';
    int rateChangesLeft = 30;
    int ratesSetInZ = 0;
    long long ratesSetAt = 0;
    std::string operatorPasswords[kOperators + 1];
    std::map<std::string, std::string> params;  // "Name\tIndex" -> CP866 value
    std::map<std::string, std::string> serviceParams;

    std::map<int, Article> articles;
    int walk = 0;  // position of the N and n walks

    std::vector<FiscalRecord> fiscalMemory;
    std::vector<JournalDoc> journal;
    std::vector<Unsent> unsent;
    int journalDoc = 0;   // document chosen by GetInfoFromEJ0
    int journalLine = 0;  // next line for GetInfoFromEJ1 and 2

    State();
};

// Reads a state file of the older text form (its first line
// "verda-sim-state-1"), which the simulator converts to JSON
// (sim/StateFile.h). False for a damaged text.
bool parseTextForm(const std::string& text, State& state);

}  // namespace sim

#endif
