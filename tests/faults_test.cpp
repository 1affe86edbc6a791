// A hostile or failing line: the driver ends every call within its limits,
// repeats a frame only as often as it must, and a simulated register on a
// bad line still counts every sale once.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/Sim.h"

using testing_device::Answer;
using testing_device::replyFrame;
using testing_device::Request;

namespace {

// A host program ignores SIGPIPE, as one that talks TCP must.
class IgnoreSigpipe : public ::testing::Environment {
  public:
    void SetUp() override { signal(SIGPIPE, SIG_IGN); }
};
const auto* const kIgnoreSigpipe = ::testing::AddGlobalTestEnvironment(new IgnoreSigpipe);

size_t count(const std::vector<std::string>& lines, const std::string& line) {
    return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
}

using Bad = std::function<Answer(const Request&)>;

Answer bytes(const std::string& text) {
    return Answer{{text, 0}};
}
Bad framed(const std::function<std::string(std::string)>& spoil,
           const std::function<std::string(const Request&)>& frame = {}) {
    return [spoil, frame](const Request& r) {
        return bytes(spoil(frame ? frame(r) : replyFrame(r.seq, r.command, "0\t")));
    };
}
const Bad kSilence = [](const Request&) { return Answer{}; };
const Bad kNak = [](const Request&) { return bytes("\x16\x15"); };

// Line noise without a preamble or a NAK, and with every other kind of byte.
std::string noise() {
    std::string text;
    for (int i = 0; i < 200; ++i) text += static_cast<char>(i * 37 % 256);
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == 1 || c == 0x15; }),
               text.end());
    return text;
}

class LineFaults : public DriverTest {};

// Each row answers the first requests as it says and every later one well:
// the call's result, the requests it cost (each a copy of the first), the
// NACK and REPEAT lines it logged and the repeats it printed.
TEST_P(LineFaults, EveryCallEndsWithinItsLimits) {
    const std::string synFlood(50, '\x16');
    const struct {
        const char* name;
        std::vector<Bad> answers;
        int result;
        size_t requests, naks;
        bool slow;  // waits out reads: over TCP only, where they are short
    } rows[] = {
        {"NAK", {kNak}, 0, 2, 1, false},
        {"NAK storm", std::vector<Bad>(5, [](const Request&) { return bytes("\x15\x15\x15"); }),
         100001, 5, 5, false},
        {"wrong sequence",
         {framed([](std::string f) { return f; },
                 [](const Request& r) { return replyFrame(r.seq + 1, r.command, "0\t"); })},
         0,
         2,
         0,
         false},
        {"wrong command",
         {framed([](std::string f) { return f; },
                 [](const Request& r) { return replyFrame(r.seq, r.command + 1, "0\t"); })},
         0,
         2,
         0,
         false},
        {"wrong checksum",
         {framed([](std::string f) {
             f[f.size() - 2] ^= 1;
             return f;
         })},
         0,
         2,
         0,
         false},
        {"checksum with other high bits",
         {framed([](std::string f) {
             f[f.size() - 2] = static_cast<char>((f[f.size() - 2] & 0x0F) | 0x40);
             return f;
         })},
         0,
         2,
         0,
         false},
        {"noise before the reply",
         {framed([](std::string f) { return noise() + f; })},
         0,
         1,
         0,
         false},
        {"noise, then the reply in a piece of its own",
         {[](const Request& r) {
             return Answer{{noise(), 0}, {replyFrame(r.seq, r.command, "0\t"), 30}};
         }},
         0,
         1,
         0,
         false},
        {"SYN flood, then the reply",
         {[&synFlood](const Request& r) {
             Answer answer(40, {synFlood, 5});
             answer.push_back({replyFrame(r.seq, r.command, "0\t"), 5});
             return answer;
         }},
         0,
         1,
         0,
         false},
        {"lone NAK byte, not examined",
         {[](const Request&) { return bytes("\x15"); }},
         0,
         2,
         0,
         true},
        {"length below the bias, which never completes",
         {framed([](std::string f) { return f.replace(1, 4, "\x30\x30\x31\x3F"); })},
         0,
         2,
         0,
         true},
        {"a full buffer",  // a frame that claims 65535 bytes
         {[](const Request&) { return bytes("\x01\x3F\x3F\x3F\x3F" + std::string(110000, 'x')); }},
         0,
         2,
         0,
         true},
        {"silent four times", std::vector<Bad>(4, kSilence), 0, 5, 0, true},
        {"silent", std::vector<Bad>(5, kSilence), 100001, 5, 0, true},
    };
    for (const auto& row : rows) {
        if (row.slow && GetParam() == testing_device::ScriptedDevice::Pty) continue;
        SCOPED_TRACE(row.name);
        const size_t before = device->requests().size(), logged = log().size();
        for (const Bad& answer : row.answers) device->then(answer);
        device->replyAlways("0\tgood\t");
        const std::string out =
            captureStdout([&] { EXPECT_EQ(VERDA::CheckConnection(), row.result == 0); });
        EXPECT_EQ(g_ResultCode, row.result);
        const auto requests = device->requests();
        ASSERT_EQ(requests.size(), before + row.requests);
        for (size_t i = before + 1; i < requests.size(); ++i)
            EXPECT_EQ(requests[i].raw, requests[before].raw);  // a repeat keeps its sequence
        std::string repeats;
        for (size_t i = 1; i < row.requests; ++i) repeats += "REPEAT SEND!\n";
        EXPECT_EQ(out, repeats);
        const auto lines = log();
        const std::vector<std::string> added(lines.begin() + static_cast<long>(logged),
                                             lines.end());
        EXPECT_EQ(count(added, "NACK"), row.naks);
        EXPECT_EQ(count(added, "REPEAT"), row.requests - 1);
        EXPECT_EQ(added.back(),
                  row.result == 0 ? "CheckConnection();" : "CheckConnection(); ErrorCode: 100001");
    }
}

