// article add, get, list and delete: the register's article database.
#include "api/CorteliaVERDA.h"
#include "cli/Commands.h"
#include "cli/Format.h"
#include "cli/Text.h"

namespace cli {

namespace {

const int kNoArticle = 111004;  // the register's "no such article"
const int kLastPlu = 999999;

int readPlu(const std::string& text) {
    return toInt(text, 1, kLastPlu, "PLU");
}

void add(Session& session, const CommandLine& line) {
    line.expectOperands(4, 4);
    const auto& operands = line.operands();
    const int plu = readPlu(operands[1]);
    const std::string name = toText(operands[2], "name");
    const double price = toAmount(operands[3], 2, "price");
    const char tax = toByte(line.value("--tax", "1"), "--tax");
    const int department = toInt(line.value("--dept", "1"), 1, 99, "--dept");
    const int group = toInt(line.value("--group", "0"), 0, 9999, "--group");
    const double stock = toAmount(line.value("--stock", "0"), 3, "--stock");
    const std::string units = toText(line.value("--units", ""), "--units");
    const auto& codes = line.values("--barcode");
    if (codes.size() > 4) throw UsageError("at most four --barcode");
    std::string bars[4];
    for (size_t i = 0; i < codes.size(); ++i) bars[i] = toText(codes[i], "--barcode");
    session.connect();
    // Price type "0" is the register's fixed price; AddQty "0" sets the stock
    // rather than adding to it.
    session.check(
        VERDA::PrgAndReadArticleP(plu, tax, department, group, '0', price, '0', stock, bars[0],
                                  bars[1], bars[2], bars[3], name, units, "", "", "", 0, 0),
        "PrgAndReadArticleP");
    session.out() << "article " << plu << " written\n";
}

void get(Session& session, const CommandLine& line) {
    line.expectOperands(2, 2);
    const int plu = readPlu(line.operands()[1]);
    session.connect();
    char tax = 0, priceType = 0;
    int department = 0, group = 0, extra1 = 0, extra2 = 0;
    double price = 0, value1 = 0, value2 = 0, value3 = 0;
    std::string bars[4], name, units, id1c, weight, service;
    session.check(VERDA::PrgAndReadArticleR(plu, tax, department, group, priceType, price, value1,
                                            value2, value3, bars[0], bars[1], bars[2], bars[3],
                                            name, units, id1c, weight, service, extra1, extra2),
                  "PrgAndReadArticleR");
    std::string codes;
    for (const std::string& bar : bars)
        if (!bar.empty()) codes += (codes.empty() ? "" : " ") + fromCp866(bar);
    // The three values are the register's; on most registers the stock, the
    // quantity sold and the turnover of the shift.
    printPairs(session.out(),
               {{"PLU", std::to_string(plu)},
                {"name", fromOneWay(name)},
                {"price", money(price)},
                {"tax", fromCp866(std::string(1, tax))},
                {"department", std::to_string(department)},
                {"group", std::to_string(group)},
                {"values", quantity(value1) + " " + quantity(value2) + " " + money(value3)},
                {"bar codes", codes},
                {"units", fromOneWay(units)}});
}

void list(Session& session, const CommandLine& line) {
    line.expectOperands(1, 1);
    session.connect();
    std::vector<std::vector<std::string>> grid{{"PLU", "price", "tax", "dept", "stock", "name"}};
    // F finds the first article at or after a PLU, N the next one; the walk
    // ends with the register's "no such article". A PLU that does not grow
    // ends it too, whatever the register does.
    int plu = 1, previous = 0;
    session.longRun("reading the articles", [&] {
        for (bool first = true;; first = false) {
            char tax = 0, priceType = 0;
            int department = 0, group = 0;
            double price = 0, value1 = 0, value2 = 0, value3 = 0;
            std::string bars[4], name;
            const bool ok = first
                                ? VERDA::PrgAndReadArticleF(plu, tax, department, group, priceType,
                                                            price, value1, value2, value3, bars[0],
                                                            bars[1], bars[2], bars[3], name)
                                : VERDA::PrgAndReadArticleN(plu, tax, department, group, priceType,
                                                            price, value1, value2, value3, bars[0],
                                                            bars[1], bars[2], bars[3], name);
            if (!ok && VERDA::LastResultCode() == kNoArticle) break;
            session.check(ok, first ? "PrgAndReadArticleF" : "PrgAndReadArticleN");
            if (plu <= previous) break;
            previous = plu;
            grid.push_back({std::to_string(plu), money(price), fromCp866(std::string(1, tax)),
                            std::to_string(department), quantity(value1), fromCp866(name)});
        }
    });
    if (grid.size() == 1)
        session.out() << "no articles\n";
    else
        printGrid(session.out(), grid);
}

void remove(Session& session, const CommandLine& line) {
    line.expectOperands(2, 3);
    const auto& operands = line.operands();
    const int plu = readPlu(operands[1]);
    const int to = operands.size() == 3 ? readPlu(operands[2]) : plu;
    if (to < plu) throw UsageError("the range ends before it starts");
    session.connect();
    session.check(VERDA::PrgAndReadArticleD(plu, to), "PrgAndReadArticleD");
    if (to == plu)
        session.out() << "article " << plu << " deleted\n";
    else
        session.out() << "articles " << plu << " to " << to << " deleted\n";
}

void runArticle(Session& session, const CommandLine& line) {
    const std::string what = line.operands().empty() ? "" : line.operands()[0];
    if (what == "add") return add(session, line);
    if (what == "get") return get(session, line);
    if (what == "list") return list(session, line);
    if (what == "delete") return remove(session, line);
    throw UsageError(what.empty() ? "article add, get, list or delete?"
                                  : "unknown article command " + what);
}

}  // namespace

void addArticleCommands(std::vector<Command>& table) {
    table.push_back({"article",
                     "add, show, list or delete articles",
                     "Usage: verda ... article add PLU NAME PRICE [OPTIONS]\n"
                     "       verda ... article get PLU\n"
                     "       verda ... article list\n"
                     "       verda ... article delete PLU [TO_PLU]\n"
                     "Works on the register's article database; PLU is 1 to 999999.\n"
                     "add writes an article (a new one, or over the old one).\n"
                     "\n"
                     "Options of add:\n"
                     "  --tax CODE      tax code (default 1)\n"
                     "  --dept N        department (default 1)\n"
                     "  --group N       trading group (default 0)\n"
                     "  --stock QTY     quantity in stock (default 0)\n"
                     "  --barcode CODE  a bar code; up to four\n"
                     "  --units TEXT    unit of measure, such as шт or кг\n",
                     {},
                     {"--tax", "--dept", "--group", "--stock", "--barcode", "--units"},
                     runArticle});
}

}  // namespace cli
