#ifndef VERDA_BENCH_LINE_H
#define VERDA_BENCH_LINE_H

// A serial line in the middle of a loopback TCP connection: the driver
// connects to port(), the line connects on to the register at registerPort,
// and each direction carries its bytes no faster than baud allows at ten
// bits a byte. It counts what it carries.

#include <atomic>
#include <thread>

namespace bench {

class Line {
  public:
    Line(int registerPort, long baud);
    ~Line();
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    int port() const { return port_; }
    // Bytes carried so far, both directions.
    long long bytes() const { return bytes_.load(); }
    // How late, in all, pieces left against their moment on the line: time
    // the line emulation itself adds (a thread that wakes late on a busy
    // machine), not the driver.
    long long lateMicros() const { return lateMicros_.load(); }

  private:
    void carry(int from, int to);

    long baud_;
    int listenFd_ = -1;
    int driverFd_ = -1;
    int registerFd_ = -1;
    int port_ = 0;
    std::atomic<long long> bytes_{0};
    std::atomic<long long> lateMicros_{0};
    std::thread toRegister_;
    std::thread toDriver_;
};

}  // namespace bench

#endif
