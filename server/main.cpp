// verda-server: the shop's registers as an HTTP/JSON service.
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>
#include <memory>
#include <thread>

#include <httplib.h>

#include "Api.h"
#include "Config.h"
#include "ServerLog.h"
#include "Worker.h"

using namespace server;

namespace {

const char kDescription[] =
    "verda-server: the shop's fiscal registers as an HTTP/JSON service with a journal that\n"
    "never sells twice. With no register configured it serves one simulated register, \"sim\".\n"
    "Routes: see /openapi.json. Exit status: 0 after SIGTERM or SIGINT, 1 when it cannot start,\n"
    "2 for bad options or a bad configuration file.";

std::string folderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// The requests that a stopped server left before anything was sent: they
// never reached a register.
void settleUnsent(Shared& shared, const std::string& device) {
    for (const Request& r : shared.journal.unsettled(device)) {
        if (r.state != state::kReceived) continue;
        json body = errorBody(503, "the server stopped before the request was sent");
        body["state"] = state::kNotCommitted;
        shared.record(device, r.key, "settled", {{"outcome", state::kNotCommitted}},
                      state::kNotCommitted, 503, body);
        shared.metrics.settled(device, state::kNotCommitted);
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{kDescription, "verda-server"};
    std::string configFile, listen, journal, token;
    std::vector<std::string> devices;
    app.add_option("--config", configFile, "configuration file (JSON with comments)");
    app.add_option("--listen", listen,
                   "HOST:PORT to listen on (default 127.0.0.1:8035; port 0 picks one)");
    app.add_option("--device", devices,
                   "a register: ID=tcp:HOST:PORT, ID=serial:PATH[@BAUD] or ID=sim (repeatable)");
    app.add_option("--journal", journal, "the journal's SQLite file (default verda-server.db)");
    app.add_option("--token", token, "a bearer token every request but GET /health must carry");
    app.set_version_flag("--version", std::string("verda-server ") + VERDA_VERSION);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        app.exit(e);
        return 2;
    }

    Config config;
    std::string error;
    if (!configFile.empty() && !loadConfig(configFile, config, error)) {
        std::fprintf(stderr, "verda-server: %s\n", error.c_str());
        return 2;
    }
    if (!listen.empty() && !parseListen(listen, config.listenHost, config.listenPort)) {
        std::fprintf(stderr, "verda-server: --listen: HOST:PORT, not \"%s\"\n", listen.c_str());
        return 2;
    }
    if (!journal.empty()) config.journal = journal;
    if (!token.empty()) config.token = token;
    if (!devices.empty()) config.devices.clear();
    for (const std::string& text : devices) {
        DeviceConfig d;
        if (!parseDevice(text, d, error)) {
            std::fprintf(stderr, "verda-server: %s\n", error.c_str());
            return 2;
        }
        for (const DeviceConfig& other : config.devices)
            if (other.id == d.id) {
                std::fprintf(stderr, "verda-server: --device: %s given twice\n", d.id.c_str());
                return 2;
            }
        config.devices.push_back(d);
    }
    if (config.devices.empty()) {
        DeviceConfig simulated;
        simulated.id = "sim";
        config.devices.push_back(simulated);
    }

    // SIGINT and SIGTERM are taken by one thread of their own; every other
    // thread inherits the blocked mask.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN);

    const std::string stateDir = folderOf(config.journal);
    mkdir(stateDir.c_str(), 0750);
    Journal theJournal;
    if (!theJournal.open(config.journal, error)) {
        logError(error);
        return 1;
    }
    Metrics metrics;
    Events events;
    Shared shared{config, theJournal, metrics, events};
    std::map<std::string, std::unique_ptr<Worker>> workers;
    try {
        for (const DeviceConfig& d : config.devices) {
            settleUnsent(shared, d.id);
            workers[d.id].reset(new Worker(d, shared, stateDir));
        }
    } catch (const std::exception& e) {
        logError(e.what());
        return 1;
    }

    httplib::Server http;
    const int threads = config.httpThreads;
    http.new_task_queue = [threads] {
        return new httplib::ThreadPool(static_cast<size_t>(threads));
    };
    const time_t readSeconds = config.readTimeoutMs / 1000;
    const time_t readMicros = (config.readTimeoutMs % 1000) * 1000;
    http.set_read_timeout(readSeconds, readMicros);
    http.set_write_timeout(readSeconds, readMicros);
    // Headers and body go out in separate writes: without this, each answer
    // would wait for the client's delayed acknowledgement.
    http.set_tcp_nodelay(true);
    http.set_keep_alive_timeout(5);
    http.set_keep_alive_max_count(1000);
    // SO_REUSEADDR, so that a restarted server binds at once; not
    // SO_REUSEPORT, which would let a second server share the port unseen.
    int listening = -1;
    http.set_socket_options([&listening](int socket) {
        int on = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        listening = socket;
    });
    Api api(shared, workers);
    api.install(http);

    int port = config.listenPort;
    bool bound = false;
    if (port == 0) {
        port = http.bind_to_any_port(config.listenHost);
        bound = port > 0;
    } else {
        bound = http.bind_to_port(config.listenHost, port);
    }
    if (!bound) {
        logError("cannot listen on " + config.listenHost + ":" + std::to_string(config.listenPort));
        for (auto& w : workers) w.second->stop();
        return 1;
    }
    // The library listens with a backlog of 5: a shop's POS programs that
    // connect at once would find connections reset. Listening again sets it.
    if (listening >= 0) ::listen(listening, SOMAXCONN);
    // The first line of standard output tells a person or a script where to go.
    std::printf("http://%s:%d\n", config.listenHost.c_str(), port);
    std::fflush(stdout);
    // The library writes its transport messages to standard output too; they
    // come after the address.
    for (auto& w : workers) w.second->start();
    json registers = json::array();
    for (const DeviceConfig& d : config.devices)
        registers.push_back({{"id", d.id}, {"transport", d.transport()}});
    logInfo("listening", {{"address", config.listenHost + ":" + std::to_string(port)},
                          {"journal", config.journal},
                          {"devices", registers},
                          {"token", !config.token.empty()}});

    std::thread waiter([&] {
        int got = 0;
        sigwait(&signals, &got);
        logInfo("stopping", {{"signal", got}});
        events.close();
        http.stop();
    });
    waiter.detach();
    http.listen_after_bind();
    for (auto& w : workers) w.second->stop();
    logInfo("stopped");
    return 0;
}
