// The receipt flow of the programs (common/ReceiptFlow) on the simulated
// register through the C interface: each order ends closed, or cancelled
// with the refused step named, and the register's own figures agree; a link
// lost at any step leaves a receipt either not on the register or on it
// once, never twice.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "capi/verda.h"
#include "common/ReceiptFlow.h"
#include "sim/Errors.h"
#include "support/Sim.h"

namespace {

using receipt::Aftermath;
using receipt::Stage;

// A simulated register on TCP with an open shift, and handles to it.
class Register {
  public:
    explicit Register(std::vector<std::string> faults = {}) {
        std::vector<std::string> args{"--tcp", "0", "--paper", home.path() + "paper"};
        args.insert(args.end(), faults.begin(), faults.end());
        sim::Options options;
        std::string error;
        EXPECT_TRUE(sim::parseOptions(args, options, error)) << error;
        simulator.reset(new RunningSimulator(options));
    }
    ~Register() { verda_device_free(handle); }

    // A new handle on the register, its link open and initialised.
    verda_device* connect() {
        verda_device_free(handle);
        handle = verda_device_new();
        EXPECT_EQ(verda_set_timeout(handle, 500), VERDA_OK);
        EXPECT_EQ(verda_open_socket(handle, "127.0.0.1", simulator->port()), VERDA_OK);
        EXPECT_EQ(verda_PrinterInit(handle), VERDA_OK);
        return handle;
    }
    void openShift() {
        int document = 0, sign = 0, shift = 0;
        ASSERT_EQ(verda_OpenShift(connect(), 1, "1", 1, "", "", "", "", &document, &sign, &shift),
                  VERDA_OK);
    }
    // The shift's sales by the X report, all tax groups together.
    double sales() {
        int number = 0, document = 0, sign = 0;
        double s[24] = {0};
        EXPECT_EQ(verda_PrintReport(handle, 'X', &number, &document, &sign, &s[0], &s[1], &s[2],
                                    &s[3], &s[4], &s[5], &s[6], &s[7], &s[8], &s[9], &s[10], &s[11],
                                    &s[12], &s[13], &s[14], &s[15], &s[16], &s[17], &s[18], &s[19],
                                    &s[20], &s[21], &s[22], &s[23]),
                  VERDA_OK);
        return s[0] + s[1] + s[2] + s[3] + s[4] + s[5];
    }
    // The kind of document open on the register: '0' none, '1' a receipt.
    char openDocument() {
        char open = 0;
        int number = 0, items = 0;
        double amount = 0, paid = 0;
        EXPECT_EQ(verda_FiscalTransactionsStatus(handle, &open, &number, &items, &amount, &paid),
                  VERDA_OK);
        return open;
    }
    // The fiscal drive's last document.
    int lastDocument() {
        bool shiftOpen = false, over24h = false;
        int shift = 0, document = 0, unsent = 0, first = 0;
        char since[64];
        EXPECT_EQ(verda_GetOFDandFNStatus(handle, &shiftOpen, &over24h, &shift, &document, &unsent,
                                          &first, since, sizeof since),
                  VERDA_OK);
        return document;
    }

