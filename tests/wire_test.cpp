// The protocol core on its own: the reading of replies, pass by pass, and
// the register's reading of requests.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "support/ScriptedDevice.h"
#include "wire/DeviceSide.h"
#include "wire/Pause.h"
#include "wire/ReplyScanner.h"

namespace {

using testing_device::replyFrame;
using testing_device::requestFrame;
using Verdict = wire::ReplyScanner::Verdict;

const unsigned char kSeq = 0x21;
const unsigned char kCommand = 0x2D;
const std::string kFailedRead = "<read failed>";  // a read that answers -1
const std::string kStatus("\x01\x00\x00\x00\x00\x80\x00\x07", 8);

std::vector<unsigned int> pauses;
void recordPause(unsigned int microseconds) {
    pauses.push_back(microseconds);
}

std::string frame(const std::string& data) {
    return replyFrame(kSeq, kCommand, data, kStatus);
}

// A frame around counted (length word through postamble) with the sum that
// fits whatever stands there.
std::string framed(const std::string& counted) {
    unsigned int sum = 0;
    for (unsigned char c : counted) sum += c;
    std::string word(4, '\0');
    for (int i = 0; i < 4; ++i) word[i] = static_cast<char>(0x30 + ((sum >> (12 - 4 * i)) & 0xF));
    return "\x01" + counted + word + "\x03";
}

std::vector<std::string> times(int count, const std::string& read) {
    return std::vector<std::string>(static_cast<size_t>(count), read);
}

std::vector<std::string> operator+(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

class Scanner : public ::testing::Test {
  protected:
    void SetUp() override {
        pauses.clear();
        before = wire::setPause(recordPause);
    }
    void TearDown() override { wire::setPause(before); }

    // Feeds the reads one pass each; the verdicts of all the passes.
    std::vector<Verdict> scan(wire::ReplyScanner& scanner, const std::vector<std::string>& reads) {
        std::vector<Verdict> verdicts;
        for (const std::string& read : reads) {
            if (read == kFailedRead) {
                verdicts.push_back(scanner.feed(-1));
                continue;
            }
            const size_t count = std::min(read.size(), scanner.room());
            read.copy(reinterpret_cast<char*>(scanner.space()), count);
            verdicts.push_back(scanner.feed(static_cast<long>(count)));
        }
        return verdicts;
    }

    wire::PauseFunction before = nullptr;
    unsigned char buffer[102400];
};

// Each case is a run of reads: every pass but the last needs more, and the
// last decides. "" is a read that brings nothing.
TEST_F(Scanner, ReadsDecideAsTheExchangeDoes) {
    const std::string reply = frame("0\tok\t");
    std::string badSum = reply;
    badSum[badSum.size() - 2] ^= 1;
    std::string highBits = reply;
    highBits[highBits.size() - 2] =
        static_cast<char>((highBits[highBits.size() - 2] & 0x0F) | 0x40);
    std::string loose = reply.substr(1, reply.size() - 6);  // other high nibbles in the words
    loose[0] = '\x70';
    loose[5] = '\x40';
    const struct {
        const char* name;
        std::vector<std::string> reads;
        Verdict verdict;
        std::vector<unsigned int> pauses;
        std::string data;
    } cases[] = {
        {"whole frame", {reply}, Verdict::Complete, {}, "0\tok\t"},
        {"frame in pieces",
         {reply.substr(0, 3), "", reply.substr(3, 9), reply.substr(12)},
         Verdict::Complete,
         {},
         "0\tok\t"},
        {"bytes after the frame", {reply + "tail"}, Verdict::Complete, {}, "0\tok\t"},
        {"noise before the frame", {"zz" + reply}, Verdict::Complete, {20000}, "0\tok\t"},
        {"noise, then the frame", {"noise", reply}, Verdict::Complete, {20000, 20000}, "0\tok\t"},
        {"NAK and SYN inside a frame",
         {frame("0\t\x15\x16\t")},
         Verdict::Complete,
         {},
         "0\t\x15\x16\t"},
        {"frame without data", {frame("")}, Verdict::Complete, {}, ""},
        {"high nibbles of length and command", {framed(loose)}, Verdict::Complete, {}, "0\tok\t"},
        {"NAK", {"\x16\x15"}, Verdict::Nak, {}, ""},
        {"NAK behind noise held", {"abc", "\x15"}, Verdict::Nak, {20000}, ""},
        {"SYN, then NAK", {"\x16\x16", "\x15"}, Verdict::Nak, {1000, 20000}, ""},
        {"SYN before the frame", {"\x16\x16" + reply}, Verdict::Complete, {20000}, "0\tok\t"},
        {"SYN, then the frame",
         {"\x16\x16", reply},
         Verdict::Complete,
         {1000, 20000, 20000},
         "0\tok\t"},
        {"wrong sequence", {replyFrame(kSeq + 1, kCommand, "0\t")}, Verdict::Repeat, {}, ""},
        {"wrong command", {replyFrame(kSeq, kCommand + 1, "0\t")}, Verdict::Repeat, {}, ""},
        {"command echoed above one byte",
         {replyFrame(kSeq, 0x100 + kCommand, "0\t")},
         Verdict::Repeat,
         {},
         ""},
        {"wrong sum", {badSum}, Verdict::ChecksumFailed, {}, ""},
        {"sum with other high bits", {highBits}, Verdict::ChecksumFailed, {}, ""},
        {"silence", times(10, ""), Verdict::GaveUp, {}, ""},
        {"failed reads", times(10, kFailedRead), Verdict::GaveUp, {}, ""},
        {"bytes reset the count",
         times(9, "") + times(1, reply.substr(0, 8)) + times(8, "") + times(1, reply.substr(8)),
         Verdict::Complete,
         {},
         "0\tok\t"},
        {"lone NAK is not examined", times(1, "\x15") + times(9, ""), Verdict::GaveUp, {}, ""},
        {"length below the bias",
         times(1, framed("\x30\x30\x31\x3F!002=" + kStatus + "\x05")) + times(9, ""),
         Verdict::GaveUp,
         {},
         ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        pauses.clear();
        std::fill(std::begin(buffer), std::end(buffer), 0);  // as a new exchange finds it
        wire::ReplyScanner scanner(buffer, sizeof buffer);
        scanner.expect(kSeq, kCommand);
        std::vector<Verdict> expected(c.reads.size() - 1, Verdict::NeedMore);
        expected.push_back(c.verdict);
        EXPECT_EQ(scan(scanner, c.reads), expected);
        EXPECT_EQ(pauses, c.pauses);
        if (c.verdict == Verdict::Complete) {
            ASSERT_EQ(scanner.dataSize(), static_cast<long>(c.data.size()));
            EXPECT_EQ(std::string(scanner.data(), c.data.size()), c.data);
            EXPECT_EQ(std::string(reinterpret_cast<char*>(scanner.status()), 8), kStatus);
        }
        if (c.verdict == Verdict::ChecksumFailed) {
            EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 64), std::string(64, '\0'));
        }
    }
}

// A length field below 19 completes a frame whose data has a negative size;
// below 8 the status bytes would lie before the buffer and read as zeros.
TEST_F(Scanner, ShortLengthFieldsComplete) {
    const struct {
        std::string frame;
        unsigned char command;
        long dataSize;
        std::string status;
    } cases[] = {
        // L = 18: the status stands at offset 10.
        {framed("\x30\x30\x33\x32!002=" + kStatus + "\x05"), kCommand, -1, kStatus},
        // L = 5: the sum stands where the command word is, so it is the command.
        {std::string("\x01\x30\x30\x32\x35\x21\x30\x30\x3E\x38\x03", 11), 0xE8, -14,
         std::string(8, '\0')},
    };
    for (const auto& c : cases) {
        wire::ReplyScanner scanner(buffer, sizeof buffer);
        scanner.expect(kSeq, c.command);
        EXPECT_EQ(scan(scanner, {c.frame}), std::vector<Verdict>{Verdict::Complete});
        EXPECT_EQ(scanner.dataSize(), c.dataSize);
        EXPECT_EQ(std::string(reinterpret_cast<char*>(scanner.status()), 8), c.status);
    }
}

// Once the buffer is full the reads are asked for nothing, and the wait ends
// by the count of passes. A new wait starts from a wiped buffer.
TEST_F(Scanner, FullBufferEndsTheWait) {
    unsigned char small[64] = {};
    wire::ReplyScanner scanner(small, sizeof small);
    scanner.expect(kSeq, kCommand);
    const std::string endless = "\x01\x3F\x3F\x3F\x3F" + std::string(100, 'x');
    EXPECT_EQ(scan(scanner, {endless}), std::vector<Verdict>{Verdict::NeedMore});
    EXPECT_EQ(scanner.room(), 0u);
    EXPECT_EQ(scan(scanner, times(9, "")).back(), Verdict::GaveUp);

    scanner.expect(kSeq, kCommand);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(small), sizeof small), std::string(64, '\0'));
    EXPECT_EQ(scan(scanner, {frame("0\t")}), std::vector<Verdict>{Verdict::Complete});
}

