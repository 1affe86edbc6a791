#ifndef VERDA_WIRE_REPLYSCANNER_H
#define VERDA_WIRE_REPLYSCANNER_H

// The driver's reading of a reply: fed what each read of the port brings, it
// says whether to read again, to send the request again, or that a reply is
// complete. Internal to the protocol core.
//
// One pass (one feed):
//   - new bytes reset the count of fruitless passes;
//   - outside a frame (the buffer does not start with the preamble), with at
//     least two bytes held and new bytes in this pass: a NAK among the new
//     bytes ends the wait; a SYN among the new bytes, with no preamble behind
//     it, asks for a pause of 1000 us;
//   - outside a frame the buffer is resynchronised: kept from the next
//     preamble, or only its last byte, and a pause of 20000 us follows; a
//     lone byte stays where it is, without a pause;
//   - a buffer of more than four bytes that starts with the preamble is
//     validated: an incomplete frame waits for more; a sequence or command
//     that differs asks for a repeat; a sum that differs wipes the buffer and
//     asks for a repeat; otherwise the reply is complete;
//   - a pass that decides nothing counts as fruitless, and the tenth in a row
//     gives up.
//
// The scanner works on the caller's buffer, allocates nothing and keeps the
// buffer zero beyond what it has written.

#include <cstddef>

#include "wire/Frame.h"

namespace wire {

class ReplyScanner {
  public:
    enum class Verdict {
        NeedMore,        // read again
        Nak,             // the register refused the request
        Repeat,          // a frame of another request
        ChecksumFailed,  // a frame whose sum is wrong; the buffer is wiped
        GaveUp,          // ten passes in a row brought no decision
        Complete,        // a whole reply: status(), data(), dataSize()
    };

    static const int kMaxFruitlessPasses = 10;

    // capacity: at least the 10 bytes of a header.
    ReplyScanner(unsigned char* buffer, std::size_t capacity);

    // Starts the wait for a reply to the request with this sequence number
    // and command (its low 8 bits); the buffer is wiped.
    void expect(unsigned char seq, unsigned char command);

    // Where the next read goes, and how much it may bring (0 when full).
    unsigned char* space() const { return buffer_ + total_; }
    std::size_t room() const { return capacity_ - total_; }
    // One pass, after a read into space() that brought got bytes (0 or less:
    // nothing).
    Verdict feed(long got);

    // After Complete: the eight status bytes (all zero for a length field
    // below 8), and the data, whose size is negative for a length field below
    // 19.
    unsigned char* status() { return status_; }
    const char* data() const { return reinterpret_cast<const char*>(buffer_) + kDataOffset; }
    long dataSize() const { return static_cast<long>(length_) - static_cast<long>(kReplyHeader); }

  private:
    bool resynchronise();
    Verdict validate();
    void wipe();

    unsigned char* const buffer_;
    const std::size_t capacity_;
    std::size_t total_ = 0;    // bytes held, from the start of the buffer
    std::size_t written_ = 0;  // the end of what was ever written since the wipe
    int fruitless_ = 0;
    unsigned char seq_ = 0;
    unsigned char command_ = 0;
    unsigned short length_ = 0;  // L of the complete frame
    unsigned char* status_ = nullptr;
    unsigned char noStatus_[kStatusBytes] = {};
};

}  // namespace wire

#endif
