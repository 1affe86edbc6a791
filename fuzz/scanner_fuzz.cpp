// Fuzz target: arbitrary reads fed to the reply scanner, in a buffer of
// exactly the size the input chooses, so that the sanitizers see any access
// outside it.
//
// The input: the expected sequence byte, the expected command byte, the
// buffer's size (10 + 4 x the third byte), then records, each a tag byte:
//
//   0xFF      a read that fails
//   0xFE      a good reply to the expected request: a byte of data size,
//             the data, eight status bytes
//   otherwise a read of that many of the following bytes (0: nothing)
//
// A read hands over no more than the scanner has room for. After every
// decision the next wait starts, as the exchange's next send does. Each
// verdict is checked against the bytes fed, independently of the scanner:
// a NAK was among them, a complete reply is a frame of the request with its
// sum right, a wrong sum leaves the buffer zero, and the wait gives up
// exactly at the tenth pass without new bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "wire/Pause.h"
#include "wire/ReplyScanner.h"

namespace {

using Verdict = wire::ReplyScanner::Verdict;

int pausesInPass = 0;
void countPause(unsigned int microseconds) {
    if (microseconds != 1000 && microseconds != 20000) std::abort();
    ++pausesInPass;
}

void check(bool condition) {
    if (!condition) std::abort();
}

unsigned int word(const unsigned char* bytes) {
    return ((bytes[0] & 0xFu) << 12) | ((bytes[1] & 0xFu) << 8) | ((bytes[2] & 0xFu) << 4) |
           (bytes[3] & 0xFu);
}

void putWord(std::vector<unsigned char>& out, unsigned int value) {
    for (int shift = 12; shift >= 0; shift -= 4)
        out.push_back(static_cast<unsigned char>(0x30 + ((value >> shift) & 0xF)));
}

// The reply the register would send: separator, status, postamble 0x05.
std::vector<unsigned char> goodReply(unsigned char seq, unsigned char command,
                                     const std::uint8_t* data, std::size_t size,
                                     const std::uint8_t* status) {
    std::vector<unsigned char> frame{0x01};
    putWord(frame, static_cast<unsigned int>(size) + 0x33);
    frame.push_back(seq);
    putWord(frame, command);
    frame.insert(frame.end(), data, data + size);
    frame.push_back(0x04);
    frame.insert(frame.end(), status, status + 8);
    frame.push_back(0x05);
    unsigned int sum = 0;
    for (std::size_t i = 1; i < frame.size(); ++i) sum += frame[i];
    putWord(frame, sum & 0xFFFF);
    frame.push_back(0x03);
    return frame;
}

// What a complete reply must be: a frame of the expected request whose sum
// is right, with its status inside the buffer, or zeros.
void checkComplete(wire::ReplyScanner& scanner, const unsigned char* buffer, std::size_t capacity,
                   unsigned char seq, unsigned char command) {
    check(buffer[0] == 0x01);
    const unsigned int length = (word(buffer + 1) - 0x20) & 0xFFFF;
    check(length + 6 <= capacity);
    check(buffer[5] == seq && word(buffer + 6) == command);
    unsigned int sum = 0;
    for (unsigned int i = 1; i <= length; ++i) sum += buffer[i];
    for (int i = 0; i < 4; ++i)
        check(buffer[length + 1 + i] == 0x30 + ((sum >> (12 - 4 * i)) & 0xF));
    check(scanner.dataSize() == static_cast<long>(length) - 19);
    const unsigned char* status = scanner.status();
    if (length >= 8) {
        check(status == buffer + length - 8);
    } else {
        for (int i = 0; i < 8; ++i) check(status[i] == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    wire::setPause(countPause);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3) return 0;
    const unsigned char seq = data[0];
    const unsigned char command = data[1];
    const std::size_t capacity = 10 + 4 * static_cast<std::size_t>(data[2]);
    std::size_t at = 3;

    // Zero, as an exchange's buffer reads; exactly capacity bytes long.
    std::vector<unsigned char> storage(capacity);
    unsigned char* buffer = storage.data();
    wire::ReplyScanner scanner(buffer, capacity);
    scanner.expect(seq, command);
    int fruitless = 0;
    while (at < size) {
        const std::uint8_t tag = data[at++];
        std::vector<unsigned char> bytes;
        long got = 0;
        if (tag == 0xFF) {
            got = -1;
        } else if (tag == 0xFE) {
            const std::size_t length = at < size ? data[at++] : 0;
            if (size - at < length + 8) break;
            bytes = goodReply(seq, command, data + at, length, data + at + length);
            at += length + 8;
        } else {
            const std::size_t length = tag < size - at ? tag : size - at;
            bytes.assign(data + at, data + at + length);
            at += length;
        }
        check(scanner.space() == buffer + (capacity - scanner.room()));
        const std::size_t count = bytes.size() < scanner.room() ? bytes.size() : scanner.room();
        if (count > 0) {
            std::memcpy(scanner.space(), bytes.data(), count);
            got = static_cast<long>(count);
        }

        pausesInPass = 0;
        const Verdict verdict = scanner.feed(got);
        check(pausesInPass <= 2);
        if (got > 0) fruitless = 0;
        switch (verdict) {
            case Verdict::NeedMore:
                check(++fruitless < wire::ReplyScanner::kMaxFruitlessPasses);
                continue;
            case Verdict::GaveUp:
                check(++fruitless == wire::ReplyScanner::kMaxFruitlessPasses);
                break;
            case Verdict::Nak:
                check(std::memchr(bytes.data(), 0x15, count) != nullptr);
                break;
            case Verdict::ChecksumFailed:
                for (std::size_t i = 0; i < capacity; ++i) check(buffer[i] == 0);
                break;
            case Verdict::Complete:
                checkComplete(scanner, buffer, capacity, seq, command);
                break;
            case Verdict::Repeat:
                check(buffer[0] == 0x01 && (buffer[5] != seq || word(buffer + 6) != command));
                break;
        }
        // The next send: a new wait from a wiped buffer.
        scanner.expect(seq, command);
        for (std::size_t i = 0; i < capacity; ++i) check(buffer[i] == 0);
        fruitless = 0;
    }
    return 0;
}
