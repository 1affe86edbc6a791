#ifndef VERDA_BENCH_SUPPORT_H
#define VERDA_BENCH_SUPPORT_H

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace bench {

// A temporary directory for the benchmarks' logs, with a trailing "/".
const std::string& scratchDir();
void removeScratchDir();

// The driver's serial open closes descriptor 0, whatever it is: this keeps
// /dev/null there whenever it is free, so that no descriptor of the
// benchmarks' own lands on it.
void holdStdin();

// Runs fn with standard output sent to /dev/null: the transports' opens
// and the repeats print there, and the table is on standard output too.
void quietly(const std::function<void()>& fn);

// Google Benchmark's console table, then a summary of the ratios: the
// driver against the raw ping-pong of the same bytes, the log's share, and
// the receipt against its time on the wire.
class SummaryReporter : public benchmark::ConsoleReporter {
  public:
    SummaryReporter() : ConsoleReporter(OO_Tabular) {}  // no colours: a log reads it too
    void ReportRuns(const std::vector<Run>& runs) override;
    void printSummary() const;

  private:
    struct Figures {
        double nsPerIteration = 0;
        double medianUs = 0;
        double p99Us = 0;
        double wireMs = 0;
        double lineLateMs = 0;
        double memberUs = 0;  // medians of one call: the member, the C function, Python
        double cUs = 0;
        double pythonUs = 0;
        double bareCUs = 0;   // the C function through ctypes, in turns with Python's
        double cAddedUs = 0;  // medians of what one round's second layer took more
        double pythonAddedUs = 0;
    };
    std::vector<std::string> order_;
    std::vector<Figures> figures_;
    const Figures* find(const std::string& name) const;
};

// The whole-receipt benchmark against the simulator, when it is built.
void registerReceipt();
// What the C interface and the Python package add to the members they wrap,
// against the simulator, when it is built.
void registerCapi();

}  // namespace bench

#endif
