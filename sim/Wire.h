#ifndef VERDA_SIM_WIRE_H
#define VERDA_SIM_WIRE_H

// The register's side of the framed link.
//
// Request: 01 | len(4) | seq | cmd(4) | data | 05 | sum(4) | 03
// Reply:   01 | len(4) | seq | cmd(4) | data | 04 | status(8) | 05 | sum(4) | 03
//
// The reply's separator is 0x04, its postamble 0x05 and its terminator 0x03.
// A request with a bad checksum, postamble or terminator is answered with
// NAK (two bytes 0x15, see Link.cpp); bytes outside a frame are ignored.

#include <string>

namespace sim {

const unsigned char kReplySeparator = 0x04;

struct Frame {
    unsigned char seq = 0;
    unsigned int command = 0;
    std::string data;
};

// Cuts request frames out of the byte stream from the driver.
class FrameReader {
  public:
    enum Result { Nothing, Good, Bad };
    void feed(const char* bytes, size_t count) { buffer_.append(bytes, count); }
    // The next frame in the stream: Good fills frame, Bad is a complete
    // frame that failed its checks, Nothing means more bytes are needed.
    Result next(Frame& frame);
    // Forgets an incomplete frame (the driver gave up on it).
    void clear() { buffer_.clear(); }
    bool pending() const { return !buffer_.empty(); }

  private:
    std::string buffer_;
};

// A reply frame.
std::string replyFrame(unsigned char seq, unsigned int command, const std::string& data,
                       const std::string& status);

}  // namespace sim

#endif
