#ifndef VERDA_WIRE_DEVICESIDE_H
#define VERDA_WIRE_DEVICESIDE_H

// The register's side of the link: request frames cut out of the byte stream
// from the driver, and reply frames built. Used by the simulated register;
// internal to the protocol core.
//
// What makes a frame valid is decided here for requests and in ReplyScanner
// for replies, over the same words and sum (wire/Words.h). The register is
// the stricter reader on purpose: it also wants the postamble and the
// terminator in place and well-formed length and command words, and refuses
// anything else with a NAK, after which the driver sends the request again.
// The driver's reading of a reply cannot be stricter than it always was
// without refusing replies that registers send.

#include <cstddef>
#include <string>

namespace wire {

struct Request {
    unsigned char seq = 0;
    unsigned int command = 0;
    std::string data;
};

class RequestReader {
  public:
    enum Result { Nothing, Good, Bad };
    void feed(const char* bytes, std::size_t count) { buffer_.append(bytes, count); }
    // The next frame in the stream: Good fills request, Bad is a complete
    // frame that failed its checks, Nothing means more bytes are needed.
    // Bytes before a preamble, and a preamble whose length word is
    // malformed or too small for a request, are skipped.
    Result next(Request& request);
    // Forgets an incomplete frame (the driver gave up on it).
    void clear() { buffer_.clear(); }
    bool pending() const { return !buffer_.empty(); }

  private:
    std::string buffer_;
};

// A reply frame: the separator 0x04, the first eight bytes of status (zeros
// where it is shorter), the postamble, the sum and the terminator.
std::string replyFrame(unsigned char seq, unsigned int command, const std::string& data,
                       const std::string& status);

}  // namespace wire

#endif
