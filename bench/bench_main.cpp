// Benchmarks of the driver's exchange: exchanges per second and latency of
// device operations against a register that answers at once (the tests'
// scripted device), over loopback TCP and a pseudo-terminal, with the log on
// and off; the same bytes as a raw ping-pong without the driver, as the
// floor, once in one write and once in the driver's eight; the cost of one
// log line. A table of the ratios follows Google Benchmark's own.
//
// Not a test: it measures, prints and never fails on a figure.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <arpa/inet.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "bench/Support.h"
#include "device/VR35.h"
#include "support/ScriptedDevice.h"
#include "tools/log.h"

namespace {

using Device = testing_device::ScriptedDevice;
using Clock = std::chrono::steady_clock;

const char* kindName(Device::Kind kind) {
    return kind == Device::Tcp ? "tcp" : "pty";
}

// A driver operation and the reply data the register gives it.
struct Operation {
    const char* name;
    std::string replyData;
    bool (*run)();
};

bool checkConnection() {
    return VERDA::CheckConnection();
}

bool registerSale() {
    int slip = 0;
    return VERDA::RegisterSale("Bread", '1', 45.5, 1.0, 0, 1, '0', 0.0, 0.0, 45.5, 0, 0, slip);
}

const Operation kCheckConnection{"CheckConnection", "0\t", checkConnection};
const Operation kRegisterSale{"RegisterSale", "0\t17\t", registerSale};

// Latency of each iteration; the median and the 99th percentile go to the
// benchmark's counters, in microseconds.
class Latencies {
  public:
    Latencies() { samples_.reserve(1 << 16); }
    void add(Clock::duration d) {
        samples_.push_back(std::chrono::duration<double, std::micro>(d).count());
    }
    void report(benchmark::State& state) {
        if (samples_.empty()) return;
        std::sort(samples_.begin(), samples_.end());
        state.counters["median_us"] = samples_[samples_.size() / 2];
        state.counters["p99_us"] = samples_[samples_.size() * 99 / 100];
        state.SetItemsProcessed(static_cast<int64_t>(samples_.size()));
    }

  private:
    std::vector<double> samples_;
};

// A driver connected as a client connects it, its log in a directory of its own.
class Client {
  public:
    Client(Device& device, Device::Kind kind, bool log) {
        VERDA::Init();
        vr35->homeDir = bench::scratchDir();
        vr35->logEnabled = log;
        bench::quietly([&] {
            ok_ = kind == Device::Tcp ? VERDA::OpenSocket("127.0.0.1", device.port())
                                      : VERDA::OpenSerial(device.path(), 115200);
        });
    }
    ~Client() {
        VERDA::CloseSocket();
        bench::holdStdin();
        VERDA::Done();
        vr35 = nullptr;
    }
    bool ok() const { return ok_; }

  private:
    bool ok_ = false;
};

void driverExchange(benchmark::State& state, const Operation& op, Device::Kind kind, bool log) {
    Device device(kind);
    device.replyAlways(op.replyData);
    Client client(device, kind, log);
    if (!client.ok()) {
        state.SkipWithError("cannot open the port");
        return;
    }
    Latencies latencies;
    for (auto _ : state) {
        const Clock::time_point begin = Clock::now();
        const bool ok = op.run();
        latencies.add(Clock::now() - begin);
        if (!ok) {
            state.SkipWithError("the exchange failed");
            break;
        }
    }
    latencies.report(state);
}

// The client's end of the raw link: a connected socket or the pty's slave.
int openRaw(Device& device, Device::Kind kind) {
    if (kind == Device::Tcp) {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address;
        std::memset(&address, 0, sizeof address);
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<unsigned short>(device.port()));
        if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            close(fd);
            return -1;
        }
        const int on = 1;
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        return fd;
    }
    const int fd = open(device.path().c_str(), O_RDWR | O_NOCTTY);
    termios tio;
    tcgetattr(fd, &tio);
    cfmakeraw(&tio);
    tio.c_cc[VMIN] = 0;  // the driver's reads: whatever has come, within half a second
    tio.c_cc[VTIME] = 5;
    tcsetattr(fd, TCSANOW, &tio);
    return fd;
}

