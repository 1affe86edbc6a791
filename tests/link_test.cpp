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

size_t count(const std::vector<std::string>& lines, const std::string& line) {
    return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
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

TEST_P(Link, ReplySplitIntoSingleBytesIsAssembled) {
    device->onRequest([](const Request& r) {
        Answer answer;
        for (char c : replyFrame(r.seq, r.command, "0\tsplit\t"))
            answer.push_back({std::string(1, c), 2});
        return answer;
    });
    std::string reply;
    EXPECT_EQ(send(0x2D, "", reply), 0);
    EXPECT_EQ(reply, "0\tsplit\t");
    EXPECT_EQ(device->requests().size(), 1u);
}

TEST_P(Link, NoiseBeforeThePreambleIsDropped) {
    const std::string noises[] = {std::string("\x7F\x55\x00", 3), "zzzzzzzzzz",
                                  std::string(1, '\x03')};
    for (const auto& noise : noises) {
        device->onRequest([noise](const Request& r) {
            return Answer{{noise + replyFrame(r.seq, r.command, "0\tok\t"), 0}};
        });
        std::string reply;
        EXPECT_EQ(send(0x2D, "", reply), 0);
        EXPECT_EQ(reply, "0\tok\t");
    }
    // Noise in one piece, the frame in the next.
    device->onRequest([](const Request& r) {
        return Answer{{"noise", 0}, {replyFrame(r.seq, r.command, "0\tlater\t"), 30}};
    });
    std::string reply;
    EXPECT_EQ(send(0x2D, "", reply), 0);
    EXPECT_EQ(reply, "0\tlater\t");
    EXPECT_EQ(device->requests().size(), 4u);  // no repeats
}

// A frame that fails a test is answered by sending the request again.
TEST_P(Link, RejectedFramesAreRepeated) {
    const struct {
        const char* name;
        std::function<std::string(const Request&)> bad;
    } cases[] = {
        {"wrong sequence",
         [](const Request& r) { return replyFrame(r.seq + 1, r.command, "0\t"); }},
        {"wrong command", [](const Request& r) { return replyFrame(r.seq, r.command + 1, "0\t"); }},
        {"wrong checksum",
         [](const Request& r) {
             std::string f = replyFrame(r.seq, r.command, "0\t");
             f[f.size() - 2] ^= 1;
             return f;
         }},
        {"checksum with other high bits",
         [](const Request& r) {
             std::string f = replyFrame(r.seq, r.command, "0\t");
             f[f.size() - 2] = static_cast<char>((f[f.size() - 2] & 0x0F) | 0x40);
             return f;
         }},
    };
    for (const auto& c : cases) {
        const size_t before = device->requests().size();
        device->then([&](const Request& r) { return Answer{{c.bad(r), 0}}; });
        device->replyAlways("0\tgood\t");
        std::string reply;
        std::string out = captureStdout([&] { EXPECT_EQ(send(0x2D, "", reply), 0) << c.name; });
        EXPECT_EQ(reply, "0\tgood\t") << c.name;
        auto requests = device->requests();
        ASSERT_EQ(requests.size(), before + 2) << c.name;
        EXPECT_EQ(requests[before].raw, requests[before + 1].raw) << "a repeat keeps its sequence";
        EXPECT_EQ(out, "REPEAT SEND!\n") << c.name;
    }
    auto lines = log();
    EXPECT_EQ(count(lines, "REPEAT"), 4u);
    EXPECT_EQ(count(lines, "NACK"), 0u);
}

TEST_P(Link, DeviationsTheTestsDoNotSeeAreAccepted) {
    // Only the low nibbles of the length and command words are read, and the
    // separator, postamble and terminator are never compared.
    device->onRequest([](const Request& r) {
        std::string f = replyFrame(r.seq, r.command, "0\tx\t");
        f[f.size() - 1] = 'T';
        return Answer{{f, 0}};
    });
    std::string reply;
    EXPECT_EQ(send(0x2D, "", reply), 0);
    EXPECT_EQ(reply, "0\tx\t");
}

TEST_P(Link, NakMakesTheDriverRepeat) {
    device->then([](const Request&) { return Answer{{"\x16\x15", 0}}; });
    device->replyAlways("0\t");
    std::string reply;
    captureStdout([&] { EXPECT_EQ(send(0x2D, "", reply), 0); });
    EXPECT_EQ(device->requests().size(), 2u);
    auto lines = log();
    EXPECT_EQ(count(lines, "NACK"), 1u);
    EXPECT_EQ(count(lines, "REPEAT"), 1u);
}

TEST_P(Link, NakAndSynInsideAFrameAreContent) {
    device->replyAlways(std::string("0\t\x15\x16\t", 5));
    std::string reply;
    EXPECT_EQ(send(0x2D, "", reply), 0);
    EXPECT_EQ(reply, std::string("0\t\x15\x16\t", 5));
    EXPECT_EQ(device->requests().size(), 1u);
}

TEST_P(Link, SynKeepsTheDriverWaiting) {
    device->onRequest([](const Request& r) {
        Answer answer;
        for (int i = 0; i < 15; ++i) answer.push_back({"\x16\x16", 15});
        answer.push_back({replyFrame(r.seq, r.command, "0\tdone\t"), 15});
        return answer;
    });
    std::string reply;
    EXPECT_EQ(send(0x2D, "", reply), 0);
    EXPECT_EQ(reply, "0\tdone\t");
    EXPECT_EQ(device->requests().size(), 1u);
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

TEST_P(Link, CommandAboveOneByteIsComparedByItsLowByte) {
    device->onRequest([](const Request& r) {
        return Answer{{replyFrame(r.seq, r.command & 0xFF, "0\t"), 0}};
    });
    std::string reply;
    EXPECT_EQ(send(0x1FF, "", reply), 0);
    EXPECT_EQ(device->requests()[0].command, 0x1FFu);
}

VERDA_BOTH_TRANSPORTS(Link);

// Cases that wait out the pass limit: on TCP each read waits 30 ms.
class SlowLink : public DriverTest {};

TEST_P(SlowLink, SilentDeviceGetsFiveSendsThenFailure) {
    std::string out = captureStdout([] { EXPECT_FALSE(VERDA::CheckConnection()); });
    EXPECT_EQ(g_ResultCode, VERDA_EXCHANGE_FAILED);
    EXPECT_EQ(device->requests().size(), 5u);
    EXPECT_EQ(out, "REPEAT SEND!\nREPEAT SEND!\nREPEAT SEND!\nREPEAT SEND!\n");
    EXPECT_EQ(log(),
              (std::vector<std::string>{"Start CheckConnection();", "REPEAT", "REPEAT", "REPEAT",
                                        "REPEAT", "CheckConnection(); ErrorCode: 100001"}));
}

TEST_P(SlowLink, LoneNakByteIsNotExamined) {
    device->then([](const Request&) { return Answer{{"\x15", 0}}; });
    device->replyAlways("0\t");
    std::string reply;
    captureStdout([&] { EXPECT_EQ(send(0x2D, "", reply), 0); });
    EXPECT_EQ(device->requests().size(), 2u);
    EXPECT_EQ(count(log(), "NACK"), 0u);
}

TEST_P(SlowLink, LengthBelowTheBiasNeverCompletes) {
    device->then([](const Request& r) {
        std::string f = replyFrame(r.seq, r.command, "0\t");
        f.replace(1, 4, "\x30\x30\x31\x3F");  // 0x1F: wraps to 65535
        return Answer{{f, 0}};
    });
    device->replyAlways("0\t");
    std::string reply;
    captureStdout([&] { EXPECT_EQ(send(0x2D, "", reply), 0); });
    EXPECT_EQ(device->requests().size(), 2u);
}

TEST_P(SlowLink, LateReplyToAnEarlierFrameCostsOneRepeat) {
    // The first request is answered only after the driver has given up on it.
    device->then([](const Request&) { return Answer{}; });
    device->then([](const Request&) { return Answer{}; });
    device->then([](const Request&) { return Answer{}; });
    device->then([](const Request&) { return Answer{}; });
    device->then([](const Request& r) {
        return Answer{{replyFrame(r.seq, r.command, "0\tlate\t"), 0}};
    });
    device->replyAlways("0\tnew\t");
    std::string reply;
    captureStdout([&] {
        EXPECT_EQ(send(0x2D, "", reply), 0);  // took the 5th send
        EXPECT_EQ(send(0x2D, "", reply), 0);
    });
    EXPECT_EQ(reply, "0\tnew\t");
}

TEST_P(SlowLink, FullBufferEndsTheWaitAndRepeats) {
    // A frame that claims 65535 bytes never completes; once the buffer holds
    // 102400 bytes the reads ask for nothing and the pass limit ends the wait.
    device->then([](const Request&) {
        return Answer{{"\x01\x3F\x3F\x3F\x3F" + std::string(110000, 'x'), 0}};
    });
    device->replyAlways("0\t");
    std::string reply;
    captureStdout([&] { EXPECT_EQ(send(0x2D, "", reply), 0); });
    EXPECT_EQ(device->requests().size(), 2u);
}

VERDA_TCP_ONLY(SlowLink);

// Frames whose length field puts the header inside itself.
class ShortFrames : public DriverTest {};

TEST_P(ShortFrames, LengthBelowNineteenThrowsTheStandardLengthError) {
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

TEST_P(ShortFrames, LengthBelowEightGetsZeroStatusBeforeTheLengthError) {
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

VERDA_BOTH_TRANSPORTS(ShortFrames);

}  // namespace
