// What the C interface and the Python package add to the member of VR35
// that they wrap, against the simulated register of this process on loopback
// TCP: each round calls the member and its C function on one handle's link,
// in turns, so that both meet the same register in the same state; the Python
// package's method is timed by bench/python_calls.py against the same
// register, in the same run, in turns with the C function called straight
// through ctypes.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/Support.h"
#include "capi/Wrapper.h"
#include "sim/Simulator.h"

namespace {

using Clock = std::chrono::steady_clock;

// An operation through its member and through its C function.
struct Operation {
    const char* name;    // the member's
    const char* method;  // the Python method's
    int (*member)(VR35&);
    int (*c)(verda_device*);
};

char dateTime[64];

const Operation kOperations[] = {
    {"CheckConnection", "check_connection", [](VR35& device) { return device.CheckConnection(); },
     [](verda_device* d) { return verda_CheckConnection(d); }},
    {"GetDateTime", "get_date_time",
     [](VR35& device) {
         std::string text;
         return device.GetDateTime(text);
     },
     [](verda_device* d) { return verda_GetDateTime(d, dateTime, sizeof dateTime); }},
};

// The simulated register, started on first use and stopped at exit.
class Register {
  public:
    static Register& get() {
        static Register instance;
        return instance;
    }
    int port() const { return port_; }

  private:
    Register() {
        sim::Options options;
        options.transport = sim::Options::Tcp;
        options.paper = "";  // printed nowhere
        simulator_.reset(new sim::Simulator(options));
        std::string error;
        if (!simulator_->start(error)) return;
        port_ = simulator_->port();
        thread_ = std::thread([this] {
            std::string ignored;
            simulator_->run(ignored);
        });
    }
    ~Register() {
        simulator_->stop();
        if (thread_.joinable()) thread_.join();
    }
    std::unique_ptr<sim::Simulator> simulator_;
    std::thread thread_;
    int port_ = 0;
};

double median(std::vector<double>& samples) {
    std::sort(samples.begin(), samples.end());
    return samples.empty() ? 0 : samples[samples.size() / 2];
}

double microseconds(Clock::duration d) {
    return std::chrono::duration<double, std::micro>(d).count();
}

void memberAndC(benchmark::State& state, const Operation& op) {
    const int port = Register::get().port();
    verda_device* d = verda_device_new();
    int opened = VERDA_INTERNAL_ERROR;
    bench::quietly([&] { opened = verda_open_socket(d, "127.0.0.1", port); });
    if (port == 0 || opened != VERDA_OK) {
        state.SkipWithError("no simulated register");
        verda_device_free(d);
        return;
    }
    std::vector<double> member, c, added;
    member.reserve(1 << 16);
    c.reserve(1 << 16);
    added.reserve(1 << 16);
    bool memberFirst = true;  // in turns: neither gains from its place in the round
    for (auto _ : state) {
        int results[2] = {0, 0};
        for (int i = 0; i < 2; ++i) {
            const bool viaMember = (i == 0) == memberFirst;
            const Clock::time_point begin = Clock::now();
            results[i] = viaMember ? op.member(d->device) : op.c(d);
            (viaMember ? member : c).push_back(microseconds(Clock::now() - begin));
        }
        memberFirst = !memberFirst;
        if (results[0] != 0 || results[1] != 0) {
            state.SkipWithError("the register refused");
            break;
        }
        added.push_back(c.back() - member.back());  // the two calls of one round
    }
    state.counters["member_us"] = median(member);
    state.counters["c_us"] = median(c);
    state.counters["added_us"] = median(added);
    verda_device_free(d);
}

// The Python package: the median of the script's calls of the method, as one
// iteration, that of the bare C calls it made in turns with them, and the
// median of what the method took over the bare call in each round.
void python(benchmark::State& state, const Operation& op) {
    const std::string command =
        "VERDA_LIBRARY='" VERDA_BENCH_LIBRARY "' PYTHONPATH='" VERDA_BENCH_PYTHONPATH
        "' /usr/bin/python3 '" VERDA_BENCH_SCRIPT "' 127.0.0.1 " +
        std::to_string(Register::get().port()) + " " + op.method + " 5000 2>/dev/null";
    for (auto _ : state) {
        double seconds = 0, bare = 0, added = 0;
        FILE* script = popen(command.c_str(), "r");
        char line[256];
        while (script != nullptr && std::fgets(line, sizeof line, script) != nullptr)
            std::sscanf(line, "seconds %lf %lf %lf", &seconds, &bare, &added);
        if (script != nullptr) pclose(script);
        if (seconds <= 0 || bare <= 0) {
            state.SkipWithError("bench/python_calls.py gave no figure (is the package built?)");
            break;
        }
        state.SetIterationTime(seconds);
        state.counters["python_us"] = seconds * 1e6;
        state.counters["bare_c_us"] = bare * 1e6;
        state.counters["python_added_us"] = added * 1e6;
    }
}

}  // namespace

void bench::registerCapi() {
    for (const Operation& op : kOperations) {
        benchmark::RegisterBenchmark((std::string("capi/") + op.name).c_str(), memberAndC, op)
            ->UseRealTime();
        benchmark::RegisterBenchmark((std::string("python/") + op.name).c_str(), python, op)
            ->UseManualTime()
            ->Iterations(1);
    }
}
