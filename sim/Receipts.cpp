// Shifts, receipts, cash and printing of the simulated register.
#include "sim/Register.h"

#include "wire/Documents.h"

namespace sim {

namespace {

const char* const kReceiptTitles[] = {
    "ПРИХОД", "ВОЗВРАТ ПРИХОДА",   "РАСХОД",           "ВОЗВРАТ РАСХОДА",
    "",       "КОРРЕКЦИЯ ПРИХОДА", "КОРРЕКЦИЯ РАСХОДА"};
const int kCorrectionSale = 5;
const int kCorrectionPurchase = 6;
const Money kLargestPrice = 1000000000;    // ten million roubles
const Milli kLargestQuantity = 100000000;  // a hundred thousand units
const Money kWholePercent = 10000;

bool isCorrection(int type) {
    return type == kCorrectionSale || type == kCorrectionPurchase;
}

// Whether cash of this kind of receipt goes into the drawer.
bool cashComesIn(int type) {
    return type == Sale || type == ReturnPurchase || type == kCorrectionSale;
}

// The receipt's sums by tax group: each line after its own discount, and the
// receipt's discount shared out in proportion, the last group taking the
// remainder so that the groups add up to the total.
void groupSums(const Receipt& r, Money sums[kTaxGroups]) {
    Money lines = 0;
    for (int g = 0; g < kTaxGroups; ++g) sums[g] = 0;
    for (const Line& line : r.lines) {
        sums[line.tax] += line.amount + line.adjustment;
        lines += line.amount + line.adjustment;
    }
    Money left = r.receiptAdjustment;
    int last = -1;
    for (int g = 0; g < kTaxGroups; ++g) {
        if (sums[g] == 0) continue;
        const Money share = mulDivRound(r.receiptAdjustment, sums[g], lines);
        sums[g] += share;
        left -= share;
        last = g;
    }
    if (last >= 0) sums[last] += left;
}

// The tax included in a sum at a rate in hundredths of a percent.
Money taxIn(Money sum, Money rate) {
    return mulDivRound(sum, rate, kWholePercent + rate);
}

}  // namespace

// --- Shift and receipt ----------------------------------------------------------

void Register::OpenFiscalInv(const Args& in, Reply& out) {
    if (state_.receipt.state == Receipt::Fiscal) throw Refusal{err::kReceiptOpen};
    if (state_.receipt.state == Receipt::Service) throw Refusal{err::kServiceDocOpen};
    if (shortReceiptFields())
        in.expect(6, 6);
    else
        in.expect(7, 8);
    requireOperator(in, 0, 1);
    in.integer(2);  // till number
    const long long type = in.integer(3);
    if (type == 4) return OpenShift(out);
    if (!state_.fiscalized) throw Refusal{err::kNotFiscalized};
    requireShiftOpen();
    requireDriveValid();
    if (type < 0 || type > kCorrectionPurchase) throw Refusal{err::kReceiptType};

    Lines doc = documentHeader(dev("КАССОВЫЙ ЧЕК"));
    Receipt& r = state_.receipt;
    r = Receipt();
    r.state = Receipt::Fiscal;
    r.type = static_cast<int>(type);
    r.operatorNumber = static_cast<int>(in.integer(0));
    r.slip = ++state_.receiptsInShift;
    r.document = nextDocument();
    doc.push_back(layout_.center(dev(kReceiptTitles[type])));
    doc.push_back(layout_.pair(dev("ЧЕК № ") + str(r.slip), dev("СМЕНА № ") + str(state_.shift)));
    const std::string cashier = in.has(6) ? in.text(6) : param("OperName", r.operatorNumber);
    doc.push_back(layout_.left(dev("КАССИР ") + cashier));
    if (in.has(7)) doc.push_back(layout_.left(dev("ИНН КАССИРА ") + in.text(7)));
    if (in.has(4)) doc.push_back(layout_.left(dev("ПОКУПАТЕЛЬ ") + in.text(4)));
    if (in.has(5)) doc.push_back(layout_.left(dev("СНО ") + in.text(5)));
    doc.push_back(layout_.rule('-'));
    print(doc);
    out << r.slip << r.document << state_.shift;
}

// A receipt of type 4 opens the shift: the answer is the fiscal document,
// its sign and the shift's number.
void Register::OpenShift(Reply& out) {
    if (!state_.fiscalized) throw Refusal{err::kNotFiscalized};
    if (state_.shiftOpen) throw Refusal{err::kShiftOpen};
    requireDriveValid();
    ++state_.shift;
    state_.shiftOpen = true;
    state_.shiftOpenedAt = now();
    state_.receiptsInShift = 0;
    const int fd = nextFiscalDocument(now());
    Lines doc = documentHeader(dev("ОТЧЕТ ОБ ОТКРЫТИИ СМЕНЫ"));
    doc.push_back(layout_.pair(dev("СМЕНА №"), str(state_.shift)));
    printDocument(wire::document::kShiftOpening, fd, doc);
    out << fd << fiscalSign(fd) << state_.shift;
}

// --- Lines ------------------------------------------------------------------------

// Name, tax, price, quantity, discount kind and value, department; on every
// firmware but the one with the short receipt fields (944123) also unit,
// discount sum, sum, sign and payment sign.
void Register::RegisterSale(const Args& in, Reply& out) {
    requireFiscalReceipt();
    if (shortReceiptFields())
        in.expect(7, 7);
    else
        in.expect(12, 12);
    requireShiftOpen();
    Line line;
    line.name = in.text(0).substr(0, shortReceiptFields() ? 32 : 64);
    line.tax = taxGroup(in.byte(1));
    line.price = in.amount(2);
    line.quantity = in.quantity(3);
    const long long dep = in.integer(6);
    if (dep < 1 || dep > kDepartments) throw Refusal{err::kDepartmentRange};
    line.department = static_cast<int>(dep);
    for (size_t optional : {7, 10, 11})
        if (in.has(optional)) in.integer(optional);
    char discountType = in.byte(4);
    std::string discountValue = in.text(5);
    // A discount given as a sum alone.
    if (discountType == '0' && in.has(8)) {
        discountType = '2';
        discountValue = formatFixed(in.amount(8), 2);
    }
    addLine(line, discountType, discountValue);
    out << state_.receipt.slip;
}

// Article code, quantity, discount kind and value: name, price, tax and
// department come from the article database.
void Register::RegisterArticleSale(const Args& in, Reply& out) {
    requireFiscalReceipt();
    in.expect(3, 4);
    requireShiftOpen();
    const long long plu = in.integer(0);
    auto found = state_.articles.find(static_cast<int>(plu));
    if (found == state_.articles.end()) throw Refusal{err::kNoArticle};
    sim::Article& article = found->second;
    Line line;
    line.plu = static_cast<int>(plu);
    line.name = article.name;
    line.tax = taxGroup(static_cast<char>(article.tax));
    line.department = article.department;
    line.price = article.price;
    line.quantity = in.quantity(1);
    if (line.quantity > article.stock) throw Refusal{err::kOutOfStock};
    addLine(line, in.byte(2), in.text(3));
    const Line& added = state_.receipt.lines.back();
    article.stock -= added.quantity;
    article.sold += added.quantity;
    article.turnover += added.amount + added.adjustment;
    out << state_.receipt.slip;
}

// Discount kinds: "0" none, "1" discount in percent, "2" discount as a sum,
// "3" surcharge in percent, "4" surcharge as a sum. The value's sign is not
// looked at; the kind decides the direction.
void Register::addLine(Line line, char discountType, const std::string& discountValue) {
    Receipt& r = state_.receipt;
    if (isCorrection(r.type)) throw Refusal{err::kReceiptType};
    if (receiptPaid() > 0) throw Refusal{err::kPaymentStarted};
    if (line.price < 0) throw Refusal{err::kNegativePrice};
    if (line.quantity < 0) throw Refusal{err::kSyntax};
    if (line.price > kLargestPrice || line.quantity > kLargestQuantity)
        throw Refusal{err::kValueTooBig};
    line.amount = mulDivRound(line.price, line.quantity, 1000);
    if (line.amount == 0) throw Refusal{err::kZeroAmount};
    if (discountType < '0' || discountType > '4') throw Refusal{err::kSyntax};
    Money value = 0;
    if (discountType != '0' && !parseFixed(discountValue, 2, value)) throw Refusal{err::kSyntax};
    if (value < 0) value = -value;
    const bool percent = discountType == '1' || discountType == '3';
    Money adjustment = percent ? mulDivRound(line.amount, value, 10000) : value;
    if (discountType == '1' || discountType == '2') {
        if (adjustment > line.amount || (percent && value > 10000))
            throw Refusal{err::kValueTooBig};
        adjustment = -adjustment;
    }
    line.adjustment = adjustment;

    Lines printed = layout_.wrap(line.name);
    const std::string letter(1, static_cast<char>('A' + line.tax));
    printed.push_back(layout_.pair("  " + formatFixed(line.quantity, 3) + " x " + money(line.price),
                                   "=" + money(line.amount) + " " + letter));
    if (adjustment != 0) {
        const std::string what = dev(adjustment < 0 ? "  СКИДКА" : "  НАДБАВКА") +
                                 (percent ? " " + money(value) + "%" : std::string());
        printed.push_back(layout_.pair(what, money(adjustment)));
    }
    r.lines.push_back(line);
    print(printed);
}

std::string Register::formattedText(const Args& in) const {
    in.expect(7, 7);
    const std::string text = layout_.left(in.text(0));
    const char alignment = in.text(5).empty() ? '0' : in.text(5)[0];
    if (alignment == '1') return layout_.center(text);
    if (alignment == '2') return layout_.right(text);
    return text;
}

void Register::PrintFreeTextInFiscalInv(const Args& in, Reply&) {
    requireFiscalReceipt();
    print(Lines{formattedText(in)});
}

// Type 0: the buyer's telephone or e-mail; 1: the buyer's name; any other: a
// line of text on the receipt.
void Register::SetFiscalInvParam(const Args& in, Reply&) {
    requireFiscalReceipt();
    in.expect(2, 2);
    const long long type = in.integer(0);
    const std::string label = type == 0   ? dev("ТЕЛ./E-MAIL ПОКУПАТЕЛЯ ")
                              : type == 1 ? dev("ПОКУПАТЕЛЬ ")
                                          : std::string();
    print(layout_.wrap(label + in.text(1)));
}

// --- Subtotal and payment ------------------------------------------------------

// Print ("1" prints the subtotal), display, discount kind (empty for none)
// and value. A new receipt discount replaces the previous one. The answer:
// slip, total, and the tax included per tax group.
void Register::Subtotal(const Args& in, Reply& out) {
    requireFiscalReceipt();
    in.expect(4, 4);
    Receipt& r = state_.receipt;
    if (r.lines.empty()) throw Refusal{err::kNoSales};
    if (receiptPaid() > 0) throw Refusal{err::kPaymentStarted};
    Lines printed;
    if (in.has(2) && in.text(2) != "0") {
        const char type = in.byte(2);
        if (type < '1' || type > '4') throw Refusal{err::kSyntax};
        Money value = in.amount(3);
        if (value < 0) value = -value;
        r.receiptAdjustment = 0;
        const Money lines = receiptTotal();
        const bool percent = type == '1' || type == '3';
        const bool discount = type == '1' || type == '2';
        const Money limit = percent ? kWholePercent : lines;
        // A discount on the receipt leaves something to pay.
        if (value > limit || (discount && value == limit)) throw Refusal{err::kValueTooBig};
        Money adjustment = percent ? mulDivRound(lines, value, kWholePercent) : value;
        if (discount) adjustment = -adjustment;
        r.receiptAdjustment = adjustment;
        printed.push_back(layout_.pair(dev(adjustment < 0 ? "СКИДКА НА ЧЕК" : "НАДБАВКА НА ЧЕК"),
                                       money(adjustment)));
    }
    if (in.text(0) == "1") printed.push_back(layout_.pair(dev("ПОДЫТОГ"), money(receiptTotal())));
    if (!printed.empty()) print(printed);
    Money sums[kTaxGroups];
    groupSums(r, sums);
    out << r.slip;
    out.amount(receiptTotal());
    for (int g = 0; g < kTaxGroups; ++g) out.amount(taxIn(sums[g], state_.taxRates[g]));
}

// Payment mode 0 to 5 (0 is cash, the only one that gives change), amount (0
// pays what is due) and an optional change byte ("0" refuses change). The
// answer's status: "D" still due, with the amount due; "R" paid with change,
// with the change; "0" paid exactly.
void Register::Total(const Args& in, Reply& out) {
    requireFiscalReceipt();
    in.expect(2, 3);
    Receipt& r = state_.receipt;
    if (isCorrection(r.type)) throw Refusal{err::kReceiptType};
    if (r.lines.empty()) throw Refusal{err::kNoSales};
    const long long mode = in.integer(0);
    if (mode < 0 || mode >= kPayModes) throw Refusal{err::kPaymentForbidden};
    Money amount = in.amount(1);
    if (amount < 0) throw Refusal{err::kSyntax};
    const bool changeAllowed = !(in.size() == 3 && in.text(2) == "0");
    const Money due = receiptTotal() - receiptPaid();
    if (due <= 0) throw Refusal{err::kOverpaid};
    if (amount == 0) amount = due;
    if (amount > due && (mode != 0 || !changeAllowed)) throw Refusal{err::kOverpaid};
    r.payments[mode] += amount;
    Lines printed;
    if (receiptPaid() == amount)
        printed.push_back(
            layout_.pair(dev(wire::document::kTotalLabel), "=" + money(receiptTotal())));
    printed.push_back(layout_.pair(param("PayName", static_cast<int>(mode)), money(amount)));
    const Money left = due - amount;
    if (left < 0) printed.push_back(layout_.pair(dev("СДАЧА"), money(-left)));
    print(printed);
    out << std::string(left > 0 ? "D" : left < 0 ? "R" : "0");
    out.amount(left < 0 ? -left : left) << r.slip;
}

// The payment of a correction receipt (types 5 and 6): mode, amount, and the
// sums by tax group, which stand in for sale lines.
void Register::TotalCorrecion(const Args& in, Reply&) {
    requireFiscalReceipt();
    in.expect(8, 8);
    Receipt& r = state_.receipt;
    if (!isCorrection(r.type)) throw Refusal{err::kReceiptType};
    if (r.corrected) throw Refusal{err::kPaymentStarted};
    const long long mode = in.integer(0);
    if (mode < 0 || mode >= kPayModes) throw Refusal{err::kPaymentForbidden};
    const Money amount = in.amount(1);
    if (amount <= 0) throw Refusal{err::kZeroAmount};
    Lines printed;
    for (int g = 0; g < kTaxGroups; ++g) {
        r.correctionTax[g] = in.amount(2 + g);
        if (r.correctionTax[g] != 0)
            printed.push_back(
                layout_.pair(dev("СУММА ") + std::string(1, static_cast<char>('A' + g)),
                             money(r.correctionTax[g])));
    }
    r.payments[mode] = amount;
    r.corrected = true;
    printed.push_back(layout_.pair(dev(wire::document::kTotalLabel), "=" + money(amount)));
    printed.push_back(layout_.pair(param("PayName", static_cast<int>(mode)), money(amount)));
    print(printed);
}

// --- Closing ----------------------------------------------------------------------

void Register::CloseFiscalInv(const Args& in, Reply& out) {
    requireFiscalReceipt();
    in.expect(0, 0);
    Receipt& r = state_.receipt;
    if (r.lines.empty() && !r.corrected) throw Refusal{err::kNoSales};
    const Money total = receiptTotal();
    if (receiptPaid() < total) throw Refusal{err::kNotPaid};
    const Money change = receiptPaid() - total;
    const Money cash = r.payments[0] - change;
    if (!cashComesIn(r.type) && cash > state_.cash) throw Refusal{err::kNoCash};
    state_.cash += cashComesIn(r.type) ? cash : -cash;

    ShiftTotals& t = state_.totals;
    Lines printed;
    if (isCorrection(r.type)) {
        ++t.corrections.count;
        t.corrections.sum += total;
    } else {
        Money sums[kTaxGroups];
        groupSums(r, sums);
        for (int g = 0; g < kTaxGroups; ++g) {
            t.byTax[r.type][g] += sums[g];
            if (sums[g] != 0)
                printed.push_back(layout_.pair(dev("НДС ") + money(state_.taxRates[g]) + "%",
                                               money(taxIn(sums[g], state_.taxRates[g]))));
        }
        for (int m = 0; m < kPayModes; ++m) t.byPayment[r.type][m] += r.payments[m];
        t.byPayment[r.type][0] -= change;
        ++t.receipts[r.type].count;
        t.receipts[r.type].sum += total;
        state_.grand[r.type] += total;
        for (const Line& line : r.lines) {
            if (r.type == Sale) ++t.lines[line.tax];
            Counted& c = line.adjustment < 0 ? t.discounts : t.surcharges;
            if (line.adjustment != 0)
                ++c.count, c.sum += line.adjustment < 0 ? -line.adjustment : line.adjustment;
        }
        if (r.receiptAdjustment != 0) {
            Counted& c = r.receiptAdjustment < 0 ? t.discounts : t.surcharges;
            ++c.count;
            c.sum += r.receiptAdjustment < 0 ? -r.receiptAdjustment : r.receiptAdjustment;
        }
        Counted& op = operatorTotal(r.operatorNumber, r.type);
        ++op.count;
        op.sum += total;
    }
    for (int i = 0; i < 2; ++i) {
        const std::string footer = param("Footer", i);
        if (!footer.empty()) printed.push_back(layout_.center(footer));
    }
    print(printed);
    const int fd = nextFiscalDocument(now());
    const int slip = r.slip, document = r.document;
    state_.lastReceiptDoc = document;
    endReceipt(wire::document::kReceiptKinds[r.type], fd);
    out << slip << fd << fiscalSign(fd) << document << state_.shift;
}

void Register::CancelFiscalInv(const Args&, Reply& out) {
    requireFiscalReceipt();
    Receipt& r = state_.receipt;
    for (const Line& line : r.lines) {
        auto article = state_.articles.find(line.plu);
        if (line.plu == 0 || article == state_.articles.end()) continue;
        article->second.stock += line.quantity;
        article->second.sold -= line.quantity;
        article->second.turnover -= line.amount + line.adjustment;
    }
    const Money total = r.corrected ? receiptPaid() : receiptTotal();
    ++state_.totals.cancelled.count;
    state_.totals.cancelled.sum += total;
    Counted& op = operatorTotal(r.operatorNumber, 4);
    ++op.count;
    op.sum += total;
    print(Lines{layout_.center(dev("ЧЕК АННУЛИРОВАН"))});
    const int slip = r.slip;
    endReceipt('C', 0);
    out << slip;
}

// The open document goes to the journal and the printer is free.
void Register::endReceipt(char journalType, int fd) {
    Receipt& r = state_.receipt;
    JournalDoc doc;
    doc.number = r.document;
    doc.shift = state_.shift;
    doc.fd = fd;
    doc.type = journalType;
    doc.time = now();
    Lines closing{layout_.rule('-')};
    if (fd != 0)
        closing.push_back(layout_.pair(dev(wire::document::kFiscalNumberLabel) + " " +
                                           dev(wire::document::kNumberSign) + " " + str(fd),
                                       dev(wire::document::kSignMark) + str(fiscalSign(fd))));
    print(closing);
    doc.lines = r.printed;
    state_.journal.push_back(doc);
    state_.lastDocTime = doc.time;
    r = Receipt();
}

// --- Cash in and out ---------------------------------------------------------------

// Type "0" puts cash in, "1" takes it out; an amount of 0 only asks. The
// answer: cash in the drawer, cash put in and taken out in this shift.
void Register::ParishOrConsumption(const Args& in, Reply& out) {
    in.expect(2, 2);
    const char type = in.byte(0);
    if (type != '0' && type != '1') throw Refusal{err::kSyntax};
    const Money amount = in.amount(1);
    if (amount < 0) throw Refusal{err::kSyntax};
    ShiftTotals& t = state_.totals;
    if (amount > 0) {
        requireNoDocument();
        requireShiftOpen();
        if (type == '1' && amount > state_.cash) throw Refusal{err::kNoCash};
        Counted& c = type == '0' ? t.cashIn : t.cashOut;
        ++c.count;
        c.sum += amount;
        Counted& op = operatorTotal(0, type == '0' ? 5 : 6);
        ++op.count;
        op.sum += amount;
        state_.cash += type == '0' ? amount : -amount;
        Lines doc = documentHeader(dev(type == '0' ? "ВНЕСЕНИЕ" : "ВЫПЛАТА"));
        doc.push_back(layout_.pair(dev(wire::document::kCashSumLabel), money(amount)));
        doc.push_back(layout_.pair(dev("НАЛИЧНЫХ В КАССЕ"), money(state_.cash)));
        printDocument(type == '0' ? wire::document::kCashIn : wire::document::kCashOut, 0, doc);
    }
    out.amount(state_.cash).amount(t.cashIn.sum).amount(t.cashOut.sum);
}

// --- Service documents and printing --------------------------------------------

void Register::OpenServiceInv(const Args& in, Reply& out) {
    in.expect(0, 1);
    requireNoDocument();
    Lines doc = documentHeader(dev("НЕФИСКАЛЬНЫЙ ДОКУМЕНТ"));
    Receipt& r = state_.receipt;
    r = Receipt();
    r.state = Receipt::Service;
    r.slip = r.document = nextDocument();
    print(doc);
    out << r.slip;
}

void Register::PrintFreeTextInServiceInv(const Args& in, Reply&) {
    if (state_.receipt.state == Receipt::Fiscal) throw Refusal{err::kFiscalReceiptOpen};
    if (state_.receipt.state != Receipt::Service) throw Refusal{err::kReceiptClosed};
    print(Lines{formattedText(in)});
}

void Register::CloseServiceInv(const Args&, Reply& out) {
    if (state_.receipt.state == Receipt::Fiscal) throw Refusal{err::kFiscalReceiptOpen};
    if (state_.receipt.state != Receipt::Service) throw Refusal{err::kReceiptClosed};
    const int slip = state_.receipt.slip;
    endReceipt('N', 0);
    out << slip;
}

// Bar codes and stamps are printed as a placeholder line.
void Register::PrintBarCode(const Args& in, Reply&) {
    in.expect(2, 3);
    print(layout_.wrap(dev("[ШТРИХКОД ") + in.text(0) + ": " + in.text(1) + "]"));
}

void Register::PrintStamp(const Args& in, Reply&) {
    in.expect(2, 2);
    print(layout_.wrap(dev("[ШТАМП ") + in.text(0) + ": " + in.text(1) + "]"));
}

// Type "1" draws "=", "2" draws "*", any other "-".
void Register::PrintDivideLine(const Args& in, Reply&) {
    in.expect(1, 1);
    const char type = in.byte(0);
    print(Lines{layout_.rule(type == '1' ? '=' : type == '2' ? '*' : '-')});
}

void Register::FeedPaper(const Args& in, Reply&) {
    in.expect(1, 1);
    const long long count = in.integer(0);
    if (count < 0 || count > 100) throw Refusal{err::kWrongData};
    print(Lines(static_cast<size_t>(count), std::string()));
}

void Register::CutPaper(const Args&, Reply&) {
    print(Lines{layout_.center(dev("- - - отрез - - -"))});
}

void Register::PrintDublicateReceipt(const Args&, Reply&) {
    requireNoDocument();
    for (const JournalDoc& doc : state_.journal) {
        if (doc.number != state_.lastReceiptDoc) continue;
        Lines copy{layout_.center(dev("КОПИЯ"))};
        copy.insert(copy.end(), doc.lines.begin(), doc.lines.end());
        print(copy);
        return;
    }
    throw Refusal{err::kNoRecords};
}

}  // namespace sim
