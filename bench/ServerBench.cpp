// verda_server_bench: what verda-server adds over calling the library
// directly, and how many receipts per second it commits with 1, 4 and 16
// simulated registers. Not a test: it prints figures and never fails on one.
//
//   verda_server_bench [--calls N] [--seconds S] [--clients C] [--journal-dir DIR]
//
// The overhead: the same operation N times directly through the C interface
// against one verda-sim, and through GET or POST on a verda-server whose
// register is another verda-sim, all on loopback; the medians and 99th
// percentiles, and their differences. The throughput: 4 clients for each
// register (or C) ring up one-line receipts for S seconds.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <httplib.h>

#include "capi/verda.h"

namespace {

using Clock = std::chrono::steady_clock;

// A child program whose first line of output is its address.
struct Child {
    pid_t pid = -1;
    std::string line;
};

// Its standard error goes to errors ("" : nowhere).
Child spawn(const std::vector<std::string>& args, const std::string& errors = "") {
    int out[2];
    if (pipe(out) != 0) std::abort();
    Child child;
    child.pid = fork();
    if (child.pid == 0) {
        dup2(out[1], 1);
        close(out[0]);
        close(out[1]);
        const int sink = errors.empty() ? open("/dev/null", O_WRONLY)
                                        : open(errors.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        dup2(sink, 2);
        std::vector<char*> argv;
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(out[1]);
    char c;
    while (read(out[0], &c, 1) == 1 && c != '\n') child.line += c;
    // The rest of its output (the library's transport lines) is not read;
    // the pipe stays open so that writing it never fails.
    return child;
}

void stop(Child& child) {
    if (child.pid <= 0) return;
    kill(child.pid, SIGTERM);
    waitpid(child.pid, nullptr, 0);
    child.pid = -1;
}

Child sim(const std::string& program) {
    Child c = spawn({program, "--tcp", "127.0.0.1:0", "--paper", ""});
    return c;
}

int portOf(const std::string& address) {
    return std::atoi(address.substr(address.rfind(':') + 1).c_str());
}

struct Figures {
    double median = 0, p99 = 0;
};

Figures figures(std::vector<double> micros) {
    std::sort(micros.begin(), micros.end());
    Figures f;
    f.median = micros[micros.size() / 2];
    f.p99 = micros[std::min(micros.size() - 1, micros.size() * 99 / 100)];
    return f;
}

template <class F>
Figures time(int calls, F call) {
    for (int i = 0; i < calls / 10 + 1; ++i) call(i);  // warm-up
    std::vector<double> micros;
    for (int i = 0; i < calls; ++i) {
        const auto begin = Clock::now();
        call(i);
        micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
    }
    return figures(micros);
}

void row(const char* what, Figures direct, Figures served) {
    std::printf("| %-28s | %9.1f | %9.1f | %9.1f | %9.1f | %9.1f | %9.1f |\n", what, direct.median,
                direct.p99, served.median, served.p99, served.median - direct.median,
                served.p99 - direct.p99);
}

Child server(const std::string& program, const std::string& journal,
             const std::vector<Child>& sims) {
    // Each run begins on an empty journal, beside the folders of the last
    // run's registers: on purpose.
    std::vector<std::string> args = {program,     "--listen", "127.0.0.1:0",
                                     "--journal", journal,    "--new-journal"};
    for (size_t i = 0; i < sims.size(); ++i) {
        args.push_back("--device");
        args.push_back("r" + std::to_string(i) + "=tcp:" + sims[i].line);
    }
    unlink(journal.c_str());
    return spawn(args, journal + ".log");
}

// Waits until every register is online, then opens its shift.
void ready(httplib::Client& http, size_t registers) {
    for (size_t i = 0; i < registers; ++i) {
        const std::string id = "r" + std::to_string(i);
        for (int tries = 0; tries < 600; ++tries) {
            auto res = http.Get(("/devices/" + id).c_str());
            if (res && res->body.find("\"state\":\"online\"") != std::string::npos &&
                res->body.find("\"reading\":{") != std::string::npos)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        httplib::Headers key = {{"Idempotency-Key", "shift-" + id}};
        http.Post(("/devices/" + id + "/shift/open").c_str(), key, "", "application/json");
    }
}

std::string address(const Child& server) {
    return server.line.substr(std::string("http://").size());
}

}  // namespace

int main(int argc, char** argv) {
    int calls = 2000, seconds = 10;
    size_t perRegister = 4;
    std::string dir = "/tmp";
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        if (name == "--calls") calls = std::atoi(argv[i + 1]);
        if (name == "--seconds") seconds = std::atoi(argv[i + 1]);
        if (name == "--clients") perRegister = static_cast<size_t>(std::atoi(argv[i + 1]));
        if (name == "--journal-dir") dir = argv[i + 1];
    }
    signal(SIGPIPE, SIG_IGN);
    const std::string serverProgram = VERDA_SERVER_PROGRAM, simProgram = VERDA_SIM_PROGRAM;
    const std::string journal = dir + "/verda_server_bench.db";

    // --- Overhead ------------------------------------------------------------------------
    Child direct = sim(simProgram);
    std::vector<Child> served = {sim(simProgram)};
    Child srv = server(serverProgram, journal, served);
    httplib::Client http(address(srv));
    http.set_keep_alive(true);
    http.set_tcp_nodelay(true);
    ready(http, 1);
    verda_device* d = verda_device_new();
    verda_open_socket(d, "127.0.0.1", portOf(direct.line));
    verda_PrinterInit(d);
    char datetime[64];
    std::printf("Overhead of verda-server, %d calls each, microseconds\n\n", calls);
    std::printf("| %-28s | %9s | %9s | %9s | %9s | %9s | %9s |\n", "operation", "lib med",
                "lib p99", "srv med", "srv p99", "+med", "+p99");
    std::printf("|%s|\n", std::string(96, '-').c_str());
    row("GetDateTime / GET clock",
        time(calls, [&](int) { verda_GetDateTime(d, datetime, sizeof datetime); }),
        time(calls, [&](int) { http.Get("/devices/r0/clock"); }));
    int counter = 0;
    row("OpenCashDrawer / POST drawer", time(calls, [&](int) { verda_OpenCashDrawer(d, 0); }),
        time(calls, [&](int) {
            httplib::Headers key = {{"Idempotency-Key", "drawer-" + std::to_string(counter++)}};
            http.Post("/devices/r0/drawer", key, "", "application/json");
        }));
    verda_device_free(d);
    stop(srv);
    stop(direct);
    stop(served[0]);

    // --- Receipts per second -------------------------------------------------------------
    std::printf("\nReceipts per second, %zu clients per register, %d s, journal in %s\n\n",
                perRegister, seconds, dir.c_str());
    std::printf("| registers | receipts | receipts/s | failed |\n|---|---|---|---|\n");
    for (const size_t registers : {1, 4, 16}) {
        std::vector<Child> sims;
        for (size_t i = 0; i < registers; ++i) sims.push_back(sim(simProgram));
        Child s = server(serverProgram, journal, sims);
        {
            httplib::Client setup(address(s));
            ready(setup, registers);
        }
        std::atomic<long> committed{0}, failed{0};
        std::atomic<int> firstFailure{0};
        const auto until = Clock::now() + std::chrono::seconds(seconds);
        std::vector<std::thread> clients;
        for (size_t r = 0; r < registers * perRegister; ++r)
            clients.emplace_back([&, r] {
                httplib::Client client(address(s));
                client.set_keep_alive(true);
                client.set_tcp_nodelay(true);
                client.set_read_timeout(120, 0);
                const std::string path =
                    "/devices/r" + std::to_string(r / perRegister) + "/receipts";
                const std::string body = R"({"lines": [{"name": "Хлеб", "price": 45.50}]})";
                for (long n = 0; Clock::now() < until; ++n) {
                    httplib::Headers key = {
                        {"Idempotency-Key", std::to_string(r) + "-" + std::to_string(n)}};
                    auto res = client.Post(path.c_str(), key, body, "application/json");
                    if (res && res->status == 200) {
                        ++committed;
                        continue;
                    }
                    ++failed;
                    int none = 0;
                    firstFailure.compare_exchange_strong(
                        none, res ? res->status : -static_cast<int>(res.error()));
                }
            });
        for (auto& t : clients) t.join();
        std::printf("| %9zu | %8ld | %10.1f | %6ld", registers, committed.load(),
                    static_cast<double>(committed.load()) / seconds, failed.load());
        if (failed.load() != 0) std::printf(" (the first: %d)", firstFailure.load());
        std::printf(" |\n");
        std::fflush(stdout);
        stop(s);
        for (Child& c : sims) stop(c);
    }
    unlink(journal.c_str());
    return 0;
}
