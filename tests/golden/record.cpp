// Records the golden sessions: each session's calls run through the library
// against a fresh simulated register, with a scripted device in between that
// passes each request on and keeps it with its reply; DIRECTORY/NAME.session
// for each. Run by scripts/record-golden.sh.
#include <cstdio>
#include <mutex>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "sim/Simulator.h"
#include "support/Golden.h"
#include "support/Sim.h"
#include "support/TestLog.h"

namespace {

// One session recorded into path; false with a message.
bool record(const golden::Session& session, const std::string& path) {
    sim::Simulator simulator(golden::registerOptions(session));
    std::string error;
    if (!simulator.start(error)) {
        std::fprintf(stderr, "%s: %s\n", session.name.c_str(), error.c_str());
        return false;
    }
    std::thread serving([&simulator] {
        std::string ignored;
        simulator.run(ignored);
    });

    std::mutex mutex;
    std::vector<std::pair<std::string, std::string>> exchanges;
    SimLine line(simulator.port());
    testing_device::ScriptedDevice device(testing_device::ScriptedDevice::Tcp);
    device.onRequest([&](const testing_device::Request& request) {
        const std::string reply = line.talk(request.raw);
        std::lock_guard<std::mutex> lock(mutex);
        exchanges.emplace_back(request.raw, reply);
        return testing_device::Answer{{reply, 0}};
    });

    TempDir home;
    VERDA::Init();
    vr35->homeDir = home.path();
    VERDA::setTimeOut(500);
    captureStdout([&] { VERDA::OpenSocket("127.0.0.1", device.port()); });
    std::vector<golden::Step> steps;
    for (const golden::Call& call : session.calls) {
        const size_t logged = logLines(home.path() + "CorteliaVERDA.log").size();
        golden::Step step{call.operation, call.run(), {}, {}};
        const std::vector<std::string> log = logLines(home.path() + "CorteliaVERDA.log");
        step.log.assign(log.begin() + static_cast<long>(logged), log.end());
        std::lock_guard<std::mutex> lock(mutex);
        step.exchanges.swap(exchanges);
        steps.push_back(step);
    }
    VERDA::CloseSocket();
    VERDA::Done();
    vr35 = nullptr;
    simulator.stop();
    serving.join();
    if (!golden::write(path, session, steps)) {
        std::fprintf(stderr, "cannot write %s\n", path.c_str());
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    for (const golden::Session& session : golden::sessions())
        if (!record(session, std::string(argv[1]) + "/" + session.name + ".session")) return 1;
    return 0;
}
