// The framed exchange, driven through CheckConnection and SendPMessage
// against a scripted device.
#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"

using testing_device::Answer;
using testing_device::replyFrame;
using testing_device::Request;
using testing_device::requestFrame;

namespace {

int send(unsigned int command, std::string data, std::string& reply) {
    return vr35->SendPMessage(command, reinterpret_cast<unsigned char*>(&data[0]),
                              static_cast<int>(data.size()), reply);
}

class Link : public DriverTest {};

TEST_P(Link, CheckConnectionSendsTheWorkedExampleFrame) {
    device->replyAlways("0\t");
    EXPECT_TRUE(VERDA::CheckConnection());
    EXPECT_EQ(g_ResultCode, 0);
    auto requests = device->requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].raw,
              std::string("\x01\x30\x30\x32\x3A\x21\x30\x30\x32\x3D\x05\x30\x31\x3C\x31\x03", 16));
    EXPECT_EQ(log(), (std::vector<std::string>{"Start CheckConnection();", "CheckConnection();"}));
}

TEST_P(Link, RequestDataGoesOutUnescapedAndTheReplyDataComesBack) {
    const std::string data("\x00\x01\x03\x05\x15\x16\xFF\t", 8);
    device->onRequest([](const Request& r) { return testing_device::reply(r, r.data + "echo"); });
    std::string reply = "old";
    ASSERT_EQ(send(0x31, data, reply), 0);
    EXPECT_EQ(reply, data + "echo");
    EXPECT_EQ(device->requests()[0].raw, requestFrame(0x21, 0x31, data));
}

TEST_P(Link, SequenceNumbersRunInACycleOfThirty) {
    device->replyAlways("0\t");
    for (int i = 0; i < 32; ++i) ASSERT_TRUE(VERDA::CheckConnection());
    auto requests = device->requests();
    ASSERT_EQ(requests.size(), 32u);
    for (int i = 0; i < 32; ++i) EXPECT_EQ(requests[i].seq, 0x20 + (i + 1) % 30) << i;
}

// The first field of a reply decides the result.
TEST_P(Link, FirstFieldGivesTheResult) {
    const struct {
        std::string reply;
        int result;
    } cases[] = {
        {"0\t", 0},
        {"0", 0},
        {"-17\t9\t", 17},
        {"17\t", 17},
        {"00\t", 0},
        {"+0\t", 0},
        {"abc\t", 0},
        {"\t5\t", 0},
        {"-5x\t", 5},
        {"-2147483648\t", INT_MIN},   // no positive counterpart: kept as it is
        {"-99999999999\t", INT_MIN},  // out of range reads as the smallest int
    };
    for (const auto& c : cases) {
        device->replyAlways(c.reply);
        EXPECT_EQ(VERDA::CheckConnection(), c.result == 0) << c.reply;
        EXPECT_EQ(g_ResultCode, c.result) << c.reply;
    }
}

// Replies the driver takes in one send however they come: in single bytes,
// with NAK and SYN bytes inside the frame, with a terminator it never looks
// at, or echoing only the low byte of a longer command.
TEST_P(Link, RepliesAreTakenHoweverTheyCome) {
    const struct {
        const char* name;
        unsigned int command;
        std::string data;
        std::function<Answer(const Request&, const std::string&)> answer;
    } rows[] = {
        {"in single bytes", 0x2D, "0\tsplit\t",
         [](const Request& r, const std::string& data) {
             Answer answer;
             for (char c : replyFrame(r.seq, r.command, data))
                 answer.push_back({std::string(1, c), 2});
             return answer;
         }},
        {"NAK and SYN inside", 0x2D, std::string("0\t\x15\x16\t", 5),
         [](const Request& r, const std::string& data) { return testing_device::reply(r, data); }},
        {"another terminator", 0x2D, "0\tx\t",
         [](const Request& r, const std::string& data) {
             std::string f = replyFrame(r.seq, r.command, data);
             f[f.size() - 1] = 'T';
             return Answer{{f, 0}};
         }},
        {"command above one byte", 0x1FF, "0\t",
         [](const Request& r, const std::string& data) {
             return Answer{{replyFrame(r.seq, r.command & 0xFF, data), 0}};
         }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const size_t before = device->requests().size();
        const std::string data = row.data;
        const auto answer = row.answer;
        device->onRequest([answer, data](const Request& r) { return answer(r, data); });
        std::string reply;
        EXPECT_EQ(send(row.command, "", reply), 0);
        EXPECT_EQ(reply, row.data);
        const auto requests = device->requests();
        ASSERT_EQ(requests.size(), before + 1);
        EXPECT_EQ(requests.back().command, row.command);
    }
}

TEST_P(Link, ValidFrameWithoutDataFailsWithoutRepeatButStoresStatus) {
    device->onRequest([](const Request& r) {
        return testing_device::reply(r, "", std::string("\x01\x00\x00\x00\x00\x80\x00\x00", 8));
    });
    std::string reply = "kept";
    EXPECT_EQ(send(0x2D, "", reply), VERDA_EXCHANGE_FAILED);
    EXPECT_EQ(reply, "");
    EXPECT_EQ(device->requests().size(), 1u);
    EXPECT_EQ(vr35->status->getStatus(), "1" + std::string(46, '0') + "1");
}

// Frames whose length field puts the header inside itself.
TEST_P(Link, LengthBelowNineteenThrowsTheStandardLengthError) {
    // L = 18: the status is read from offset 10, then the data length is negative.
    device->onRequest([](const Request& r) {
        std::string counted = std::string("\x30\x30\x33\x32", 4) + static_cast<char>(r.seq) +
                              "\x30\x30\x32\x3D" +
                              std::string("\x03\x00\x00\x00\x00\x00\x00\x00", 8) + "\x05";
        unsigned sum = 0;
        for (unsigned char c : counted) sum += c;
        std::string check(4, '\0');
        for (int i = 0; i < 4; ++i)
            check[i] = static_cast<char>(0x30 + ((sum >> (12 - 4 * i)) & 0xF));
        return Answer{{"\x01" + counted + check + "\x03", 0}};
    });
    EXPECT_THROW(VERDA::CheckConnection(), std::length_error);
    // 0x03 at offset 10 is status byte 0: its bits 0 and 1.
    EXPECT_EQ(vr35->status->getStatus().substr(0, 12), "100000100000");
}

TEST_P(Link, LengthBelowEightGetsZeroStatusBeforeTheLengthError) {
    // L = 5: the checksum stands where the command word is, so the command
    // must equal it: the sum of 30 30 32 35 21 is 0xE8.
    device->onRequest([](const Request&) {
        return Answer{{std::string("\x01\x30\x30\x32\x35\x21\x30\x30\x3E\x38\x03", 11), 0}};
    });
    vr35->status->SetStatus(
        reinterpret_cast<unsigned char*>(const_cast<char*>("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF")));
    std::string reply;
    EXPECT_THROW(send(0xE8, "", reply), std::length_error);
    EXPECT_EQ(vr35->status->getStatus(), std::string(48, '0'));
}

VERDA_BOTH_TRANSPORTS(Link);

}  // namespace
