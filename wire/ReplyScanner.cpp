#include "wire/ReplyScanner.h"

#include <cstring>

#include "wire/Pause.h"
#include "wire/Words.h"

namespace wire {

namespace {

const unsigned int kSynPause = 1000;             // us, after a SYN outside a frame
const unsigned int kResynchronisePause = 20000;  // us, after dropping bytes

}  // namespace

// The command word of a frame held in six to nine bytes is read before all
// of it has come; those bytes read as zeros, as in a buffer zeroed when the
// exchange begins. Beyond the header, nothing is read before it is written.
ReplyScanner::ReplyScanner(unsigned char* buffer, std::size_t capacity)
    : buffer_(buffer), capacity_(capacity) {
    std::memset(buffer_, 0, kDataOffset);
}

// Wiping only the stretch written since the last wipe leaves the buffer as a
// whole wipe would, without touching all of it on every send.
void ReplyScanner::wipe() {
    std::memset(buffer_, 0, written_);
    written_ = 0;
}

void ReplyScanner::expect(unsigned char seq, unsigned char command) {
    wipe();
    total_ = 0;
    fruitless_ = 0;
    seq_ = seq;
    command_ = command;
}

ReplyScanner::Verdict ReplyScanner::feed(long got) {
    const std::size_t freshFrom = total_;
    const std::size_t fresh = got > 0 ? static_cast<std::size_t>(got) : 0;
    if (fresh > 0) {
        total_ += fresh;
        fruitless_ = 0;
        if (total_ > written_) written_ = total_;
    }
    if (total_ != 0) {
        // NAK and SYN count only outside a frame, and only among new bytes.
        if (total_ >= 2 && buffer_[0] != kPreamble && fresh > 0) {
            if (std::memchr(buffer_ + freshFrom, kNak, fresh) != nullptr) return Verdict::Nak;
            bool syn = false;
            std::size_t k = freshFrom;
            for (; k < total_ && buffer_[k] != kPreamble; ++k)
                if (buffer_[k] == kSyn) syn = true;
            if (k == total_ && syn) pause(kSynPause);
        }
        const bool framed = buffer_[0] == kPreamble ? total_ > 4 : resynchronise();
        if (framed) {
            const Verdict verdict = validate();
            if (verdict != Verdict::NeedMore) return verdict;
        }
    }
    return ++fruitless_ >= kMaxFruitlessPasses ? Verdict::GaveUp : Verdict::NeedMore;
}

// Keeps the bytes from the next preamble on, or only the last byte; true
// when what is left can be validated.
bool ReplyScanner::resynchronise() {
    const void* next = std::memchr(buffer_ + 1, kPreamble, total_ - 1);
    const std::size_t from =
        next != nullptr
            ? static_cast<std::size_t>(static_cast<const unsigned char*>(next) - buffer_)
            : total_ - 1;
    if (from == 0) return false;  // a lone byte: nothing to drop
    std::memmove(buffer_, buffer_ + from, total_ - from);
    total_ -= from;
    pause(kResynchronisePause);
    return total_ > 4 && buffer_[0] == kPreamble;
}

ReplyScanner::Verdict ReplyScanner::validate() {
    // A length word below the bias wraps to a length near 65535, which no
    // frame completes.
    const unsigned short length =
        static_cast<unsigned short>(readWord(buffer_ + kLengthOffset) - kLengthBias);
    if (total_ - 5 <= length) return Verdict::NeedMore;
    // Only the low 8 bits of the command are kept, so only they can match.
    if (buffer_[kSeqOffset] != seq_ || readWord(buffer_ + kCommandOffset) != command_)
        return Verdict::Repeat;
    if (!sumMatches(buffer_, length)) {
        wipe();
        return Verdict::ChecksumFailed;
    }
    length_ = length;
    // A length below 8 would put the status before the buffer: such a frame
    // gets all-zero status bytes.
    status_ = length >= kStatusBytes ? buffer_ + length - kStatusBytes : noStatus_;
    return Verdict::Complete;
}

}  // namespace wire