TEST_P(LineFaults, PeerThatHangsUpEndsTheCallWithFailure) {
    device->replyAlways("0\t");
    EXPECT_TRUE(VERDA::CheckConnection());
    device->hangUp();
    captureStdout([] { EXPECT_FALSE(VERDA::CheckConnection()); });
    EXPECT_EQ(g_ResultCode, 100001);
    EXPECT_EQ(log().back(), "CheckConnection(); ErrorCode: 100001");
}

VERDA_BOTH_TRANSPORTS(LineFaults);

// A receipt on a failing line: a register that stops answering half-way, and
// one whose answer comes only after the driver has sent again.
class BrokenReceipt : public DriverTest {
  protected:
    void next(const std::string& data) {
        device->then([data](const Request& r) { return testing_device::reply(r, data); });
    }
    static bool sale(int& slip) {
        return VERDA::RegisterSale("Bread", '1', 45.5, 1.0, 0, 1, '0', 0.0, 0.0, 45.5, 0, 0, slip);
    }
};

TEST_P(BrokenReceipt, RegisterThatStopsAnsweringFailsTheSaleAndTheReceiptGoesOn) {
    next("0\t12\t3\t4\t");
    next("0\t1\t");
    for (int i = 0; i < 5; ++i) device->then(kSilence);
    next("0\t12\t");
    int slip = 0, doc = 0, shift = 0;
    ASSERT_TRUE(VERDA::OpenFiscalInv(1, "0000", 1, 0, "", "", "", "", slip, doc, shift));
    ASSERT_TRUE(sale(slip));
    EXPECT_EQ(slip, 1);

    slip = 99;
    captureStdout([&] { EXPECT_FALSE(sale(slip)); });
    EXPECT_EQ(g_ResultCode, 100001);
    EXPECT_EQ(slip, 0);  // cleared before the exchange, and nothing came
    const auto lines = log();
    EXPECT_EQ(std::vector<std::string>(lines.end() - 6, lines.end()),
              (std::vector<std::string>{
                  "Start RegisterSale();", "REPEAT", "REPEAT", "REPEAT", "REPEAT",
                  "RegisterSale(PluName=\"Bread\",TaxCd='1',Price=45.50,Quantity=1.000,Unit=0,"
                  "Department=1,DiscountType='0',DiscountValue=0.00,DiscSum=0.00,Sum=45.50,Sign=0,"
                  "SignPay=0,SlipNumber=0); ErrorCode: 100001"}));

    // The register is back: the next call takes the next sequence number.
    EXPECT_TRUE(VERDA::CancelFiscalInv(slip));
    EXPECT_EQ(slip, 12);
    const auto requests = device->requests();
    ASSERT_EQ(requests.size(), 8u);
    EXPECT_EQ(requests[7].seq, requests[2].seq + 1);
}

