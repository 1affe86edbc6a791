#include "bench/Support.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tools/log.h"

namespace bench {

const std::string& scratchDir() {
    static const std::string dir = [] {
        char name[] = "/tmp/verda-bench-XXXXXX";
        if (mkdtemp(name) == nullptr) std::abort();
        return std::string(name) + "/";
    }();
    return dir;
}

void removeScratchDir() {
    const std::string log = scratchDir() + kLogFileName;
    std::remove(log.c_str());
    std::remove((log + ".1").c_str());
    rmdir(scratchDir().c_str());
}

void holdStdin() {
    if (fcntl(0, F_GETFD) == -1) open("/dev/null", O_RDONLY);
}

void quietly(const std::function<void()>& fn) {
    holdStdin();
    std::fflush(stdout);
    const int saved = dup(1);
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, 1);
    close(null);
    fn();
    std::fflush(stdout);
    dup2(saved, 1);
    close(saved);
}

void SummaryReporter::ReportRuns(const std::vector<Run>& runs) {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
        Figures f;
        f.nsPerIteration =
            run.GetAdjustedRealTime() * (run.time_unit == benchmark::kMillisecond   ? 1e6
                                         : run.time_unit == benchmark::kMicrosecond ? 1e3
                                                                                    : 1.0);
        auto counter = [&run](const char* name) {
            const auto it = run.counters.find(name);
            return it == run.counters.end() ? 0.0 : static_cast<double>(it->second);
        };
        f.medianUs = counter("median_us");
        f.p99Us = counter("p99_us");
        f.wireMs = counter("wire_ms");
        f.lineLateMs = counter("line_late_ms");
        f.memberUs = counter("member_us");
        f.cUs = counter("c_us");
        f.pythonUs = counter("python_us");
        f.bareCUs = counter("bare_c_us");
        f.cAddedUs = counter("added_us");
        f.pythonAddedUs = counter("python_added_us");
        order_.push_back(run.benchmark_name());
        figures_.push_back(f);
    }
}

const SummaryReporter::Figures* SummaryReporter::find(const std::string& name) const {
    for (size_t i = 0; i < order_.size(); ++i)
        if (order_[i].rfind(name, 0) == 0) return &figures_[i];
    return nullptr;
}

void SummaryReporter::printSummary() const {
    std::printf("\n%-34s %10s %9s %10s %9s %11s %13s\n", "exchange", "per second", "mean us",
                "median us", "p99 us", "mean/floor", "median/floor");
    for (const char* op : {"CheckConnection", "RegisterSale"}) {
        for (const char* kind : {"tcp", "pty"}) {
            const std::string suffix = std::string(op) + "/" + kind;
            const Figures* floor = find("floor/" + suffix);
            for (const char* mode : {"floor", "floor_8_writes", "log_off", "log_on"}) {
                const Figures* f = find(std::string(mode) + "/" + suffix);
                if (f == nullptr) continue;
                const std::string label = suffix + " " + mode;
                std::printf("%-34s %10.0f %9.1f %10.1f %9.1f", label.c_str(),
                            1e9 / f->nsPerIteration, f->nsPerIteration / 1e3, f->medianUs,
                            f->p99Us);
                if (floor != nullptr)
                    std::printf(" %11.2f %13.2f", f->nsPerIteration / floor->nsPerIteration,
                                f->medianUs / floor->medianUs);
                std::printf("\n");
            }
        }
    }
    if (const Figures* line = find("log_line"))
        std::printf("\none log line: %.1f us\n", line->nsPerIteration / 1e3);
    if (const Figures* receipt = find("receipt")) {
        if (receipt->wireMs > 0) {
            const double ms = receipt->nsPerIteration / 1e6;
            std::printf("receipt at 115200 baud: %.1f ms, on the wire %.1f ms, ratio %.3f\n", ms,
                        receipt->wireMs, ms / receipt->wireMs);
            std::printf("  of which the line emulation ran late %.1f ms; without that, %.3f\n",
                        receipt->lineLateMs, (ms - receipt->lineLateMs) / receipt->wireMs);
        }
    }
    bool header = false;
    for (const char* op : {"CheckConnection", "GetDateTime"}) {
        const Figures* c = find(std::string("capi/") + op);
        const Figures* python = find(std::string("python/") + op);
        if (c == nullptr) continue;
        if (!header)
            std::printf("\n%-16s %10s %10s %8s %10s %10s %8s %9s\n", "median of a call",
                        "member us", "C us", "C adds", "Python us", "ctypes us", "Py adds",
                        "in all");
        header = true;
        const double cAdds = c->cAddedUs;
        std::printf("%-16s %10.1f %10.1f %8.2f", op, c->memberUs, c->cUs, cAdds);
        // Python over the bare C call (in turns in one process), plus the C
        // function over the member.
        if (python != nullptr && python->pythonUs > 0)
            std::printf(" %10.1f %10.1f %8.1f %9.1f", python->pythonUs, python->bareCUs,
                        python->pythonAddedUs, python->pythonAddedUs + cAdds);
        std::printf("\n");
    }
    std::fflush(stdout);
}

}  // namespace bench
