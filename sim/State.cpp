#include "sim/State.h"

#include <sstream>

namespace sim {

State::State() {
    // Operator N starts with the password N.
    for (int i = 1; i <= kOperators; ++i) operatorPasswords[i] = str(i);
}

namespace {

const char kMagic[] = "verda-sim-state-1";

// The older text form: whitespace-separated tokens in the order of visit()
// below, strings as "x" and their bytes in hexadecimal.
class Reader {
  public:
    explicit Reader(const std::string& text) : in_(text) {}
    void io(long long& v) {
        if (!(in_ >> v)) ok_ = false;
    }
    void io(int& v) {
        long long wide = 0;
        io(wide);
        v = static_cast<int>(wide);
    }
    void io(bool& v) {
        long long wide = 0;
        io(wide);
        v = wide != 0;
    }
    void io(char& v) {
        long long wide = 0;
        io(wide);
        v = static_cast<char>(wide);
    }
    void io(std::string& v) {
        std::string token;
        if (!(in_ >> token) || token.empty() || token[0] != 'x' || token.size() % 2 != 1) {
            ok_ = false;
            return;
        }
        v.clear();
        for (std::string::size_type i = 1; i < token.size(); i += 2) {
            const int high = digit(token[i]), low = digit(token[i + 1]);
            if (high < 0 || low < 0) ok_ = false;
            v += static_cast<char>(high * 16 + low);
        }
    }
    template <class T>
    void io(std::vector<T>& items) {
        items.clear();
        for (long long n = count(); n > 0 && ok_; --n) {
            items.emplace_back();
            visit(*this, items.back());
        }
    }
    template <class K, class V>
    void io(std::map<K, V>& items) {
        items.clear();
        for (long long n = count(); n > 0 && ok_; --n) {
            K key = K();
            io(key);
            visit(*this, items[key]);
        }
    }
    bool ok() const { return ok_; }

  private:
    static int digit(char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        return -1;
    }
    long long count() {
        long long n = 0;
        io(n);
        if (n < 0 || n > 100000000) ok_ = false;
        return ok_ ? n : 0;
    }
    std::istringstream in_;
    bool ok_ = true;
};

template <class A, class T, int N>
void array(A& a, T (&items)[N]) {
    for (T& item : items) a.io(item);
}

// Each record in the order the text form holds it.
template <class A>
void visit(A& a, long long& v) {
    a.io(v);
}
template <class A>
void visit(A& a, std::string& v) {
    a.io(v);
}
template <class A>
void visit(A& a, Counted& c) {
    a.io(c.count);
    a.io(c.sum);
}
template <class A>
void visit(A& a, std::vector<Counted>& items) {
    a.io(items);
}
template <class A>
void visit(A& a, Line& l) {
    a.io(l.name), a.io(l.tax), a.io(l.department), a.io(l.plu), a.io(l.price);
    a.io(l.quantity), a.io(l.amount), a.io(l.adjustment);
}
template <class A>
void visit(A& a, Receipt& r) {
    int state = r.state;
    a.io(state);
    r.state = static_cast<Receipt::State>(state);
    a.io(r.type), a.io(r.operatorNumber), a.io(r.slip), a.io(r.document);
    a.io(r.lines), a.io(r.receiptAdjustment);
    array(a, r.payments);
    array(a, r.correctionTax);
    a.io(r.corrected), a.io(r.printed);
}
template <class A>
void visit(A& a, ShiftTotals& t) {
    for (auto& row : t.byTax) array(a, row);
    for (auto& row : t.byPayment) array(a, row);
    for (Counted& c : t.receipts) visit(a, c);
    for (Counted* c :
         {&t.cancelled, &t.discounts, &t.surcharges, &t.corrections, &t.cashIn, &t.cashOut})
        visit(a, *c);
    a.io(t.byOperator);
    array(a, t.lines);
}
template <class A>
void visit(A& a, Article& r) {
    a.io(r.tax), a.io(r.department), a.io(r.group), a.io(r.priceType), a.io(r.price);
    a.io(r.stock), a.io(r.sold), a.io(r.turnover);
    array(a, r.bar);
    a.io(r.name), a.io(r.units), a.io(r.id1c), a.io(r.isWeight), a.io(r.service);
    a.io(r.extra1), a.io(r.extra2);
}
template <class A>
void visit(A& a, FiscalRecord& r) {
    a.io(r.type), a.io(r.number), a.io(r.time);
    array(a, r.sums);
    array(a, r.returns);
}
template <class A>
void visit(A& a, JournalDoc& d) {
    a.io(d.number), a.io(d.shift), a.io(d.fd), a.io(d.type), a.io(d.time), a.io(d.lines);
}
template <class A>
void visit(A& a, Unsent& u) {
    a.io(u.fd), a.io(u.time);
}
template <class A>
void visit(A& a, State& s) {
    a.io(s.serial), a.io(s.taxNumber), a.io(s.regNumber), a.io(s.fiscalized);
    a.io(s.clockOffset), a.io(s.lastDocTime);
    a.io(s.documents), a.io(s.fds), a.io(s.shift), a.io(s.shiftOpen), a.io(s.shiftOpenedAt);
    a.io(s.receiptsInShift), a.io(s.xReports), a.io(s.cash);
    array(a, s.grand);
    visit(a, s.totals);
    visit(a, s.receipt);
    a.io(s.lastReceiptDoc);
    array(a, s.taxRates);
    a.io(s.taxPoint), a.io(s.rateChangesLeft), a.io(s.ratesSetInZ), a.io(s.ratesSetAt);
    array(a, s.operatorPasswords);
    a.io(s.params), a.io(s.serviceParams), a.io(s.articles), a.io(s.walk);
    a.io(s.fiscalMemory), a.io(s.journal), a.io(s.unsent);
    a.io(s.journalDoc), a.io(s.journalLine);
}

}  // namespace

bool parseTextForm(const std::string& text, State& state) {
    const std::string magic = std::string(kMagic) + "\n";
    if (text.compare(0, magic.size(), magic) != 0) return false;
    Reader reader(text.substr(magic.size()));
    State loaded;
    visit(reader, loaded);
    if (!reader.ok()) return false;
    state = loaded;
    return true;
}

}  // namespace sim