// One write as the driver's port makes it: send() on a socket, write() on
// a terminal.
bool put(int fd, Device::Kind kind, const char* bytes, size_t size) {
    const ssize_t done = kind == Device::Tcp ? send(fd, bytes, size, 0) : write(fd, bytes, size);
    return done == static_cast<ssize_t>(size);
}

// Writes request in one piece, or in the eight pieces of the driver's frame
// (preamble, length, sequence, command, data, postamble, checksum, terminator).
bool writeRequest(int fd, Device::Kind kind, const std::string& request, bool inPieces) {
    if (!inPieces) return put(fd, kind, request.data(), request.size());
    const size_t pieces[] = {1, 4, 1, 4, request.size() - 16, 1, 4, 1};
    size_t at = 0;
    for (size_t piece : pieces) {
        if (!put(fd, kind, request.data() + at, piece)) return false;
        at += piece;
    }
    return true;
}

// The floor: the bytes the driver sends for op, in one write, and the reply
// in one read (more only if it comes in pieces). With inPieces, the request
// goes in the driver's eight writes, which shows what they cost.
void rawPingPong(benchmark::State& state, const Operation& op, Device::Kind kind, bool inPieces) {
    Device device(kind);
    device.replyAlways(op.replyData);
    std::string request;
    {
        Client client(device, kind, false);  // one exchange shows the request's bytes
        op.run();
    }
    const std::vector<testing_device::Request> requests = device.requests();
    if (!requests.empty()) request = requests.back().raw;
    const size_t replySize = testing_device::replyFrame(0x21, 0, op.replyData).size();
    const int fd = openRaw(device, kind);
    if (request.empty() || fd < 0) {
        state.SkipWithError("no request to replay");
        if (fd >= 0) close(fd);
        return;
    }
    char reply[256];
    Latencies latencies;
    for (auto _ : state) {
        const Clock::time_point begin = Clock::now();
        bool ok = writeRequest(fd, kind, request, inPieces);
        for (size_t got = 0; ok && got < replySize;) {
            const ssize_t n = read(fd, reply + got, sizeof reply - got);
            ok = n > 0;
            if (ok) got += static_cast<size_t>(n);
        }
        latencies.add(Clock::now() - begin);
        if (!ok) {
            state.SkipWithError("the raw exchange failed");
            break;
        }
    }
    latencies.report(state);
    close(fd);
}

void logLine(benchmark::State& state) {
    const std::string path = bench::scratchDir() + kLogFileName;
    for (auto _ : state) logrotate(path, "CheckConnection();");
    state.SetItemsProcessed(state.iterations());
}

void registerAll() {
    for (const Operation* op : {&kCheckConnection, &kRegisterSale}) {
        for (Device::Kind kind : {Device::Tcp, Device::Pty}) {
            const std::string suffix = std::string(op->name) + "/" + kindName(kind);
            benchmark::RegisterBenchmark(("floor/" + suffix).c_str(), rawPingPong, *op, kind, false)
                ->UseRealTime();
            benchmark::RegisterBenchmark(("floor_8_writes/" + suffix).c_str(), rawPingPong, *op,
                                         kind, true)
                ->UseRealTime();
            benchmark::RegisterBenchmark(("log_off/" + suffix).c_str(), driverExchange, *op, kind,
                                         false)
                ->UseRealTime();
            benchmark::RegisterBenchmark(("log_on/" + suffix).c_str(), driverExchange, *op, kind,
                                         true)
                ->UseRealTime();
        }
    }
    benchmark::RegisterBenchmark("log_line", logLine)->UseRealTime();
    bench::registerReceipt();
    bench::registerCapi();
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    registerAll();
    bench::SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printSummary();
    benchmark::Shutdown();
    bench::removeScratchDir();
    return 0;
}
