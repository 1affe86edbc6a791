#ifndef VERDA_TESTS_SCRIPTED_DEVICE_H
#define VERDA_TESTS_SCRIPTED_DEVICE_H

// A register stand-in for the tests: it sits on the far side of a loopback
// TCP socket or a pseudo-terminal, cuts the driver's byte stream into request
// frames, records them, and answers each with bytes chosen by the test.

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace testing_device {

// A request frame as the device saw it.
struct Request {
    std::string raw;       // the whole frame, preamble to terminator
    unsigned char seq;     // sequence byte
    unsigned int command;  // decoded command word
    std::string data;      // data bytes
};

// A piece of an answer, written after a pause.
struct Chunk {
    std::string bytes;
    int delayMs;
};
using Answer = std::vector<Chunk>;  // empty: the device stays silent
using Script = std::function<Answer(const Request&)>;

// A well-formed reply frame to seq/command carrying data.
std::string replyFrame(unsigned char seq, unsigned int command, const std::string& data,
                       const std::string& status = std::string(8, '\0'));
// A well-formed reply to request, in one piece.
Answer reply(const Request& request, const std::string& data,
             const std::string& status = std::string(8, '\0'));
// The bytes of a request frame as the driver must send it.
std::string requestFrame(unsigned char seq, unsigned int command, const std::string& data);

class ScriptedDevice {
  public:
    enum Kind { Tcp, Pty };
    explicit ScriptedDevice(Kind kind);
    ~ScriptedDevice();

    Kind kind() const { return kind_; }
    int port() const { return port_; }          // TCP
    std::string path() const { return path_; }  // pseudo-terminal slave

    // Answers each request with script(request). Without a script, or for
    // requests past the queued answers, the device stays silent.
    void onRequest(Script script);
    // Queued answers, used in order before the script.
    void then(Script script);
    // Answers every request with a reply carrying data.
    void replyAlways(const std::string& data);

    // Requests received so far.
    std::vector<Request> requests();
    // Waits until n requests have arrived (at most timeoutMs).
    bool waitForRequests(size_t n, int timeoutMs = 5000);
    // Raw bytes received that were not part of any frame.
    std::string stray();

    // Writes bytes to the driver at once, outside any script.
    void send(const std::string& bytes);
    // Closes the device's end of the link.
    void hangUp();

  private:
    void serve();
    void answer(const Request& request);
    void writeAll(const std::string& bytes);

    Kind kind_;
    int listenFd_ = -1;
    int fd_ = -1;       // connected socket or pty master
    int slaveFd_ = -1;  // kept open so the pty survives the driver's close
    int port_ = 0;
    std::string path_;
    int wakeFd_[2] = {-1, -1};
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Script> queue_;
    Script script_;
    std::vector<Request> requests_;
    std::string stray_;
    bool stopping_ = false;
};

}  // namespace testing_device

#endif
