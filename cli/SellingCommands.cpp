// shift, receipt, cash-in and cash-out: the till's daily work.
#include "cli/Commands.h"
#include "cli/Format.h"
#include "common/ReceiptFlow.h"

namespace cli {

namespace {

// The operator who works the register: --operator and --password, or the
// named cashier of --cashier.
struct OperatorText {
    std::string number = "1", password, cashier, inn;
};

void declareOperator(CLI::App& command, OperatorText& op) {
    option(command, "--operator", op.number, "N", "the register's operator number (default 1)");
    option(command, "--password", op.password, "TEXT",
           "the operator's password (default: the operator number)");
    option(command, "--cashier", op.cashier, "NAME",
           "the cashier's name, printed on the document; the\n"
           "register then works as its operator 30");
    option(command, "--cashier-inn", op.inn, "INN", "the cashier's tax number, 10 or 12 digits");
}

receipt::Cashier readOperator(const OperatorText& typed) {
    receipt::Cashier op;
    op.number = toInt(typed.number, 1, 99, "--operator");
    op.password =
        toText(typed.password.empty() ? std::to_string(op.number) : typed.password, "--password");
    op.name = toText(typed.cashier, "--cashier");
    op.inn = typed.inn;
    if (!op.inn.empty() && ((op.inn.size() != 10 && op.inn.size() != 12) ||
                            op.inn.find_first_not_of("0123456789") != std::string::npos))
        throw UsageError("--cashier-inn: 10 or 12 digits, not " + op.inn);
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
    const receipt::Cashier op = readOperator(args.op);
    verda_device* d = session.connect();
    int document = 0, sign = 0, shift = 0;
    session.check(verda_OpenShift(d, op.number, op.password.c_str(), op.till, "", "",
                                  op.name.c_str(), op.inn.c_str(), &document, &sign, &shift),
                  "OpenShift");
    printPairs(session.out(), {{"shift", std::to_string(shift)},
                               {"fiscal document", std::to_string(document)},
                               {"fiscal sign", std::to_string(sign)}});
}

// One sale line: NAME=PRICE[xQTY][:TAX[:DEPT]].
receipt::Line readLine(const std::string& arg, char tax, int department) {
    const size_t equals = arg.rfind('=');
    if (equals == std::string::npos || equals == 0)
        throw UsageError("a sale line goes as NAME=PRICE[xQTY][:TAX[:DEPT]], not " + arg);
    receipt::Line line;
    line.name = toText(arg.substr(0, equals), "name");
    line.tax = tax;
    line.department = department;
    std::string rest = arg.substr(equals + 1);
    const size_t colon = rest.find(':');
    if (colon != std::string::npos) {
        std::string codes = rest.substr(colon + 1);
        rest.erase(colon);
        const size_t second = codes.find(':');
        if (second != std::string::npos) {
            line.department = toInt(codes.substr(second + 1), 1, 99, "department of " + arg);
            codes.erase(second);
        }
        line.tax = toByte(codes, "tax code of " + arg);
    }
    const size_t times = rest.find_first_of("x*");
    if (times != std::string::npos) {
        line.quantity = toAmount(rest.substr(times + 1), 3, "quantity of " + arg);
        rest.erase(times);
        if (line.quantity == 0) throw UsageError("quantity of " + arg + ": must not be 0");
    }
    line.price = toAmount(rest, 2, "price of " + arg);
    return line;
}

// A payment: [MODE:]AMOUNT, MODE cash, card or the register's number 0 to 5;
// an amount of 0 pays what is still due.
receipt::Payment readPayment(const std::string& arg) {
    receipt::Payment payment;
    std::string amount = arg;
    const size_t colon = arg.find(':');
    if (colon != std::string::npos) {
        const std::string mode = arg.substr(0, colon);
        if (!codes::valueOf(codes::kPaymentMode, mode.c_str(), payment.mode))
            payment.mode = toInt(mode, 0, receipt::kLastMode, "payment mode");
        amount = arg.substr(colon + 1);
    }
    payment.amount = toAmount(amount, 2, "--pay");
    return payment;
}

receipt::Adjustment readAdjustment(const std::string& discount, const std::string& surcharge) {
    receipt::Adjustment a;
    for (const char* option : {"--discount", "--surcharge"}) {
        std::string value = option[2] == 'd' ? discount : surcharge;
        if (value.empty()) continue;
        if (a.kind != VERDA_DISCOUNT_NONE)
            throw UsageError("give --discount or --surcharge, not both");
        const bool percent = value.back() == '%';
        if (percent) value.pop_back();
        a.value = toAmount(value, 2, option);
        if (percent && a.value > 100) throw UsageError(std::string(option) + ": above 100%");
        if (option[2] == 'd')
            a.kind = percent ? VERDA_DISCOUNT_PERCENT : VERDA_DISCOUNT_SUM;
        else
            a.kind = percent ? VERDA_DISCOUNT_SURCHARGE_PERCENT : VERDA_DISCOUNT_SURCHARGE_SUM;
    }
    return a;
}

int readReceiptType(const std::string& text) {
    int type = 0;
    if (codes::valueOf(codes::kReceiptType, text.c_str(), type)) return type;
    throw UsageError("--type: sale, return, purchase or purchase-return, not " + text);
}

struct ReceiptArgs {
    std::vector<std::string> lines, pay;
    std::string discount, surcharge, tax = "1", dept = "1", type = "sale";
    std::string unit = "0", subject = "0", method = "0", buyer, taxSystem;
    OperatorText op;
};

// A text that goes to the register byte for byte: printable ASCII.
std::string toAscii(const std::string& text, const char* option) {
    for (const char c : text)
        if (c < 0x20 || c > 0x7E) throw UsageError(std::string(option) + ": printable ASCII only");
    return text;
}

// A receipt that did not close: what became of it, then the failure. A lost
// link while opening or closing is told by the failure alone.
[[noreturn]] void failed(Session& session, const receipt::Outcome& outcome) {
    const receipt::Failure& f = outcome.failure;
    if (f.unpaid)
        session.err() << "verda: the payments fall short by " << money(outcome.progress.due)
                      << '\n';
    switch (f.aftermath) {
        case receipt::Aftermath::Cancelled:
            session.err() << "verda: receipt " << f.cancelledSlip << " cancelled\n";
            break;
        case receipt::Aftermath::NotCancelled:
            session.err() << "verda: the receipt could not be cancelled\n";
            break;
        case receipt::Aftermath::MaybeOpen:
            if (f.stage != receipt::Stage::Open)
                session.err() << "verda: the receipt may still be open on the register\n";
            break;
        case receipt::Aftermath::NotOpened:
        case receipt::Aftermath::Unknown:
            break;
    }
    if (f.unpaid) throw Failure{f.operation, 0, "the receipt is not paid in full"};
    session.check(f.code, f.operation);
    throw Failure{f.operation, f.code, "the receipt was not closed"};  // a failure has its code
}

void runReceipt(Session& session, const ReceiptArgs& args) {
    receipt::Order order;
    order.cashier = readOperator(args.op);
    const char tax = toByte(args.tax, "--tax");
    const int department = toInt(args.dept, 1, 99, "--dept");
    order.type = readReceiptType(args.type);
    order.adjustment = readAdjustment(args.discount, args.surcharge);
    if (args.lines.empty()) throw UsageError("no sale lines");
    order.buyer = toAscii(args.buyer, "--buyer");
    order.taxSystem = toAscii(args.taxSystem, "--tax-system");
    const int unit = toInt(args.unit, 0, receipt::kLargestAttribute, "--unit");
    const int subject = toInt(args.subject, 0, receipt::kLargestAttribute, "--subject");
    const int method = toInt(args.method, 0, receipt::kLargestAttribute, "--method");
    for (const std::string& arg : args.lines) {
        order.lines.push_back(readLine(arg, tax, department));
        order.lines.back().unit = unit;
        order.lines.back().subject = subject;
        order.lines.back().method = method;
    }
    for (const std::string& arg : args.pay) order.payments.push_back(readPayment(arg));

    const receipt::Outcome outcome = receipt::sell(session.connect(), order);
    if (!outcome.closed) failed(session, outcome);
    const receipt::Progress& p = outcome.progress;
    Pairs pairs{{"receipt", std::to_string(outcome.receipt.slip)}, {"total", money(p.total)}};
    const std::vector<receipt::Payment> payments =
        order.payments.empty() ? std::vector<receipt::Payment>(1) : order.payments;
    for (size_t i = 0; i < payments.size(); ++i) {
        const char* name = codes::nameOf(codes::kPaymentMode, payments[i].mode);
        pairs.push_back({name != nullptr ? name : "payment " + std::to_string(payments[i].mode),
                         money(p.paid[i])});
    }
    if (p.changeGiven) pairs.push_back({"change", money(p.change)});
    pairs.push_back({"fiscal document", std::to_string(outcome.receipt.fiscalDocument)});
    pairs.push_back({"fiscal sign", shown(outcome.receipt.sign)});
    pairs.push_back({"shift", std::to_string(outcome.receipt.shift)});
    printPairs(session.out(), pairs);
}

// cash-in and cash-out: kind is a CashDirection (VERDA_CASH_IN or VERDA_CASH_OUT).
void runCash(Session& session, const std::vector<std::string>& operands, char kind) {
    expectOperands(operands, 1, 1);
    const double amount = toAmount(operands[0], 2, "amount");
    if (amount == 0) throw UsageError("the amount must not be 0");
    verda_device* d = session.connect();
    double cash = 0, in = 0, out = 0;
    session.check(verda_ParishOrConsumption(d, kind, amount, &cash, &in, &out),
                  "ParishOrConsumption");
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
                     "payments, change and fiscal document. A receipt the register refuses on\n"
                     "the way, its closing included, or whose payments fall short, is cancelled.\n"
                     "\n"
                     "LINE is NAME=PRICE[xQTY][:TAX[:DEPT]], for example\n"
                     "  'Хлеб=45.50'  'Молоко=89.90x2'  'Яблоки=120x1.255:2'  'Кофе=250:1:3'\n",
                     [receipt](Session& session) { runReceipt(session, *receipt); });
    operands(receiptCommand, receipt->lines);
    repeatable(receiptCommand, "--pay", receipt->pay, "[MODE:]AMOUNT",
               "a payment; MODE is cash (default), card or the\n"
               "register's number 0 to 5; AMOUNT 0 pays what is\n"
               "still due; repeat for several. Without --pay,\n"
               "what is due is paid in cash.");
    option(receiptCommand, "--discount", receipt->discount, "VALUE",
           "a discount on the receipt: a sum, or a percentage\nsuch as 10%");
    option(receiptCommand, "--surcharge", receipt->surcharge, "VALUE", "a surcharge, the same way");
    option(receiptCommand, "--tax", receipt->tax, "CODE",
           "tax code of lines without one (default 1)");
    option(receiptCommand, "--dept", receipt->dept, "N",
           "department of lines without one (default 1)");
    option(receiptCommand, "--type", receipt->type, "TYPE",
           "sale (default), return, purchase or purchase-return");
    option(receiptCommand, "--unit", receipt->unit, "N",
           "the lines' unit of measure, the register's number\n(default 0: none)");
    option(receiptCommand, "--subject", receipt->subject, "N",
           "what the lines sell, the register's number (default\n0: none)");
    option(receiptCommand, "--method", receipt->method, "N",
           "how the lines are settled, the register's number\n(default 0: none)");
    option(receiptCommand, "--buyer", receipt->buyer, "CONTACT",
           "the buyer's telephone or e-mail address, for an\nelectronic receipt");
    option(receiptCommand, "--tax-system", receipt->taxSystem, "TEXT",
           "the shop's tax system as the register names it");
    declareOperator(receiptCommand, receipt->op);

    auto amount = std::make_shared<std::vector<std::string>>();
    operands(commands.add("cash-in", "put cash into the drawer",
                          "Usage: verda ... cash-in AMOUNT\n"
                          "Books cash put into the drawer and shows the drawer's cash.\n",
                          [amount](Session& session) { runCash(session, *amount, VERDA_CASH_IN); }),
             *amount);
    amount = std::make_shared<std::vector<std::string>>();
    operands(
        commands.add("cash-out", "take cash out of the drawer",
                     "Usage: verda ... cash-out AMOUNT\n"
                     "Books cash taken out of the drawer and shows the drawer's cash.\n",
                     [amount](Session& session) { runCash(session, *amount, VERDA_CASH_OUT); }),
        *amount);
}

}  // namespace cli
