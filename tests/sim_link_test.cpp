// The simulated register's wire side and its refusals.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "api/Globals.h"
#include "device/VR35.h"
#include "support/SimRegister.h"

namespace {

using Fields = std::vector<std::string>;
using testing_device::requestFrame;

class SimRefusal : public SimTest {};

const std::string kSale =
    request({"Milk", "A", "10.00", "1.000", "0", "0.00", "1", "", "", "", "", ""});

// Out-of-order and malformed commands come back as the register's negative
// numbers, and set bit 0 of status byte 0.
TEST_P(SimRefusal, RefusedCommandsAnswerTheirNumber) {
    const struct {
        unsigned int command;
        std::string data;
        const char* answer;
    } rows[] = {
        {0x31, kSale, "-111016"},                                      // sale, no receipt open
        {0x38, "", "-111016"},                                         // close, no receipt open
        {0x45, "Z\t", "-110109"},                                      // Z report, no shift open
        {0x30, request({"1", "1", "1", "0", "", "", ""}), "-110109"},  // receipt, no shift
        {0x30, request({"1", "9", "1", "4", "", "", ""}), "-102002"},  // wrong password
        {0x30, request({"x", "1", "1", "4", "", "", ""}), "-112001"},  // operator not a number
        {0x30, request({"1", "1", "1", "4", "", ""}), "-112001"},      // older firmware's form
        {0x6B, "R\t5\t", "-111004"},                                   // unknown article
        {0x2D, "no tab", "-112001"},                                   // field without its tab
        {0x99, "", "-112000"},                                         // unknown command
    };
    for (const auto& row : rows) {
        EXPECT_EQ(exchange(row.command, row.data), std::string(row.answer) + "\t")
            << "command 0x" << std::hex << row.command;
        EXPECT_TRUE(vr35->status->flags[0]);
    }
    EXPECT_EQ(exchange(0x2D, ""), "0\t");
    EXPECT_FALSE(vr35->status->flags[0]);
}

// With a receipt open: the register refuses what does not fit the receipt,
// and a refused command leaves the receipt as it stood.
TEST_P(SimRefusal, OpenReceiptRefusesWhatDoesNotFit) {
    ok(0x30, request({"1", "1", "1", "4", "", "", ""}));
    ok(0x30, request({"1", "1", "1", "0", "", "", ""}));
    EXPECT_TRUE(vr35->status->flags[8]);   // byte 1 bit 0: fiscal receipt open
    EXPECT_TRUE(vr35->status->flags[16]);  // byte 2 bit 0: shift open
    const struct {
        unsigned int command;
        std::string data;
        const char* answer;
    } rows[] = {
        {0x35, "0\t10.00\t", "-111023"},                               // payment, no lines
        {0x45, "Z\t", "-111047"},                                      // Z report
        {0x26, "", "-111047"},                                         // service document
        {0x30, request({"1", "1", "1", "0", "", "", ""}), "-111015"},  // second receipt
        {0x3A, "77\t1.000\t0\t", "-111004"},                           // unknown article
        {0x31, request({"Milk", "Z", "10.00", "1.000", "0", "0.00", "1", "", "", "", "", ""}),
         "-111005"},  // tax group
        {0x31, request({"Milk", "A", "10.00", "1.000", "0", "0.00", "17", "", "", "", "", ""}),
         "-111009"},  // department
        {0x31, request({"Milk", "A", "10.00", "1.000", "2", "11.00", "1", "", "", "", "", ""}),
         "-111031"},  // discount above the line
    };
    for (const auto& row : rows)
        EXPECT_EQ(exchange(row.command, row.data), std::string(row.answer) + "\t")
            << "command 0x" << std::hex << row.command;
    EXPECT_EQ(ok(0x31, kSale), Fields{"1"});
    EXPECT_EQ(exchange(0x38, ""), "-111050\t");  // not paid
    EXPECT_EQ(ok(0x4C, ""), (Fields{"1", "1", "1", "10.00", "0.00"}));
}

// ReadingError: the register's text for a number, in its own code page.
TEST_P(SimRefusal, ReadingErrorGivesTheTextInCp866) {
    EXPECT_EQ(ok(0x64, "-111016\t"),
              (Fields{"111016", to866("Ошибка режима регистрации: Чек закрыт")}));
    EXPECT_EQ(ok(0x64, "-5\t"), (Fields{"5", ""}));
}

VERDA_BOTH_TRANSPORTS(SimRefusal);

// A lost reply: the driver sends the frame again, the register answers it
// from its last reply, and the sale is registered once.
class SimLostReply : public SimTest {
    void configure(sim::Options& o) override {
        o.faults.drop = 0.3;
        o.seed = 7;
    }
};

TEST_P(SimLostReply, RepeatedFrameIsNotExecutedTwice) {
    std::vector<std::string> replies;
    const std::string out = captureStdout([&] {
        replies.push_back(exchange(0x30, request({"1", "1", "1", "4", "", "", ""})));
        replies.push_back(exchange(0x30, request({"1", "1", "1", "0", "", "", ""})));
        for (int i = 0; i < 4; ++i) replies.push_back(exchange(0x31, kSale));
    });
    EXPECT_NE(out.find("REPEAT SEND!"), std::string::npos);
    for (size_t i = 2; i < replies.size(); ++i) EXPECT_EQ(replies[i], "0\t1\t");
    EXPECT_EQ(ok(0x4C, ""), (Fields{"1", "1", "4", "40.00", "0.00"}));
}

VERDA_TCP_ONLY(SimLostReply);

// The wire seen from a plain socket: the reply frame's layout, NAK for a bad
// checksum, and a repeat answered byte for byte without a second sale.
class SimWire : public ::testing::Test {
  protected:
    void SetUp() override {
        options.transport = sim::Options::Tcp;
        options.paper.clear();
        simulator.reset(new sim::Simulator(options));
        std::string error;
        ASSERT_TRUE(simulator->start(error)) << error;
        thread = std::thread([this] {
            std::string error;
            simulator->run(error);
        });
        fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<unsigned short>(simulator->port()));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    void TearDown() override {
        close(fd);
        simulator->stop();
        thread.join();
    }
    // Sends bytes and reads until a frame's terminator or a pause.
    std::string talk(const std::string& bytes) {
        EXPECT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        std::string got;
        pollfd p = {fd, POLLIN, 0};
        while (poll(&p, 1, 500) > 0) {
            char buffer[4096];
            const ssize_t n = read(fd, buffer, sizeof buffer);
            if (n <= 0) break;
            got.append(buffer, static_cast<size_t>(n));
            if (got[got.size() - 1] == '\x03' || got == "\x15\x15") break;
        }
        return got;
    }