    TempDir home;
    std::unique_ptr<RunningSimulator> simulator;
    verda_device* handle = nullptr;
};

// What the flow told its observer, in order.
class Recorder : public receipt::Observer {
  public:
    void sending() override { events.push_back("sending"); }
    void step(Stage stage, int index, const receipt::Progress&) override {
        events.push_back("step " + std::to_string(static_cast<int>(stage)) + " " +
                         std::to_string(index));
    }
    void closing(const receipt::Progress&) override { events.push_back("closing"); }
    void called(const char* operation, int result) override {
        events.push_back(std::string(operation) + " " + std::to_string(result));
    }
    std::vector<std::string> events;
};

receipt::Line byName(const std::string& name, double price, double quantity = 1, char tax = '1') {
    receipt::Line line;
    line.name = name;
    line.price = price;
    line.quantity = quantity;
    line.tax = tax;
    return line;
}

receipt::Line byArticle(int code, double quantity) {
    receipt::Line line;
    line.article = code;
    line.quantity = quantity;
    return line;
}

const int kArticle = 7;  // 250.00, ten in stock

receipt::Order order(std::vector<receipt::Line> lines, std::vector<receipt::Payment> payments,
                     receipt::Adjustment adjustment = {}, std::vector<std::string> text = {}) {
    receipt::Order o;
    o.lines = std::move(lines);
    o.payments = std::move(payments);
    o.adjustment = adjustment;
    for (std::string& line : text) o.text.push_back({std::move(line), 0});
    return o;
}

// Orders as a till sends them, each ended one way or the other; whatever
// the ends, the register holds no open receipt after each, and its sales
// are the totals of the receipts that closed.
TEST(ReceiptFlow, EachOrderClosesOrIsCancelledAndTheRegisterAgrees) {
    std::signal(SIGPIPE, SIG_IGN);
    Register r;
    r.openShift();
    ASSERT_EQ(verda_PrgAndReadArticleP(r.handle, kArticle, '1', 1, 1, '0', 250, '0', 10, "", "", "",
                                       "", "Кофе", "", "", "", "", 0, 0),
              VERDA_OK);
    const receipt::Payment cashDue{0, 0};
    const struct {
        const char* what;
        receipt::Order order;
        std::vector<double> paid;  // each payment as taken
        double change;             // -1 for none
    } closing[] = {
        {"two lines, 10% off, card and cash with change",
         order({byName("Хлеб ржаной", 45.50, 2), byName("Молоко", 89.90, 1, '2')},
               {{1, 100}, {0, 100}}, {'1', 10}),
         {100, 100},
         37.19},
        {"an article of the register and a line by name, paid in cash of what is due",
         order({byArticle(kArticle, 2), byName("Ёлка", 10)}, {}, {}, {"Спасибо за покупку"}),
         {510},
         -1},
        {"20 off, by card, then what is still due in cash",
         order({byName("Чай", 120)}, {{1, 50}, cashDue}, {'2', 20}),
         {50, 50},
         -1},
    };
    const struct {
        const char* what;
        receipt::Order order;
        Stage stage;
        int index, code;  // code 0: the payments fall short
    } failing[] = {
        {"payments that fall short", order({byName("Чай", 120)}, {{1, 10}}), Stage::Payment, 0, 0},
        {"an article the register does not hold",
         order({byName("Чай", 120), byArticle(999, 1)}, {}), Stage::Line, 1, sim::err::kNoArticle},
        {"more by card than is due", order({byName("Чай", 120)}, {{0, 20}, {1, 500}}),
         Stage::Payment, 1, sim::err::kOverpaid},
        {"a name the register cannot print", order({byName("Кофе €", 120)}, {}), Stage::Line, 0,
         VERDA_NOT_IN_CODE_PAGE},
    };
    auto sell = [&r](const receipt::Order& o, Recorder& recorder) {
        const receipt::Outcome out = receipt::sell(r.handle, o, recorder);
        EXPECT_EQ(recorder.events.front(), "sending");
        EXPECT_EQ(r.openDocument(), '0');
        return out;
    };
    double closedTotals = 0;
    for (const auto& c : closing) {
        SCOPED_TRACE(c.what);
        Recorder recorder;
        const receipt::Outcome out = sell(c.order, recorder);
        ASSERT_TRUE(out.closed) << out.failure.operation << " " << out.failure.code;
        EXPECT_EQ(out.progress.paid, c.paid);
        EXPECT_EQ(out.progress.changeGiven, c.change >= 0);
        EXPECT_DOUBLE_EQ(out.progress.change, std::max(c.change, 0.0));
        EXPECT_DOUBLE_EQ(out.progress.due, 0);
        EXPECT_NE(out.receipt.fiscalDocument, 0);
        EXPECT_FALSE(out.receipt.sign.empty());
        const auto& e = recorder.events;
        EXPECT_EQ(e[e.size() - 2], "closing");
        EXPECT_EQ(e.back(), "CloseFiscalInv 0");
        closedTotals += out.progress.total;
    }
    for (const auto& c : failing) {
        SCOPED_TRACE(c.what);
        Recorder recorder;
        const receipt::Outcome out = sell(c.order, recorder);
        ASSERT_FALSE(out.closed);
        const receipt::Failure& f = out.failure;
        EXPECT_EQ(f.stage, c.stage);
        EXPECT_EQ(f.index, c.index);
        EXPECT_EQ(f.code, c.code);
        EXPECT_EQ(f.unpaid, c.code == 0);
        EXPECT_FALSE(f.linkLost());
        EXPECT_EQ(f.aftermath, Aftermath::Cancelled);
        EXPECT_EQ(recorder.events.back(), "CancelFiscalInv 0");
        EXPECT_EQ(std::count(recorder.events.begin(), recorder.events.end(), "closing"), 0);
    }
    EXPECT_DOUBLE_EQ(r.sales(), closedTotals);
}

// What follows the sale lines on the paper of a 48-column register: a bar
// code, a short line and a line of 48 characters, printed whole (a free text
// line of the register is cut at 32).
TEST(ReceiptFlow, TextAndBarCodesArePrintedWhole) {
    std::signal(SIGPIPE, SIG_IGN);
    Register r({"--model", "ЛАРН-1000 Ф"});
    r.openShift();
    const std::string wide = "Спасибо за покупку! Ждем вас снова, 8-800-000-00";  // 48
    receipt::Order o = order({byName("Хлеб", 45.50)}, {}, {}, {"Коротко", wide});
    o.text.insert(o.text.begin() + 1, receipt::TextLine{"4600000000019", '2'});
    Recorder recorder;
    const receipt::Outcome out = receipt::sell(r.handle, o, recorder);
    ASSERT_TRUE(out.closed) << out.failure.operation << " " << out.failure.code;
    const auto& e = recorder.events;
    for (const char* call : {"PrintFreeTextInFiscalInv 0", "PrintBarCode 0", "SetFiscalInvParam 0"})
        EXPECT_EQ(std::count(e.begin(), e.end(), call), 1) << call;
    std::ifstream in(r.home.path() + "paper");
    const std::string paper{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    for (const std::string& printed : {std::string("Коротко"), std::string("4600000000019"), wide})
        EXPECT_NE(paper.find(printed), std::string::npos) << printed << "\n" << paper;
}

// A correction books its sums without lines: closed, it is a fiscal document
// of its own whose cash reaches the drawer; refused, it is cancelled.
TEST(ReceiptFlow, ACorrectionClosesOrIsCancelled) {
    std::signal(SIGPIPE, SIG_IGN);
    Register r;
    r.openShift();
    const int before = r.lastDocument();
    receipt::Correction c;
    c.type = VERDA_CORRECTION_SALE;
    c.amount = 120;
    c.sums[0] = 100;
    c.sums[1] = 20;
    Recorder recorder;
    const receipt::Outcome out = receipt::correct(r.handle, c, recorder);
    ASSERT_TRUE(out.closed) << out.failure.operation << " " << out.failure.code;
    EXPECT_DOUBLE_EQ(out.progress.total, 120);
    EXPECT_EQ(out.receipt.fiscalDocument, before + 1);
    EXPECT_EQ(recorder.events, (std::vector<std::string>{"sending", "OpenFiscalInv 0", "step 0 -1",
                                                         "TotalCorrecion 0", "step 4 0", "closing",
                                                         "CloseFiscalInv 0"}));
    double cash = 0, in = 0, out2 = 0;
    ASSERT_EQ(verda_ParishOrConsumption(r.handle, VERDA_CASH_IN, 0, &cash, &in, &out2), VERDA_OK);
    EXPECT_DOUBLE_EQ(cash, 120);

    receipt::Correction refused = c;
    refused.mode = 9;  // no such payment mode
    Recorder second;
    const receipt::Outcome no = receipt::correct(r.handle, refused, second);
    ASSERT_FALSE(no.closed);
    EXPECT_EQ(no.failure.stage, Stage::Payment);
    EXPECT_EQ(no.failure.operation, "TotalCorrecion");
    EXPECT_EQ(no.failure.aftermath, Aftermath::Cancelled);
    EXPECT_EQ(r.openDocument(), '0');
    EXPECT_EQ(r.lastDocument(), before + 1);
}

// The register hangs up just after it has carried out one command of the
// receipt, at each step in turn. Afterwards the receipt is on the register
// exactly when the link was lost while closing, and then once: its last
// fiscal document is one past what it was, and its sales are the receipt's.
TEST(ReceiptFlow, ALostLinkLeavesTheReceiptOnTheRegisterOnceOrNotAtAll) {
    std::signal(SIGPIPE, SIG_IGN);
    const struct {
        const char* hangUpAfter;  // the shift's own opening is OpenFiscalInv 1
        Stage stage;
        int index;
    } cases[] = {
        {"OpenFiscalInv:2", Stage::Open, -1}, {"RegisterSale:1", Stage::Line, 0},
        {"RegisterSale:2", Stage::Line, 1},   {"Subtotal", Stage::Subtotal, -1},
        {"Total:1", Stage::Payment, 0},       {"Total:2", Stage::Payment, 1},
        {"CloseFiscalInv", Stage::Close, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hangUpAfter);
        Register r({"--hang-up-after", c.hangUpAfter});
        r.openShift();
        const int before = r.lastDocument();
        receipt::Order order;
        order.lines = {byName("Хлеб", 45.50), byName("Молоко", 89.90)};
        order.payments = {{1, 100}, {0, 0}};
        Recorder recorder;
        const receipt::Outcome out = receipt::sell(r.handle, order, recorder);
        ASSERT_FALSE(out.closed);
        const receipt::Failure& f = out.failure;
        EXPECT_TRUE(f.linkLost());
        EXPECT_EQ(f.stage, c.stage);
        EXPECT_EQ(f.index, c.index);
        const bool atClose = c.stage == Stage::Close;
        EXPECT_EQ(f.aftermath, atClose ? Aftermath::Unknown : Aftermath::MaybeOpen);
        // Nothing was tried after the lost link.
        EXPECT_EQ(recorder.events.back(),
                  f.operation + " " + std::to_string(VERDA_EXCHANGE_FAILED));

        // The register, asked again: a receipt left open is cancelled.
        r.connect();
        if (r.openDocument() == '1') {
            int slip = 0;
            EXPECT_EQ(verda_CancelFiscalInv(r.handle, &slip), VERDA_OK);
        }
        EXPECT_EQ(r.openDocument(), '0');
        EXPECT_EQ(r.lastDocument(), before + (atClose ? 1 : 0));
        EXPECT_DOUBLE_EQ(r.sales(), atClose ? 135.40 : 0);
    }
}

}  // namespace
