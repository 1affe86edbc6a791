// A whole receipt against the simulated register at 115200 baud: open, ten
// sales, subtotal, total, close. The time it takes is set against the time
// its bytes need on the line, ten bits a byte: the ratio is what the driver
// adds to the wire.
#include <fcntl.h>

#include <string>
#include <thread>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "bench/Line.h"
#include "bench/Support.h"
#include "device/VR35.h"
#include "sim/Simulator.h"

namespace {

const long kBaud = 115200;

bool receipt() {
    int slip = 0, doc = 0, shift = 0, fd = 0;
    bool ok = VERDA::OpenFiscalInv(1, "1", 1, 0, "", "", "", "", slip, doc, shift);
    for (int i = 0; i < 10; ++i)
        ok = VERDA::RegisterSale("Bread", 'A', 10.0, 1.0, 0, 1, '0', 0.0, 0.0, 10.0, 0, 0, slip) &&
             ok;
    double subtotal = 0, tax[6] = {}, change = 0;
    ok = VERDA::Subtotal('1', '0', '0', 0.0, slip, subtotal, tax[0], tax[1], tax[2], tax[3], tax[4],
                         tax[5]) &&
         ok;
    char status = 0;
    ok = VERDA::Total(0, 100.0, '1', status, change, slip) && ok;
    std::string sign;
    return VERDA::CloseFiscalInv(slip, fd, sign, doc, shift) && ok;
}

void wholeReceipt(benchmark::State& state) {
    sim::Options options;
    options.transport = sim::Options::Tcp;
    options.paper = "";  // printed nowhere
    options.baud = kBaud;
    sim::Simulator simulator(options);
    std::string error;
    if (!simulator.start(error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    std::thread serving([&simulator] {
        std::string runError;
        simulator.run(runError);
    });
    {
        bench::Line line(simulator.port(), kBaud);
        VERDA::Init();
        vr35->homeDir = bench::scratchDir();
        vr35->logEnabled = false;
        bool ok = false;
        bench::quietly([&] { ok = VERDA::OpenSocket("127.0.0.1", line.port()); });
        int fd = 0, sign = 0, shift = 0;
        ok = ok && VERDA::OpenShift(1, "1", 1, "", "", "", "", fd, sign, shift);
        if (!ok) state.SkipWithError("the register does not open a shift");
        const long long before = line.bytes();
        const long long lateBefore = line.lateMicros();
        for (auto _ : state) {
            if (!receipt()) {
                state.SkipWithError("a receipt failed");
                break;
            }
        }
        const double bytes = static_cast<double>(line.bytes() - before);
        state.counters["wire_ms"] =
            benchmark::Counter(bytes * 10 * 1000 / kBaud, benchmark::Counter::kAvgIterations);
        state.counters["bytes"] = benchmark::Counter(bytes, benchmark::Counter::kAvgIterations);
        state.counters["line_late_ms"] =
            benchmark::Counter(static_cast<double>(line.lateMicros() - lateBefore) / 1000,
                               benchmark::Counter::kAvgIterations);
        VERDA::CloseSocket();
        VERDA::Done();
        vr35 = nullptr;
        bench::holdStdin();
    }
    simulator.stop();
    serving.join();
}

}  // namespace

void bench::registerReceipt() {
    benchmark::RegisterBenchmark("receipt/115200", wholeReceipt)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->MinTime(2.0);
}
