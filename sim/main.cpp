// verda-sim: a simulated register for the CorteliaVERDA driver.
#include <csignal>
#include <cstdio>

#include "sim/Simulator.h"

namespace {

sim::Simulator* running = nullptr;

void onSignal(int) {
    if (running != nullptr) running->stop();
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    sim::Options options;
    std::string error;
    if (!sim::parseOptions(args, options, error)) {
        std::fprintf(stderr, "verda-sim: %s\nTry 'verda-sim --help'.\n", error.c_str());
        return 2;
    }
    if (options.help) {
        std::fputs(sim::usage().c_str(), stdout);
        return 0;
    }
    if (options.version) {
        std::printf("verda-sim (CorteliaVERDA) %s\n", VERDA_VERSION);
        return 0;
    }
    sim::Simulator simulator(options);
    if (!simulator.start(error)) {
        std::fprintf(stderr, "verda-sim: %s\n", error.c_str());
        return 1;
    }
    running = &simulator;
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    // The first line tells the client where to connect.
    std::printf("%s\n", simulator.address().c_str());
    std::fflush(stdout);
    const bool ok = simulator.run(error);
    running = nullptr;
    if (!ok) {
        std::fprintf(stderr, "verda-sim: %s\n", error.c_str());
        return 1;
    }
    return 0;
}
