#include "sim/Link.h"

#include "wire/Frame.h"

namespace sim {

namespace {

// NAK and SYN go out as pairs: a single byte alone in the driver's buffer is
// not looked at.
const std::string kNak(2, static_cast<char>(wire::kNak));
const std::string kSyn(2, static_cast<char>(wire::kSyn));

std::string requestKey(const wire::Request& request) {
    return std::string(1, static_cast<char>(request.seq)) + str(request.command) + "/" +
           request.data;
}

}  // namespace

std::vector<Chunk> Link::receive(const char* bytes, size_t count) {
    std::vector<Chunk> out;
    reader_.feed(bytes, count);
    hangingUp_ = false;
    wire::Request request;
    for (wire::RequestReader::Result r;
         !hangingUp_ && (r = reader_.next(request)) != wire::RequestReader::Nothing;) {
        if (r == wire::RequestReader::Bad)
            out.push_back(Chunk{kNak, 0});
        else
            answer(request, out);
    }
    return out;
}

void Link::reset() {
    reader_.clear();
    lastRequest_.clear();
    lastReply_.clear();
}

void Link::answer(const wire::Request& request, std::vector<Chunk>& out) {
    const FaultRates& rates = faults_.rates();
    if (faults_.hit(rates.nak)) {
        out.push_back(Chunk{kNak, 0});
        return;
    }
    const std::string key = requestKey(request);
    bool printed = false;
    if (key != lastRequest_ || lastReply_.empty()) {
        const std::string data = device_.execute(request.command, request.data);
        printed = device_.printed();
        // The command number is echoed as the driver keeps it, in one byte.
        lastReply_ = wire::replyFrame(request.seq, request.command & 0xFF, data, device_.status());
        lastRequest_ = key;
        changed_();
        if (static_cast<int>(request.command) == hangUp_.command && ++hangUpSeen_ == hangUp_.nth) {
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
