#include "common/ReceiptFlow.h"

#include <algorithm>
#include <cmath>

#include "wire/RegisterText.h"

namespace receipt {

namespace {

const size_t kFreeTextColumns = 32;

// Amounts as the register keeps them, in kopecks.
double kopecks(double value) {
    return std::round(value * 100) / 100;
}

class Sale {
  public:
    Sale(verda_device* device, const Order& order, Observer& observer)
        : d_(device), order_(order), observer_(observer), p_(out_.progress) {}

    Outcome run() {
        if (!open(order_.type, order_.cashier, order_.buyer, order_.taxSystem)) return out_;
        for (size_t i = 0; i < order_.lines.size(); ++i) {
            if (!sellLine(static_cast<int>(i))) return out_;
            observer_.step(Stage::Line, static_cast<int>(i), p_);
        }
        for (size_t i = 0; i < order_.text.size(); ++i) {
            if (!printText(static_cast<int>(i))) return out_;
            observer_.step(Stage::Text, static_cast<int>(i), p_);
        }
        double taxes[6] = {0};
        const Adjustment& a = order_.adjustment;
        if (!ok(Stage::Subtotal, -1, "Subtotal",
                verda_Subtotal(d_, '1', '0', a.kind, a.value, &p_.slip, &p_.total, &taxes[0],
                               &taxes[1], &taxes[2], &taxes[3], &taxes[4], &taxes[5])))
            return out_;
        p_.due = p_.total;
        observer_.step(Stage::Subtotal, -1, p_);
        std::vector<Payment> payments = order_.payments;
        if (payments.empty()) payments.push_back(Payment());
        char status = ' ';
        for (size_t i = 0; i < payments.size(); ++i) {
            if (!pay(static_cast<int>(i), payments[i], status)) return out_;
            observer_.step(Stage::Payment, static_cast<int>(i), p_);
        }
        if (status == VERDA_PAID_SHORT) {
            out_.failure.unpaid = true;
            fail(Stage::Payment, static_cast<int>(payments.size()) - 1, "Total", 0);
            return out_;
        }
        return close();
    }

    Outcome runCorrection(const Correction& c) {
        if (!open(c.type, c.cashier, c.buyer, c.taxSystem)) return out_;
        const double* s = c.sums;
        if (!ok(Stage::Payment, 0, "TotalCorrecion",
                verda_TotalCorrecion(d_, c.mode, c.amount, s[0], s[1], s[2], s[3], s[4], s[5])))
            return out_;
        // The register takes the amount as the receipt's whole: paid exactly.
        p_.total = c.amount;
        p_.paid.push_back(c.amount);
        observer_.step(Stage::Payment, 0, p_);
        return close();
    }

  private:
    bool open(int type, const Cashier& c, const std::string& buyer, const std::string& taxSystem) {
        observer_.sending();
        if (!ok(Stage::Open, -1, "OpenFiscalInv",
                verda_OpenFiscalInv(d_, c.number, c.password.c_str(), c.till, type, buyer.c_str(),
                                    taxSystem.c_str(), c.name.c_str(), c.inn.c_str(), &p_.slip,
                                    &document_, &shift_)))
            return false;
        observer_.step(Stage::Open, -1, p_);
        return true;
    }

    bool printText(int index) {
        const TextLine& line = order_.text[static_cast<size_t>(index)];
        if (line.barcode != 0)
            return ok(Stage::Text, index, "PrintBarCode",
                      verda_PrintBarCode(d_, line.barcode, line.text.c_str(), 0));
        // The register's free text line holds 32 characters on most models
        // (the library cuts it there); a longer line goes as a text attached
        // to the receipt, which the register prints across its paper.
        if (wire::text::characters(line.text) > kFreeTextColumns)
            return ok(Stage::Text, index, "SetFiscalInvParam",
                      verda_SetFiscalInvParam(d_, VERDA_PARAMETER_TEXT, line.text.c_str()));
        return ok(
            Stage::Text, index, "PrintFreeTextInFiscalInv",
            verda_PrintFreeTextInFiscalInv(d_, line.text.c_str(), '0', '0', '0', '0', '0', '0'));
    }