TEST_P(BrokenReceipt, AnswerThatComesAfterTheRepeatIsTakenAndItsEchoCostsTheNextCallOneRepeat) {
    next("0\t12\t3\t4\t");
    // The register answers the first sale frame only once the driver has
    // sent it again, and then answers the second one as well, a moment later
    // (by then the driver has taken the first answer and returned).
    device->then(kSilence);
    device->then([](const Request& r) {
        return Answer{{replyFrame(r.seq, r.command, "0\t1\t"), 0},
                      {replyFrame(r.seq, r.command, "0\t2\t"), 50}};
    });
    device->replyAlways("0\t12\t91.00\t0.00\t0.00\t0.00\t0.00\t0.00\t0.00\t");
    int slip = 0, doc = 0, shift = 0;
    ASSERT_TRUE(VERDA::OpenFiscalInv(1, "0000", 1, 0, "", "", "", "", slip, doc, shift));
    std::string out = captureStdout([&] { EXPECT_TRUE(sale(slip)); });
    EXPECT_EQ(slip, 1);  // the late answer, to the same sequence number
    EXPECT_EQ(out, "REPEAT SEND!\n");

    // The echo to the second frame waits in the line and fails the
    // sequence test of the next call, which sends once more.
    double subtotal = 0, tax[6] = {};
    out = captureStdout([&] {
        EXPECT_TRUE(VERDA::Subtotal('1', '0', '0', 0.0, slip, subtotal, tax[0], tax[1], tax[2],
                                    tax[3], tax[4], tax[5]));
    });
    EXPECT_EQ(out, "REPEAT SEND!\n");
    EXPECT_EQ(slip, 12);
    EXPECT_EQ(subtotal, 91.0);
    // The answer to the first Subtotal frame can arrive before the device has
    // read the repeat, which is already on its way.
    ASSERT_TRUE(device->waitForRequests(5));
    const auto requests = device->requests();
    EXPECT_EQ(requests[1].raw, requests[2].raw);
    EXPECT_EQ(requests[3].raw, requests[4].raw);
    EXPECT_EQ(requests[3].seq, requests[1].seq + 1);
}

VERDA_TCP_ONLY(BrokenReceipt);

// The simulated register's line faults, each alone at a rate that hits about
// one reply in five, and all at once: every receipt still comes through, and
// once, since the register answers a repeated frame without executing it.
class SimFaults : public SimTest {};

TEST_P(SimFaults, EveryReceiptComesThroughOnceWhateverTheLineDoes) {
    const struct {
        const char* name;
        std::function<void(sim::FaultRates&)> set;
        bool repeats;  // the fault costs frames
    } rows[] = {
        {"nak", [](sim::FaultRates& f) { f.nak = 0.2; }, true},
        {"drop", [](sim::FaultRates& f) { f.drop = 0.2; }, true},
        {"crc", [](sim::FaultRates& f) { f.crc = 0.2; }, true},
        {"noise", [](sim::FaultRates& f) { f.noise = 0.2; }, false},
        {"split", [](sim::FaultRates& f) { f.split = 0.2; }, false},
        {"syn", [](sim::FaultRates& f) { f.syn = 0.2; }, false},
        {"delay", [](sim::FaultRates& f) { f.delay = 0.2; }, false},
        {"all at once",
         [](sim::FaultRates& f) {
             f.nak = f.drop = f.crc = 0.08;
             f.noise = f.split = 0.2;
             f.syn = 0.3;
             f.delay = 0.1;
         },
         true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        disconnect();
        options.faults = sim::FaultRates();
        row.set(options.faults);
        options.faults.delayMs = 50;  // within the driver's wait of 300 ms
        options.seed = 7;
        startSimulator();
        connect();
        const std::string out = captureStdout([&] {
            openShift();
            for (int r = 0; r < 3; ++r) {
                int slip = 0, doc = 0, shift = 0, fd = 0;
                std::string sign;
                EXPECT_TRUE(VERDA::OpenFiscalInv(1, "1", 1, 0, "", "", "", "", slip, doc, shift));
                for (int i = 0; i < 3; ++i) sell("Хлеб", 10.0, 1.0);
                double subtotal = 0, tax[6] = {};
                EXPECT_TRUE(VERDA::Subtotal('1', '0', '0', 0.0, slip, subtotal, tax[0], tax[1],
                                            tax[2], tax[3], tax[4], tax[5]));
                EXPECT_EQ(subtotal, 30.0);  // three lines, none of them twice
                EXPECT_EQ(pay(0, 50.0, '1'), std::make_pair('R', 20.0));
                EXPECT_TRUE(VERDA::CloseFiscalInv(slip, fd, sign, doc, shift)) << g_ResultCode;
            }
        });
        int count[4] = {};
        double sum[4] = {};
        ASSERT_TRUE(VERDA::DailyReportByTypesOfPayment3(count[0], sum[0], count[1], sum[1],
                                                        count[2], sum[2], count[3], sum[3]));
        EXPECT_EQ(count[0], 3);
        EXPECT_EQ(sum[0], 90.0);
        if (row.repeats) {
            EXPECT_NE(out.find("REPEAT SEND!"), std::string::npos);
        }
    }
}

VERDA_TCP_ONLY(SimFaults);

}  // namespace
