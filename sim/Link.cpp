#include "sim/Link.h"

#include "device/Frame.h"

namespace sim {

namespace {

// NAK and SYN go out as pairs: a single byte alone in the driver's buffer is
// not looked at.
const std::string kNak(2, static_cast<char>(frame::kNak));
const std::string kSyn(2, static_cast<char>(frame::kSyn));

std::string requestKey(const Frame& frame) {
    return std::string(1, static_cast<char>(frame.seq)) + str(frame.command) + "/" + frame.data;
}

}  // namespace

std::vector<Chunk> Link::receive(const char* bytes, size_t count) {
    std::vector<Chunk> out;
    reader_.feed(bytes, count);
    hangingUp_ = false;
    Frame frame;
    for (FrameReader::Result r; !hangingUp_ && (r = reader_.next(frame)) != FrameReader::Nothing;) {
        if (r == FrameReader::Bad)
            out.push_back(Chunk{kNak, 0});
        else
            answer(frame, out);
    }
    return out;
}

void Link::reset() {
    reader_.clear();
    lastRequest_.clear();
    lastReply_.clear();
}

void Link::answer(const Frame& frame, std::vector<Chunk>& out) {
    const FaultRates& rates = faults_.rates();
    if (faults_.hit(rates.nak)) {
        out.push_back(Chunk{kNak, 0});
        return;
    }
    const std::string key = requestKey(frame);
    bool printed = false;
    if (key != lastRequest_ || lastReply_.empty()) {
        const std::string data = device_.execute(frame.command, frame.data);
        printed = device_.printed();
        // The command number is echoed as the driver keeps it, in one byte.
        lastReply_ = replyFrame(frame.seq, frame.command & 0xFF, data, device_.status());
        lastRequest_ = key;
        changed_();
        if (static_cast<int>(frame.command) == hangUp_.command && ++hangUpSeen_ == hangUp_.nth) {
            hangingUp_ = true;
            reader_.clear();
            return;
        }
    }
    if (faults_.hit(rates.drop)) return;
    std::string reply = lastReply_;
    if (faults_.hit(rates.crc)) reply[reply.size() - 2] ^= 0x01;  // last checksum nibble
    std::vector<Chunk> chunks;
    if (printed && faults_.hit(rates.syn))
        for (int i = 0; i < 3; ++i) chunks.push_back(Chunk{kSyn, 20});
    if (faults_.hit(rates.noise)) reply = faults_.noise(faults_.between(2, 8)) + reply;
    if (faults_.hit(rates.split)) {
        const size_t cut =
            static_cast<size_t>(faults_.between(1, static_cast<int>(reply.size()) - 1));
        chunks.push_back(Chunk{reply.substr(0, cut), 0});
        chunks.push_back(Chunk{reply.substr(cut), 5});
    } else {
        chunks.push_back(Chunk{reply, 0});
    }
    if (faults_.hit(rates.delay)) chunks.front().delayMs += rates.delayMs;
    out.insert(out.end(), chunks.begin(), chunks.end());
}

}  // namespace sim