    bool sellLine(int index) {
        const Line& line = order_.lines[static_cast<size_t>(index)];
        const Adjustment& a = line.adjustment;
        int at = 0;
        if (line.article != 0)
            return ok(
                Stage::Line, index, "RegisterArticleSale",
                verda_RegisterArticleSale(d_, line.article, line.quantity, a.kind, a.value, &at));
        return ok(Stage::Line, index, "RegisterSale",
                  verda_RegisterSale(d_, line.name.c_str(), line.tax, line.price, line.quantity,
                                     line.unit, line.department, a.kind, a.value, 0.0, 0.0,
                                     line.subject, line.method, &at));
    }

    bool pay(int index, const Payment& payment, char& status) {
        const double amount = payment.amount != 0 ? payment.amount : p_.due;
        double left = 0;
        status = ' ';
        if (!ok(Stage::Payment, index, "Total",
                verda_Total(d_, payment.mode, amount, '1', &status, &left, &p_.slip)))
            return false;
        p_.paid.push_back(amount);
        p_.changeGiven = status == VERDA_PAID_WITH_CHANGE;
        p_.change = p_.changeGiven ? left : 0;
        if (status == VERDA_PAID_SHORT)
            p_.due = left;
        else if (status == VERDA_PAID_WITH_CHANGE || status == VERDA_PAID_EXACTLY)
            p_.due = 0;
        else  // an answer of no known meaning: what was due, less the payment
            p_.due = std::max(0.0, kopecks(p_.due - amount));
        return true;
    }

    Outcome close() {
        observer_.closing(p_);
        std::vector<char> sign(VERDA_TEXT_MAX, '\0');
        Closed& closed = out_.receipt;
        if (!ok(Stage::Close, -1, "CloseFiscalInv",
                verda_CloseFiscalInv(d_, &p_.slip, &closed.fiscalDocument, sign.data(), sign.size(),
                                     &document_, &shift_)))
            return out_;
        out_.closed = true;
        closed.slip = p_.slip;
        closed.sign = sign.data();
        closed.document = document_;
        closed.shift = shift_;
        return out_;
    }

    // Whether a step's command succeeded; after a failure the receipt is
    // left as Failure says.
    bool ok(Stage stage, int index, const char* operation, int result) {
        observer_.called(operation, result);
        if (result == VERDA_OK) return true;
        fail(stage, index, operation, result);
        return false;
    }

    void fail(Stage stage, int index, const char* operation, int code) {
        Failure& f = out_.failure;
        f.stage = stage;
        f.index = index;
        f.operation = operation;
        f.code = code;
        if (f.linkLost())
            f.aftermath = stage == Stage::Close ? Aftermath::Unknown : Aftermath::MaybeOpen;
        else if (stage == Stage::Open)
            f.aftermath = Aftermath::NotOpened;
        else
            cancel(f);
    }

    void cancel(Failure& f) {
        const int result = verda_CancelFiscalInv(d_, &f.cancelledSlip);
        observer_.called("CancelFiscalInv", result);
        f.aftermath = result == VERDA_OK ? Aftermath::Cancelled : Aftermath::NotCancelled;
    }

    verda_device* d_;
    const Order& order_;
    Observer& observer_;
    Outcome out_;
    Progress& p_;
    int document_ = 0, shift_ = 0;
};

}  // namespace

Outcome sell(verda_device* device, const Order& order, Observer& observer) {
    return Sale(device, order, observer).run();
}

Outcome sell(verda_device* device, const Order& order) {
    Observer none;
    return sell(device, order, none);
}

Outcome correct(verda_device* device, const Correction& correction, Observer& observer) {
    const Order none;
    return Sale(device, none, observer).runCorrection(correction);
}

}  // namespace receipt
