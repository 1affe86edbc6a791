// shift, receipt, cash-in and cash-out: the till's daily work.
#include "api/CorteliaVERDA.h"
#include "cli/Commands.h"
#include "cli/Format.h"
#include "cli/Text.h"

namespace cli {

namespace {

const std::vector<std::string> kOperatorOptions = {"--operator", "--password", "--cashier"};

const char kOperatorHelp[] =
    "  --operator N       the register's operator number (default 1)\n"
    "  --password TEXT    the operator's password (default: the operator number)\n"
    "  --cashier NAME     the cashier's name, printed on the document; the register\n"
    "                     then works as its operator 30\n";

// The operator who works the register: --operator and --password, or the
// named cashier of --cashier.
struct Operator {
    int number;
    std::string password;
    std::string name;  // application text; when given, the library works as operator 30
};

Operator readOperator(const CommandLine& line) {
    Operator op;
    op.number = toInt(line.value("--operator", "1"), 1, 99, "--operator");
    op.password = toText(line.value("--password", std::to_string(op.number)), "--password");
    op.name = toText(line.value("--cashier", ""), "--cashier");
    return op;
}

void runShift(Session& session, const CommandLine& line) {
    line.expectOperands(1, 1);
    if (line.operands()[0] != "open")
        throw UsageError("unknown shift command " + line.operands()[0] +
                         " (a shift is closed by z-report)");
    const Operator op = readOperator(line);
    session.connect();
    int document = 0, sign = 0, shift = 0;
    session.check(
        VERDA::OpenShift(op.number, op.password, 1, "", "", op.name, "", document, sign, shift),
        "OpenShift");
    printPairs(session.out(), {{"shift", std::to_string(shift)},
                               {"fiscal document", std::to_string(document)},
                               {"fiscal sign", std::to_string(sign)}});
}

// One sale line: NAME=PRICE[xQTY][:TAX[:DEPT]].
struct Item {
    std::string name;  // application text
    double price;
    double quantity;
    char tax;
    int department;
};

Item readItem(const std::string& arg, char tax, int department) {
    const size_t equals = arg.rfind('=');
    if (equals == std::string::npos || equals == 0)
        throw UsageError("a sale line goes as NAME=PRICE[xQTY][:TAX[:DEPT]], not " + arg);
    Item item{toText(arg.substr(0, equals), "name"), 0, 1, tax, department};
    std::string rest = arg.substr(equals + 1);
    const size_t colon = rest.find(':');
    if (colon != std::string::npos) {
        std::string codes = rest.substr(colon + 1);
        rest.erase(colon);
        const size_t second = codes.find(':');
        if (second != std::string::npos) {
            item.department = toInt(codes.substr(second + 1), 1, 99, "department of " + arg);
            codes.erase(second);
        }
        item.tax = toByte(codes, "tax code of " + arg);
    }
    const size_t times = rest.find_first_of("x*");
    if (times != std::string::npos) {
        item.quantity = toAmount(rest.substr(times + 1), 3, "quantity of " + arg);
        rest.erase(times);
        if (item.quantity == 0) throw UsageError("quantity of " + arg + ": must not be 0");
    }
    item.price = toAmount(rest, 2, "price of " + arg);
    return item;
}

// A payment: [MODE:]AMOUNT, MODE cash, card or the register's number 0 to 5.
struct Payment {
    int mode;
    double amount;
};

Payment readPayment(const std::string& arg) {
    Payment payment{0, 0};
    std::string amount = arg;
    const size_t colon = arg.find(':');
    if (colon != std::string::npos) {
        const std::string mode = arg.substr(0, colon);
        payment.mode = mode == "cash" ? 0 : mode == "card" ? 1 : toInt(mode, 0, 5, "payment mode");
        amount = arg.substr(colon + 1);
    }
    payment.amount = toAmount(amount, 2, "--pay");
    return payment;
}

// The register's kinds of receipt adjustment: "1" discount in percent, "2"
// discount as a sum, "3" and "4" the same for a surcharge.
struct Adjustment {
    char kind = '0';
    double value = 0;
};

Adjustment readAdjustment(const CommandLine& line) {
    Adjustment a;
    for (const char* option : {"--discount", "--surcharge"}) {
        if (!line.has(option)) continue;
        if (a.kind != '0') throw UsageError("give --discount or --surcharge, not both");
        std::string value = line.value(option, "");
        const bool percent = !value.empty() && value.back() == '%';
        if (percent) value.pop_back();
        a.value = toAmount(value, 2, option);
        if (percent && a.value > 100) throw UsageError(std::string(option) + ": above 100%");
        a.kind = static_cast<char>((option[2] == 'd' ? '1' : '3') + (percent ? 0 : 1));
    }
    return a;
}

const char* const kReceiptTypes[] = {"sale", "return", "purchase", "purchase-return"};

int readReceiptType(const std::string& text) {
    for (int i = 0; i < 4; ++i)
        if (text == kReceiptTypes[i]) return i;
    throw UsageError("--type: sale, return, purchase or purchase-return, not " + text);
}

// After a refusal in the middle, the receipt is cancelled so that the
// register is free again. After a lost link that would only wait out the
// timeout once more, so the user is told instead.
void abandon(Session& session, const Failure& failure) {
    if (failure.code == kNoAnswer) {
        session.err() << "verda: the receipt may still be open on the register\n";
        return;
    }
    int slip = 0;
    if (VERDA::CancelFiscalInv(slip))
        session.err() << "verda: receipt " << slip << " cancelled\n";
    else
        session.err() << "verda: the receipt could not be cancelled\n";
}

void runReceipt(Session& session, const CommandLine& line) {
    const Operator op = readOperator(line);
    const char tax = toByte(line.value("--tax", "1"), "--tax");
    const int department = toInt(line.value("--dept", "1"), 1, 99, "--dept");
    const int type = readReceiptType(line.value("--type", "sale"));
    const Adjustment adjustment = readAdjustment(line);
    if (line.operands().empty()) throw UsageError("no sale lines");
    std::vector<Item> items;
    for (const std::string& arg : line.operands()) items.push_back(readItem(arg, tax, department));
    std::vector<Payment> payments;
    for (const std::string& arg : line.values("--pay")) payments.push_back(readPayment(arg));

    session.connect();
    int slip = 0, document = 0, shift = 0;
    session.check(VERDA::OpenFiscalInv(op.number, op.password, 1, type, "", "", op.name, "", slip,
                                       document, shift),
                  "OpenFiscalInv");
    Pairs shown;
    try {
        for (const Item& item : items) {
            int at = 0;
            session.check(VERDA::RegisterSale(item.name, item.tax, item.price, item.quantity, 0,
                                              item.department, '0', 0, 0, 0, 0, 0, at),
                          "RegisterSale");
        }
        double total = 0, taxes[6] = {0};
        session.check(VERDA::Subtotal('1', '0', adjustment.kind, adjustment.value, slip, total,
                                      taxes[0], taxes[1], taxes[2], taxes[3], taxes[4], taxes[5]),
                      "Subtotal");
        shown.push_back({"total", money(total)});
        // Without --pay the total is paid in cash.
        if (payments.empty()) payments.push_back({0, total});
        char status = ' ';
        double left = 0;
        for (const Payment& payment : payments) {
            session.check(VERDA::Total(static_cast<char>(payment.mode), payment.amount, '1', status,
                                       left, slip),
                          "Total");
            shown.push_back({payment.mode == 0   ? "cash"
                             : payment.mode == 1 ? "card"
                                                 : "payment " + std::to_string(payment.mode),
                             money(payment.amount)});
        }
        // The register answers "D" while a sum is still due, and "R" with the
        // change once it is paid in full.
        if (status == 'D') {
            session.err() << "verda: the payments fall short by " << money(left) << '\n';
            throw Failure{"Total", 0, "the receipt is not paid in full"};
        }
        if (status == 'R') shown.push_back({"change", money(left)});
    } catch (const Failure& failure) {
        abandon(session, failure);
        throw;
    }
    int fiscalDocument = 0;
    std::string sign;
    session.check(VERDA::CloseFiscalInv(slip, fiscalDocument, sign, document, shift),
                  "CloseFiscalInv");
    shown.insert(shown.begin(), {"receipt", std::to_string(slip)});
    shown.push_back({"fiscal document", std::to_string(fiscalDocument)});
    shown.push_back({"fiscal sign", fromCp866(sign)});
    shown.push_back({"shift", std::to_string(shift)});
    printPairs(session.out(), shown);
}

// cash-in and cash-out: the register's kind "0" puts cash in, "1" takes it out.
void runCash(Session& session, const CommandLine& line, char kind) {
    line.expectOperands(1, 1);
    const double amount = toAmount(line.operands()[0], 2, "amount");
    if (amount == 0) throw UsageError("the amount must not be 0");
    session.connect();
    double cash = 0, in = 0, out = 0;
    session.check(VERDA::ParishOrConsumption(kind, amount, cash, in, out), "ParishOrConsumption");
    printPairs(session.out(), {{"cash in the drawer", money(cash)},
                               {"put in this shift", money(in)},
                               {"taken out this shift", money(out)}});
}

void runCashIn(Session& session, const CommandLine& line) {
    runCash(session, line, '0');
}

void runCashOut(Session& session, const CommandLine& line) {
    runCash(session, line, '1');
}

std::vector<std::string> withOperator(std::vector<std::string> options) {
    options.insert(options.end(), kOperatorOptions.begin(), kOperatorOptions.end());
    return options;
}

const std::string kShiftHelp = std::string(
                                   "Usage: verda ... shift open [OPTIONS]\n"
                                   "Opens a shift and shows its number and fiscal document.\n"
                                   "A shift is closed by z-report.\n"
                                   "\n"
                                   "Options:\n") +
                               kOperatorHelp;

const std::string kReceiptHelp =
    std::string(
        "Usage: verda ... receipt [OPTIONS] LINE...\n"
        "Sells a receipt: opens it, registers the sale lines, applies a discount,\n"
        "takes the payments and closes it. Shows the receipt's number, total,\n"
        "payments, change and fiscal document. A receipt the register refuses half\n"
        "way is cancelled.\n"
        "\n"
        "LINE is NAME=PRICE[xQTY][:TAX[:DEPT]], for example\n"
        "  'Хлеб=45.50'  'Молоко=89.90x2'  'Яблоки=120x1.255:2'  'Кофе=250:1:3'\n"
        "\n"
        "Options:\n"
        "  --pay [MODE:]AMOUNT  a payment; MODE is cash (default), card or the\n"
        "                       register's number 0 to 5; repeat for several.\n"
        "                       Without --pay the total is paid in cash.\n"
        "  --discount VALUE     a discount on the receipt: a sum, or a percentage\n"
        "                       such as 10%\n"
        "  --surcharge VALUE    a surcharge, the same way\n"
        "  --tax CODE           tax code of lines without one (default 1)\n"
        "  --dept N             department of lines without one (default 1)\n"
        "  --type TYPE          sale (default), return, purchase or purchase-return\n") +
    kOperatorHelp;

}  // namespace

void addSellingCommands(std::vector<Command>& table) {
    table.push_back({"shift", "open a shift", kShiftHelp.c_str(), {}, kOperatorOptions, runShift});
    table.push_back(
        {"receipt",
         "sell a receipt: lines, discount, payments",
         kReceiptHelp.c_str(),
         {},
         withOperator({"--pay", "--discount", "--surcharge", "--tax", "--dept", "--type"}),
         runReceipt});
    table.push_back({"cash-in",
                     "put cash into the drawer",
                     "Usage: verda ... cash-in AMOUNT\n"
                     "Books cash put into the drawer and shows the drawer's cash.\n",
                     {},
                     {},
                     runCashIn});
    table.push_back({"cash-out",
                     "take cash out of the drawer",
                     "Usage: verda ... cash-out AMOUNT\n"
                     "Books cash taken out of the drawer and shows the drawer's cash.\n",
                     {},
                     {},
                     runCashOut});
}

}  // namespace cli