    sim::Options options;
    std::unique_ptr<sim::Simulator> simulator;
    std::thread thread;
    int fd = -1;
};

TEST_F(SimWire, ReplyFrameLayoutNakAndRepeat) {
    const std::string check = requestFrame(0x21, 0x2D, "");
    // Status: byte 2 bit 0 (no shift), byte 3 bit 0 fiscalized; separator
    // 04, postamble 05, terminator 03.
    const std::string expected =
        testing_device::replyFrame(0x21, 0x2D, "0\t", std::string("\0\0\0\x01\0\0\0\0", 8));
    const std::string reply = talk(check);
    EXPECT_EQ(reply, expected);
    ASSERT_EQ(reply.size(), 27u);
    EXPECT_EQ(reply[12], '\x04');
    EXPECT_EQ(reply[21], '\x05');

    std::string spoilt = requestFrame(0x22, 0x2D, "");
    spoilt[spoilt.size() - 2] ^= 1;
    EXPECT_EQ(talk(spoilt), "\x15\x15");
    EXPECT_EQ(talk("noise" + requestFrame(0x22, 0x2D, "")).substr(5, 1), "\x22");

    talk(requestFrame(0x23, 0x30, request({"1", "1", "1", "4", "", "", ""})));
    talk(requestFrame(0x24, 0x30, request({"1", "1", "1", "0", "", "", ""})));
    const std::string sale = requestFrame(0x25, 0x31, kSale);
    const std::string first = talk(sale);
    EXPECT_EQ(talk(sale), first);
    const std::string status = talk(requestFrame(0x26, 0x4C, ""));
    EXPECT_EQ(status.substr(10, 19), "0\t1\t1\t1\t10.00\t0.00\t");
}

}  // namespace
