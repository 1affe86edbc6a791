#include "wire/DeviceSide.h"

#include "wire/Words.h"

namespace wire {

namespace {

const std::size_t kShortestRequest = 10;  // counted bytes of a request without data
// Not examined by the driver: the register's own choice.
const unsigned char kReplySeparator = 0x04;

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

void appendWord(std::string& out, unsigned int value) {
    const unsigned int packed = MakeINT(value);
    out.append(reinterpret_cast<const char*>(&packed), sizeof packed);
}

}  // namespace

RequestReader::Result RequestReader::next(Request& request) {
    for (;;) {
        const std::size_t start = buffer_.find(static_cast<char>(kPreamble));
        buffer_.erase(0, start == std::string::npos ? buffer_.size() : start);
        if (buffer_.size() < kLengthOffset + kWordBytes) return Nothing;
        const unsigned char* frame = bytesOf(buffer_);
        const unsigned int length = readWord(frame + kLengthOffset);
        if (!wellFormedWord(frame + kLengthOffset) || length < kLengthBias + kShortestRequest) {
            buffer_.erase(0, 1);  // not a frame: look for the next preamble
            continue;
        }
        // Counted bytes: length word, sequence, command word, data, postamble;
        // the last of them, the postamble, stands at their count.
        const std::size_t post = length - kLengthBias;
        const std::size_t total = post + kWordBytes + 2;  // the sum word and the terminator
        if (buffer_.size() < total) return Nothing;
        const bool good = frame[post] == kPostamble && frame[total - 1] == kTerminator &&
                          sumMatches(frame, static_cast<unsigned int>(post)) &&
                          wellFormedWord(frame + kCommandOffset);
        if (good) {
            request.seq = frame[kSeqOffset];
            request.command = readWord(frame + kCommandOffset);
            request.data = buffer_.substr(kDataOffset, post - kDataOffset);
        }
        buffer_.erase(0, total);
        return good ? Good : Bad;
    }
}

std::string replyFrame(unsigned char seq, unsigned int command, const std::string& data,
                       const std::string& status) {
    std::string frame(1, static_cast<char>(kPreamble));
    appendWord(frame, static_cast<unsigned int>(data.size()) + kReplyLengthBias);
    frame += static_cast<char>(seq);
    appendWord(frame, command);
    frame += data;
    frame += static_cast<char>(kReplySeparator);
    const std::string statusBytes = status.substr(0, kStatusBytes);
    frame += statusBytes;
    frame.append(kStatusBytes - statusBytes.size(), '\0');
    frame += static_cast<char>(kPostamble);
    appendWord(frame, MakeCRC(const_cast<unsigned char*>(bytesOf(frame)), kLengthOffset,
                              static_cast<unsigned int>(frame.size() - 1)));
    frame += static_cast<char>(kTerminator);
    return frame;
}

}  // namespace wire
