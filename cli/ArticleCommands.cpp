// article add, get, list and delete: the register's article database.
#include "cli/Commands.h"
#include "cli/Format.h"

namespace cli {

namespace {

const int kNoArticle = 111004;  // the register's "no such article"
const int kLastPlu = 999999;

int readPlu(const std::string& text) {
    return toInt(text, 1, kLastPlu, "PLU");
}

struct ArticleArgs {
    std::vector<std::string> operands, barcodes;
    std::string tax = "1", dept = "1", group = "0", stock = "0", units;
};

void add(Session& session, const ArticleArgs& args) {
    expectOperands(args.operands, 4, 4);
    const auto& operands = args.operands;
    const int plu = readPlu(operands[1]);
    const std::string name = toText(operands[2], "name");
    const double price = toAmount(operands[3], 2, "price");
    const char tax = toByte(args.tax, "--tax");
    const int department = toInt(args.dept, 1, 99, "--dept");
    const int group = toInt(args.group, 0, 9999, "--group");
    const double stock = toAmount(args.stock, 3, "--stock");
    const std::string units = toText(args.units, "--units");
    const auto& codes = args.barcodes;
    if (codes.size() > 4) throw UsageError("at most four --barcode");
    std::string bars[4];
    for (size_t i = 0; i < codes.size(); ++i) bars[i] = toText(codes[i], "--barcode");
    verda_device* d = session.connect();
    // Price type "0" is the register's fixed price; AddQty "0" sets the stock
    // rather than adding to it.
    session.check(
        verda_PrgAndReadArticleP(d, plu, tax, department, group, '0', price, '0', stock,
                                 bars[0].c_str(), bars[1].c_str(), bars[2].c_str(), bars[3].c_str(),
                                 name.c_str(), units.c_str(), "", "", "", 0, 0),
        "PrgAndReadArticleP");
    session.out() << "article " << plu << " written\n";
}

void get(Session& session, const ArticleArgs& args) {
    expectOperands(args.operands, 2, 2);
    const int plu = readPlu(args.operands[1]);
    verda_device* d = session.connect();
    char tax = 0, priceType = 0;
    int department = 0, group = 0, extra1 = 0, extra2 = 0;
    double price = 0, value1 = 0, value2 = 0, value3 = 0;
    TextOut bars[4], name, units, id1c, weight, service;
    session.check(
        verda_PrgAndReadArticleR(d, plu, &tax, &department, &group, &priceType, &price, &value1,
                                 &value2, &value3, bars[0].data(), bars[0].size(), bars[1].data(),
                                 bars[1].size(), bars[2].data(), bars[2].size(), bars[3].data(),
                                 bars[3].size(), name.data(), name.size(), units.data(),
                                 units.size(), id1c.data(), id1c.size(), weight.data(),
                                 weight.size(), service.data(), service.size(), &extra1, &extra2),
        "PrgAndReadArticleR");
    std::string codes;
    for (const TextOut& bar : bars)
        if (!bar.text().empty()) codes += (codes.empty() ? "" : " ") + bar.shown();
    // The three values are the register's; on most registers the stock, the
    // quantity sold and the turnover of the shift.
    printPairs(session.out(),
               {{"PLU", std::to_string(plu)},
                {"name", name.shown()},
                {"price", money(price)},
                {"tax", shownByte(tax)},
                {"department", std::to_string(department)},
                {"group", std::to_string(group)},
                {"values", quantity(value1) + " " + quantity(value2) + " " + money(value3)},
                {"bar codes", codes},
                {"units", units.shown()}});
}

void list(Session& session, const ArticleArgs& args) {
    expectOperands(args.operands, 1, 1);
    verda_device* d = session.connect();
    std::vector<std::vector<std::string>> grid{{"PLU", "price", "tax", "dept", "stock", "name"}};
    // F finds the first article at or after a PLU, N the next one; the walk
    // ends with the register's "no such article". A PLU that does not grow
    // ends it too, whatever the register does.
    int plu = 1, previous = 0;
    // Written by every call, whatever its result.
    TextOut bars[4], name;
    session.longRun("reading the articles", [&] {
        for (bool first = true;; first = false) {
            char tax = 0, priceType = 0;
            int department = 0, group = 0;
            double price = 0, value1 = 0, value2 = 0, value3 = 0;
            const auto read = first ? verda_PrgAndReadArticleF : verda_PrgAndReadArticleN;
            const int code = read(d, &plu, &tax, &department, &group, &priceType, &price, &value1,
                                  &value2, &value3, bars[0].data(), bars[0].size(), bars[1].data(),
                                  bars[1].size(), bars[2].data(), bars[2].size(), bars[3].data(),
                                  bars[3].size(), name.data(), name.size());
            if (code == kNoArticle) break;
            session.check(code, first ? "PrgAndReadArticleF" : "PrgAndReadArticleN");
            if (plu <= previous) break;
            previous = plu;
            grid.push_back({std::to_string(plu), money(price), shownByte(tax),
                            std::to_string(department), quantity(value1), name.shown()});
        }
    });
    if (grid.size() == 1)
        session.out() << "no articles\n";
    else
        printGrid(session.out(), grid);
}

void remove(Session& session, const ArticleArgs& args) {
    expectOperands(args.operands, 2, 3);
    const auto& operands = args.operands;
    const int plu = readPlu(operands[1]);
    const int to = operands.size() == 3 ? readPlu(operands[2]) : plu;
    if (to < plu) throw UsageError("the range ends before it starts");
    verda_device* d = session.connect();
    session.check(verda_PrgAndReadArticleD(d, plu, to), "PrgAndReadArticleD");
    if (to == plu)
        session.out() << "article " << plu << " deleted\n";
    else
        session.out() << "articles " << plu << " to " << to << " deleted\n";
}

void runArticle(Session& session, const ArticleArgs& args) {
    const std::string what = args.operands.empty() ? "" : args.operands[0];
    if (what == "add") return add(session, args);
    if (what == "get") return get(session, args);
    if (what == "list") return list(session, args);
    if (what == "delete") return remove(session, args);
    throw UsageError(what.empty() ? "article add, get, list or delete?"
                                  : "unknown article command " + what);
}

}  // namespace

void addArticleCommands(Commands& commands) {
    auto article = std::make_shared<ArticleArgs>();
    CLI::App& command =
        commands.add("article", "add, show, list or delete articles",
                     "Usage: verda ... article add PLU NAME PRICE [OPTIONS]\n"
                     "       verda ... article get PLU\n"
                     "       verda ... article list\n"
                     "       verda ... article delete PLU [TO_PLU]\n"
                     "Works on the register's article database; PLU is 1 to 999999.\n"
                     "add writes an article (a new one, or over the old one); its options\n"
                     "are below.\n",
                     [article](Session& session) { runArticle(session, *article); });
    operands(command, article->operands);
    option(command, "--tax", article->tax, "CODE", "tax code (default 1)");
    option(command, "--dept", article->dept, "N", "department (default 1)");
    option(command, "--group", article->group, "N", "trading group (default 0)");
    option(command, "--stock", article->stock, "QTY", "quantity in stock (default 0)");
    repeatable(command, "--barcode", article->barcodes, "CODE", "a bar code; up to four");
    option(command, "--units", article->units, "TEXT", "unit of measure, such as шт or кг");
}

}  // namespace cli