// The register's reading of requests: stricter than the driver's, it refuses
// a frame with anything out of place, and skips what cannot start one.
TEST(RequestReader, CutsRequestsOutOfTheStream) {
    const std::string good = requestFrame(0x22, 0x31, "a\tb\t");
    auto spoil = [&good](size_t at, int mask) {
        std::string f = good;
        f[at] = static_cast<char>(f[at] ^ mask);
        return f;
    };
    std::string looseCommand = good;  // the same sum, the word's high nibbles out of place
    looseCommand[6] = static_cast<char>(looseCommand[6] + 0x10);
    looseCommand[7] = static_cast<char>(looseCommand[7] - 0x10);
    using R = wire::RequestReader::Result;
    const struct {
        const char* name;
        std::vector<std::string> feeds;
        std::vector<R> results;  // after the last feed, until Nothing
    } cases[] = {
        {"one request", {good}, {R::Good}},
        {"in pieces", {good.substr(0, 4), good.substr(4)}, {R::Good}},
        {"two at once, noise between", {"xx" + good + "\x15" + good}, {R::Good, R::Good}},
        {"wrong sum", {spoil(good.size() - 2, 0x01)}, {R::Bad}},
        {"wrong postamble", {spoil(good.size() - 6, 0x01)}, {R::Bad}},
        {"wrong terminator", {spoil(good.size() - 1, 0x07)}, {R::Bad}},
        {"malformed command word", {looseCommand}, {R::Bad}},
        {"malformed length word, then a request", {spoil(1, 0x70) + good}, {R::Good}},
        {"length too small for a request", {"\x01\x30\x30\x32\x39" + good}, {R::Good}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        wire::RequestReader reader;
        wire::Request request;
        for (size_t i = 0; i + 1 < c.feeds.size(); ++i) {
            reader.feed(c.feeds[i].data(), c.feeds[i].size());
            EXPECT_EQ(reader.next(request), R::Nothing);
        }
        reader.feed(c.feeds.back().data(), c.feeds.back().size());
        std::vector<R> results;
        for (R r; (r = reader.next(request)) != R::Nothing;) results.push_back(r);
        EXPECT_EQ(results, c.results);
        if (c.results.back() == R::Good) {
            EXPECT_EQ(request.seq, 0x22);
            EXPECT_EQ(request.command, 0x31u);
            EXPECT_EQ(request.data, "a\tb\t");
        }
    }
}

// A reply as the simulated register sends it is one the driver completes.
TEST_F(Scanner, ReadsTheRegistersReplies) {
    wire::ReplyScanner scanner(buffer, sizeof buffer);
    scanner.expect(kSeq, kCommand);
    EXPECT_EQ(scan(scanner, {wire::replyFrame(kSeq, kCommand, "0\t7\t", "\x03")}),
              std::vector<Verdict>{Verdict::Complete});
    EXPECT_EQ(std::string(scanner.data(), 4), "0\t7\t");
    EXPECT_EQ(std::string(reinterpret_cast<char*>(scanner.status()), 8),
              std::string("\x03\0\0\0\0\0\0\0", 8));
}

}  // namespace
