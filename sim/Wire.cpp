#include "sim/Wire.h"

#include <cstring>

#include "device/Frame.h"

namespace sim {

namespace {

const size_t kLargestFrame = 102400;

std::string word(unsigned int value) {
    const unsigned int packed = MakeINT(value);
    char bytes[4];
    std::memcpy(bytes, &packed, sizeof bytes);
    return std::string(bytes, sizeof bytes);
}

// The value of a nibble word, or -1 when a byte is not 0x30 to 0x3F.
long readWord(const std::string& bytes, size_t at) {
    unsigned int packed;
    std::memcpy(&packed, bytes.data() + at, sizeof packed);
    for (size_t i = 0; i < 4; ++i)
        if ((static_cast<unsigned char>(bytes[at + i]) & 0xF0) != 0x30) return -1;
    return static_cast<long>(uMakeINT(packed));
}

unsigned int byteSum(const std::string& bytes, size_t from, size_t count) {
    return MakeCRC(reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data())),
                   static_cast<unsigned int>(from), static_cast<unsigned int>(count));
}

}  // namespace

FrameReader::Result FrameReader::next(Frame& frame) {
    for (;;) {
        const size_t start = buffer_.find(static_cast<char>(frame::kPreamble));
        buffer_.erase(0, start == std::string::npos ? buffer_.size() : start);
        if (buffer_.size() < 5) return Nothing;
        const long length = readWord(buffer_, 1);
        // Counted bytes: length word, sequence, command word, data, postamble.
        const long counted = length - static_cast<long>(frame::kLengthBias);
        if (length < 0 || counted < 10 || static_cast<size_t>(counted) > kLargestFrame) {
            buffer_.erase(0, 1);  // not a frame: look for the next preamble
            continue;
        }
        const size_t total = static_cast<size_t>(counted) + 6;
        if (buffer_.size() < total) return Nothing;
        const size_t post = static_cast<size_t>(counted);
        const bool good =
            static_cast<unsigned char>(buffer_[post]) == frame::kPostamble &&
            static_cast<unsigned char>(buffer_[total - 1]) == frame::kTerminator &&
            buffer_.compare(post + 1, 4, word(byteSum(buffer_, 1, post) & 0xFFFF)) == 0 &&
            readWord(buffer_, 6) >= 0;
        if (good) {
            frame.seq = static_cast<unsigned char>(buffer_[5]);
            frame.command = static_cast<unsigned int>(readWord(buffer_, 6));
            frame.data = buffer_.substr(frame::kDataOffset, post - frame::kDataOffset);
        }
        buffer_.erase(0, total);
        return good ? Good : Bad;
    }
}

std::string replyFrame(unsigned char seq, unsigned int command, const std::string& data,
                       const std::string& status) {
    std::string frame(1, static_cast<char>(frame::kPreamble));
    frame += word(static_cast<unsigned int>(data.size()) + frame::kReplyLengthBias);
    frame += static_cast<char>(seq);
    frame += word(command);
    frame += data;
    frame += static_cast<char>(kReplySeparator);
    frame += status.substr(0, frame::kStatusBytes);
    frame += std::string(frame::kStatusBytes - status.substr(0, frame::kStatusBytes).size(), '\0');
    frame += static_cast<char>(frame::kPostamble);
    frame += word(byteSum(frame, 1, frame.size() - 1) & 0xFFFF);
    frame += static_cast<char>(frame::kTerminator);
    return frame;
}

}  // namespace sim
