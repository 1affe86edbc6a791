// shift, receipt, cash-in and cash-out: the till's daily work.
#include "cli/Commands.h"
#include "cli/Format.h"
#include "cli/Text.h"

namespace cli {

namespace {

// The operator who works the register: --operator and --password, or the
// named cashier of --cashier.
struct OperatorText {
    std::string number = "1", password, cashier;
};

void declareOperator(CLI::App& command, OperatorText& op) {
    option(command, "--operator", op.number, "N", "the register's operator number (default 1)");
    option(command, "--password", op.password, "TEXT",
           "the operator's password (default: the operator number)");
    option(command, "--cashier", op.cashier, "NAME",
           "the cashier's name, printed on the document; the\n"
           "register then works as its operator 30");
}

struct Operator {
    int number;
    std::string password;
    std::string name;  // application text; when given, the library works as operator 30
};

Operator readOperator(const OperatorText& typed) {
    Operator op;
    op.number = toInt(typed.number, 1, 99, "--operator");
    op.password =
        toText(typed.password.empty() ? std::to_string(op.number) : typed.password, "--password");
    op.name = toText(typed.cashier, "--cashier");
    return op;
}

struct ShiftArgs {
    std::vector<std::string> operands;
    OperatorText op;
};

void runShift(Session& session, const ShiftArgs& args) {
    expectOperands(args.operands, 1, 1);
    if (args.operands[0] != "open")
        throw UsageError("unknown shift command " + args.operands[0] +
                         " (a shift is closed by z-report)");
    const Operator op = readOperator(args.op);
    VR35& driver = session.connect();
    int document = 0, sign = 0, shift = 0;
    session.check(
        driver.OpenShift(op.number, op.password, 1, "", "", op.name, "", document, sign, shift),
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

Adjustment readAdjustment(const std::string& discount, const std::string& surcharge) {
    Adjustment a;
    for (const char* option : {"--discount", "--surcharge"}) {
        std::string value = option[2] == 'd' ? discount : surcharge;
        if (value.empty()) continue;
        if (a.kind != '0') throw UsageError("give --discount or --surcharge, not both");
        const bool percent = value.back() == '%';
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
    if (failure.code == VERDA_EXCHANGE_FAILED) {
        session.err() << "verda: the receipt may still be open on the register\n";
        return;
    }
    int slip = 0;
    if (session.device().CancelFiscalInv(slip) == 0)
        session.err() << "verda: receipt " << slip << " cancelled\n";
    else
        session.err() << "verda: the receipt could not be cancelled\n";
}

struct ReceiptArgs {
    std::vector<std::string> lines, pay;
    std::string discount, surcharge, tax = "1", dept = "1", type = "sale";
    OperatorText op;
};

void runReceipt(Session& session, const ReceiptArgs& args) {
    const Operator op = readOperator(args.op);
    const char tax = toByte(args.tax, "--tax");
    const int department = toInt(args.dept, 1, 99, "--dept");
    const int type = readReceiptType(args.type);
    const Adjustment adjustment = readAdjustment(args.discount, args.surcharge);
    if (args.lines.empty()) throw UsageError("no sale lines");
    std::vector<Item> items;
    for (const std::string& arg : args.lines) items.push_back(readItem(arg, tax, department));
    std::vector<Payment> payments;
    for (const std::string& arg : args.pay) payments.push_back(readPayment(arg));

    VR35& driver = session.connect();
    int slip = 0, document = 0, shift = 0;
    session.check(driver.OpenFiscalInv(op.number, op.password, 1, type, "", "", op.name, "", slip,
                                       document, shift),
                  "OpenFiscalInv");
    Pairs shown;
    try {
        for (const Item& item : items) {
            int at = 0;
            session.check(driver.RegisterSale(item.name, item.tax, item.price, item.quantity, 0,
                                              item.department, '0', 0, 0, 0, 0, 0, at),
                          "RegisterSale");
        }
        double total = 0, taxes[6] = {0};
        session.check(driver.Subtotal('1', '0', adjustment.kind, adjustment.value, slip, total,
                                      taxes[0], taxes[1], taxes[2], taxes[3], taxes[4], taxes[5]),
                      "Subtotal");
        shown.push_back({"total", money(total)});
        // Without --pay the total is paid in cash.
        if (payments.empty()) payments.push_back({0, total});
        char status = ' ';
        double left = 0;
        for (const Payment& payment : payments) {
            session.check(driver.Total(payment.mode, payment.amount, '1', status, left, slip),
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
    session.check(driver.CloseFiscalInv(slip, fiscalDocument, sign, document, shift),
                  "CloseFiscalInv");
    shown.insert(shown.begin(), {"receipt", std::to_string(slip)});
    shown.push_back({"fiscal document", std::to_string(fiscalDocument)});
    shown.push_back({"fiscal sign", fromCp866(sign)});
    shown.push_back({"shift", std::to_string(shift)});
    printPairs(session.out(), shown);
}

// cash-in and cash-out: the register's kind "0" puts cash in, "1" takes it out.
void runCash(Session& session, const std::vector<std::string>& operands, char kind) {
    expectOperands(operands, 1, 1);
    const double amount = toAmount(operands[0], 2, "amount");
    if (amount == 0) throw UsageError("the amount must not be 0");
    VR35& driver = session.connect();
    double cash = 0, in = 0, out = 0;
    session.check(driver.ParishOrConsumption(kind, amount, cash, in, out), "ParishOrConsumption");
    printPairs(session.out(), {{"cash in the drawer", money(cash)},
                               {"put in this shift", money(in)},
                               {"taken out this shift", money(out)}});
}

}  // namespace

void addSellingCommands(Commands& commands) {
    auto shift = std::make_shared<ShiftArgs>();
    CLI::App& shiftCommand =
        commands.add("shift", "open a shift",
                     "Usage: verda ... shift open [OPTIONS]\n"
                     "Opens a shift and shows its number and fiscal document.\n"
                     "A shift is closed by z-report.\n",
                     [shift](Session& session) { runShift(session, *shift); });
    operands(shiftCommand, shift->operands);
    declareOperator(shiftCommand, shift->op);

    auto receipt = std::make_shared<ReceiptArgs>();
    CLI::App& receiptCommand =
        commands.add("receipt", "sell a receipt: lines, discount, payments",
                     "Usage: verda ... receipt [OPTIONS] LINE...\n"
                     "Sells a receipt: opens it, registers the sale lines, applies a discount,\n"
                     "takes the payments and closes it. Shows the receipt's number, total,\n"
                     "payments, change and fiscal document. A receipt the register refuses half\n"
                     "way is cancelled.\n"
                     "\n"
                     "LINE is NAME=PRICE[xQTY][:TAX[:DEPT]], for example\n"
                     "  'Хлеб=45.50'  'Молоко=89.90x2'  'Яблоки=120x1.255:2'  'Кофе=250:1:3'\n",
                     [receipt](Session& session) { runReceipt(session, *receipt); });
    operands(receiptCommand, receipt->lines);
    repeatable(receiptCommand, "--pay", receipt->pay, "[MODE:]AMOUNT",
               "a payment; MODE is cash (default), card or the\n"
               "register's number 0 to 5; repeat for several.\n"
               "Without --pay the total is paid in cash.");
    option(receiptCommand, "--discount", receipt->discount, "VALUE",
           "a discount on the receipt: a sum, or a percentage\nsuch as 10%");
    option(receiptCommand, "--surcharge", receipt->surcharge, "VALUE", "a surcharge, the same way");
    option(receiptCommand, "--tax", receipt->tax, "CODE",
           "tax code of lines without one (default 1)");
    option(receiptCommand, "--dept", receipt->dept, "N",
           "department of lines without one (default 1)");
    option(receiptCommand, "--type", receipt->type, "TYPE",
           "sale (default), return, purchase or purchase-return");
    declareOperator(receiptCommand, receipt->op);

    auto amount = std::make_shared<std::vector<std::string>>();
    operands(commands.add("cash-in", "put cash into the drawer",
                          "Usage: verda ... cash-in AMOUNT\n"
                          "Books cash put into the drawer and shows the drawer's cash.\n",
                          [amount](Session& session) { runCash(session, *amount, '0'); }),
             *amount);
    amount = std::make_shared<std::vector<std::string>>();
    operands(commands.add("cash-out", "take cash out of the drawer",
                          "Usage: verda ... cash-out AMOUNT\n"
                          "Books cash taken out of the drawer and shows the drawer's cash.\n",
                          [amount](Session& session) { runCash(session, *amount, '1'); }),
             *amount);
}

}  // namespace cli
