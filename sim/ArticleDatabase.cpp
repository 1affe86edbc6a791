// The article database of the simulated register: command 0x6B, one letter
// per action.
#include "sim/Register.h"

namespace sim {

namespace {
const int kCapacity = 10000;
const long long kLastPlu = 999999;
}  // namespace

void Register::ArticleDatabase(const Args& in, Reply& out) {
    if (in.size() == 0 || in.text(0).size() != 1) throw Refusal{err::kSyntax};
    const char letter = in.text(0)[0];
    std::map<int, sim::Article>& articles = state_.articles;
    if (letter == 'I') {
        in.expect(1, 1);
        out << static_cast<int>(articles.size()) << kCapacity
            << (articles.empty() ? 0 : articles.rbegin()->first);
        return;
    }
    if (letter == 'P') return writeArticle(in);
    if (letter == 'N' || letter == 'n') {
        in.expect(1, 1);
        const int plu = walkArticle(letter, state_.walk + 1);
        state_.walk = plu;
        return articleRecord(plu, articles[plu], false, out);
    }
    const long long plu = in.integer(1);
    auto found = articles.find(static_cast<int>(plu));
    switch (letter) {
        case 'A': {
            in.expect(3, 3);
            if (found == articles.end()) throw Refusal{err::kNoArticle};
            found->second.stock += in.quantity(2);
            return;
        }
        case 'D': {
            in.expect(2, 3);
            const long long to = in.size() == 3 ? in.integer(2) : plu;
            auto first = articles.lower_bound(static_cast<int>(plu));
            auto last = articles.upper_bound(static_cast<int>(to));
            if (to < plu || first == last) throw Refusal{err::kNoArticle};
            for (auto a = first; a != last; ++a)
                if (a->second.sold != 0 || a->second.turnover != 0)
                    throw Refusal{err::kArticleHasTurnover};
            articles.erase(first, last);
            return;
        }
        case 'R':
            in.expect(2, 2);
            if (found == articles.end()) throw Refusal{err::kNoArticle};
            return articleRecord(found->first, found->second, longArticleRecord(), out);
        case 'F':
        case 'f':
        case 'L':
        case 'l': {
            in.expect(2, 2);
            const int at = walkArticle(letter, static_cast<int>(plu));
            state_.walk = at;
            return articleRecord(at, articles[at], false, out);
        }
        case 'X':
        case 'x':
            in.expect(2, 2);
            if (found == articles.end()) throw Refusal{err::kNoArticle};
            out << (letter == 'X' ? found->second.stock : found->second.sold) / 1000;
            return;
    }
    throw Refusal{err::kSyntax};
}

// The walks: "F" the first article at or after PLU, "L" the last at or
// before it, "N" the next after the walk's position. The lower-case letters
// do the same over the articles sold in this shift only.
int Register::walkArticle(char letter, int from) const {
    const bool soldOnly = letter == 'f' || letter == 'l' || letter == 'n';
    const auto& articles = state_.articles;
    if (letter == 'L' || letter == 'l') {
        for (auto a = articles.upper_bound(from); a != articles.begin();) {
            --a;
            if (!soldOnly || a->second.sold != 0) return a->first;
        }
    } else {
        for (auto a = articles.lower_bound(from); a != articles.end(); ++a)
            if (!soldOnly || a->second.sold != 0) return a->first;
    }
    throw Refusal{err::kNoArticle};
}

// PLU, tax byte and price type (each after a blank, as the register has
// always written them), department, group, price, stock, sold, turnover, four
// bar codes and name; the long form adds units, 1C id, weight and service
// marks and the two extras.
void Register::articleRecord(int plu, const sim::Article& a, bool longForm, Reply& out) const {
    out << plu << " " + std::string(1, static_cast<char>(a.tax)) << a.department << a.group
        << " " + std::string(1, a.priceType);
    out.amount(a.price) << formatFixed(a.stock, 3) << formatFixed(a.sold, 3);
    out.amount(a.turnover);
    for (const std::string& bar : a.bar) out << bar;
    out << a.name;
    if (longForm) out << a.units << a.id1c << a.isWeight << a.service << a.extra1 << a.extra2;
}

// P: PLU, tax, department, group, price type, price, AddQty ("1" adds the
// quantity to the stock, anything else sets it), quantity, four bar codes,
// name; the long record (firmware above 944123) adds units, 1C id, weight and
// service marks and two extras (empty for 0).
void Register::writeArticle(const Args& in) {
    if (longArticleRecord())
        in.expect(20, 20);
    else
        in.expect(14, 14);
    const long long plu = in.integer(1);
    if (plu < 1 || plu > kLastPlu) throw Refusal{err::kWrongIndex};
    std::map<int, sim::Article>& articles = state_.articles;
    const bool exists = articles.count(static_cast<int>(plu)) != 0;
    if (!exists && static_cast<int>(articles.size()) >= kCapacity)
        throw Refusal{err::kArticleBaseFull};
    sim::Article a = exists ? articles[static_cast<int>(plu)] : sim::Article();
    a.tax = static_cast<unsigned char>(in.byte(2));
    taxGroup(static_cast<char>(a.tax));
    const long long dep = in.integer(3);
    if (dep < 1 || dep > kDepartments) throw Refusal{err::kDepartmentRange};
    a.department = static_cast<int>(dep);
    a.group = static_cast<int>(in.integer(4));
    a.priceType = in.byte(5);
    a.price = in.amount(6);
    if (a.price < 0) throw Refusal{err::kNegativePrice};
    const Milli quantity = in.quantity(8);
    a.stock = in.byte(7) == '1' ? a.stock + quantity : quantity;
    for (int i = 0; i < 4; ++i) {
        a.bar[i] = in.text(9 + i);
        if (a.bar[i].empty()) continue;
        for (const auto& other : articles)
            for (const std::string& bar : other.second.bar)
                if (other.first != plu && bar == a.bar[i])
                    throw Refusal{err::kArticleBarcodeExists};
    }
    a.name = in.text(13).substr(0, 32);
    if (longArticleRecord()) {
        a.units = in.text(14);
        a.id1c = in.text(15);
        a.isWeight = in.text(16);
        a.service = in.text(17);
        a.extra1 = in.has(18) ? in.integer(18) : 0;
        a.extra2 = in.has(19) ? in.integer(19) : 0;
    }
    articles[static_cast<int>(plu)] = a;
}

}  // namespace sim
