// verda-server: the shop's registers as an HTTP/JSON service.
#include <dirent.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <thread>

#include <httplib.h>

#include "Api.h"
#include "BuiltInRegister.h"
#include "Config.h"
#include "HttpPool.h"
#include "ServerLog.h"
#include "Worker.h"

using namespace server;

namespace {

// How long a stop may take, beyond the clients' idle and read timeouts,
// before the process ends regardless; with the default timeouts (5 s) within
// systemd's TimeoutStopSec (verda-server.service).
const std::chrono::seconds kStopGrace(20);

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
// never reached a register, whichever it was.
void settleUnsent(Shared& shared) {
    for (const Request& r : shared.journal.unsettledElsewhere({})) {
        if (r.state != State::Received) continue;
        shared.move(r.device, r.key, State::Received, Event::Abandon,
                    {{"outcome", stateName(State::NotCommitted)}},
                    notCommitted(503, "the server stopped before the request was sent"));
        shared.metrics.settled(r.device, stateName(State::NotCommitted));
    }
}

// The registers' folders that a server makes beside its journal (ID.log):
// a server that has had a journal, whose journal is gone.
std::vector<std::string> foldersOfRegisters(const std::string& folder) {
    std::vector<std::string> found;
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) return found;
    while (const dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        struct stat info;
        if (name.size() > 4 && name.compare(name.size() - 4, 4, ".log") == 0 &&
            stat((folder + "/" + name).c_str(), &info) == 0 && S_ISDIR(info.st_mode))
            found.push_back(name);
    }
    closedir(dir);
    return found;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{kDescription, "verda-server"};
    std::string configFile, listen, journal, token, tokenFile, tlsCert, tlsKey;
    std::vector<std::string> devices, origins;
    bool newJournal = false;
    app.add_option("--config", configFile, "configuration file (JSON with comments)");
    app.add_option("--listen", listen,
                   "HOST:PORT to listen on (default 127.0.0.1:8035; port 0 picks one)");
    app.add_option("--device", devices,
                   "a register: ID=tcp:HOST:PORT, ID=serial:PATH[@BAUD] or ID=sim (repeatable)");
    app.add_option("--journal", journal, "the journal's SQLite file (default verda-server.db)");
    app.add_option("--token", token,
                   "a bearer token every request but GET /health must carry (seen by anyone who "
                   "lists the processes: beyond 127.0.0.1 give --token-file or VERDA_TOKEN)");
    app.add_option("--token-file", tokenFile,
                   "the bearer token, on the first line of a file (or in the environment as "
                   "VERDA_TOKEN)");
    app.add_option("--allow-origin", origins,
                   "SCHEME://HOST[:PORT] of a browser application that may call the server "
                   "(CORS; repeatable)");
    app.add_option("--tls-cert", tlsCert, "serve HTTPS with this certificate chain (PEM)");
    app.add_option("--tls-key", tlsKey, "the private key of --tls-cert (PEM)");
    app.add_flag("--new-journal", newJournal,
                 "start on a new, empty journal where the registers' folders show that there was "
                 "one (its requests in flight are then settled by nobody)");
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
    // The token: --token or --token-file, else VERDA_TOKEN, else the configuration's.
    if (!token.empty() && !tokenFile.empty()) {
        std::fprintf(stderr, "verda-server: --token and --token-file: give one\n");
        return 2;
    }
    if (!tokenFile.empty() && !readTokenFile(tokenFile, token, error)) {
        std::fprintf(stderr, "verda-server: %s\n", error.c_str());
        return 2;
    }
    const char* environmentToken = std::getenv("VERDA_TOKEN");
    if (token.empty() && environmentToken != nullptr && environmentToken[0] != 0)
        token = environmentToken;
    if (!token.empty()) config.token = token;
    for (const std::string& origin : origins)
        if (!validOrigin(origin)) {
            std::fprintf(stderr, "verda-server: --allow-origin: SCHEME://HOST[:PORT], not \"%s\"\n",
                         origin.c_str());
            return 2;
        }
    if (!origins.empty()) config.allowOrigins = origins;
    if (!tlsCert.empty()) config.tlsCert = tlsCert;
    if (!tlsKey.empty()) config.tlsKey = tlsKey;
    if (config.tlsCert.empty() != config.tlsKey.empty()) {
        std::fprintf(stderr, "verda-server: --tls-cert and --tls-key go together\n");
        return 2;
    }
    for (const std::string* file : {&config.tlsCert, &config.tlsKey})
        if (!file->empty() && access(file->c_str(), R_OK) != 0) {
            std::fprintf(stderr, "verda-server: %s: cannot read %s\n",
                         file == &config.tlsCert ? "--tls-cert" : "--tls-key", file->c_str());
            return 2;
        }
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
    // HTTPS when a certificate is given: the same routes over TLS (OpenSSL).
    std::unique_ptr<httplib::Server> server;
    if (config.tlsCert.empty()) {
        server.reset(new httplib::Server);
    } else {
        auto secure =
            std::make_unique<httplib::SSLServer>(config.tlsCert.c_str(), config.tlsKey.c_str());
        if (!secure->is_valid()) {
            std::fprintf(stderr,
                         "verda-server: --tls-cert %s and --tls-key %s: not a PEM certificate "
                         "chain and its private key\n",
                         config.tlsCert.c_str(), config.tlsKey.c_str());
            return 2;
        }
        server = std::move(secure);
    }
    httplib::Server& http = *server;
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
    // A file size limit makes the journal's writes fail, like a full disk;
    // it never ends the process.
    signal(SIGXFSZ, SIG_IGN);

    const std::string stateDir = folderOf(config.journal);
    mkdir(stateDir.c_str(), 0750);
    // A server that has had a journal never starts silently on an empty one:
    // the requests in flight in the lost one would be settled by nobody, and
    // a repeat of a committed key would sell again.
    struct stat existing;
    const std::vector<std::string> folders = foldersOfRegisters(stateDir);
    if (stat(config.journal.c_str(), &existing) != 0 && !folders.empty() && !newJournal) {
        std::fprintf(stderr,
                     "verda-server: the journal %s is missing, but %s holds the folders of its "
                     "registers (%s): restore the journal, or start with --new-journal to begin "
                     "an empty one\n",
                     config.journal.c_str(), stateDir.c_str(), folders.front().c_str());
        return 2;
    }
    RequestJournal theJournal;
    if (!theJournal.open(config.journal, error)) {
        logError(error);
        return 1;
    }
    Metrics metrics;
    Events events;
    Shared shared{config, theJournal, metrics, events};
    std::map<std::string, std::unique_ptr<BuiltInRegister>> simulated;
    std::map<std::string, std::unique_ptr<Worker>> workers;
    try {
        settleUnsent(shared);
        for (DeviceConfig d : config.devices) {
            std::string paper;
            if (d.kind == DeviceConfig::Simulated) {
                auto& built = simulated[d.id];
                built.reset(new BuiltInRegister(stateDir, d.id));
                d.host = "127.0.0.1";
                d.port = built->port();
                paper = built->paperFile();
            }
            workers[d.id].reset(new Worker(d, shared, stateDir, paper));
        }
    } catch (const std::exception& e) {
        logError(e.what());
        return 1;
    }
    const size_t threads = static_cast<size_t>(config.httpThreads);
    http.new_task_queue = [threads] { return new HttpPool(threads); };
    const time_t readSeconds = config.readTimeoutMs / 1000;
    const time_t readMicros = (config.readTimeoutMs % 1000) * 1000;
    http.set_read_timeout(readSeconds, readMicros);
    http.set_write_timeout(readSeconds, readMicros);
    // Headers and body go out in separate writes: without this, each answer
    // would wait for the client's delayed acknowledgement.
    http.set_tcp_nodelay(true);
    http.set_keep_alive_timeout(std::max(1, config.idleTimeoutMs / 1000));
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
        return 1;
    }
    // The library listens with a backlog of 5: a shop's POS programs that
    // connect at once would find connections reset. Listening again sets it.
    if (listening >= 0) ::listen(listening, SOMAXCONN);
    // The first line of standard output tells a person or a script where to go.
    std::printf("%s://%s:%d\n", config.tlsCert.empty() ? "http" : "https",
                config.listenHost.c_str(), port);
    std::fflush(stdout);
    // The library writes its transport messages to standard output too; they
    // come after the address.
    theJournal.onHealthChange([&](const JournalHealth& health) {
        if (!health.writable) metrics.journalFailed();
        // Back to work at once: what waited for the journal is settled.
        for (auto& w : workers) w.second->wake();
    });
    for (auto& s : simulated) s.second->start();
    for (auto& w : workers) w.second->start();
    json registers = json::array();
    for (const DeviceConfig& d : config.devices)
        registers.push_back({{"id", d.id}, {"transport", d.transport()}});
    logInfo("listening", {{"address", config.listenHost + ":" + std::to_string(port)},
                          {"journal", config.journal},
                          {"devices", registers},
                          {"token", !config.token.empty()},
                          {"tls", !config.tlsCert.empty()},
                          {"allow_origin", config.allowOrigins}});
    const json unconfigured = api.unconfigured();
    if (!unconfigured.empty())
        logWarn(
            "requests in flight of registers that are not configured: settled when their "
            "register is configured again, or by hand",
            {{"requests", unconfigured}});

    // The stop: no new connection, then every register's queue stops (what
    // waits there was never sent and is answered not-sent at once), and the
    // request that a worker is running reaches a recorded state. A run that
    // waits for its register gives up at the stop (the queue's pause ends),
    // leaving its request not-sent, or ambiguous once it may have fiscalised,
    // which the next start settles from the register; a command under way
    // ends within the library's timeout. Each connection ends after its
    // answer; one kept alive or silent ends at the client's idle or read
    // timeout. The journal is closed last, and the status is 0. A grace
    // bounds it all in case of a defect: past it the process ends with
    // status 1, like a kill, which the journal survives.
    const auto grace =
        kStopGrace +
        std::chrono::seconds(std::max(config.idleTimeoutMs, config.readTimeoutMs) / 1000);
    std::atomic<bool> signalled{false}, ended{false};
    std::thread waiter([&] {
        int got = 0;
        sigwait(&signals, &got);
        signalled = true;
        if (ended) return;  // woken by the main thread: the server never ran
        logInfo("stopping", {{"signal", got}});
        std::thread([grace] {
            std::this_thread::sleep_for(grace);
            logError("the stop took longer than " + std::to_string(grace.count()) +
                     " s; ending now: what was in flight is settled at the next start");
            std::_Exit(1);
        }).detach();
        // A signal that comes before the listening loop has begun waits for it.
        while (!http.is_running() && !ended)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        http.stop();
        events.close();
        for (auto& w : workers) w.second->stop();
    });
    http.listen_after_bind();
    ended = true;
    if (!signalled) {
        logError("the server stopped listening");
        kill(getpid(), SIGTERM);  // wakes the waiter
        waiter.join();
        return 1;
    }
    waiter.join();
    theJournal.onHealthChange(nullptr);
    for (auto& s : simulated) s.second->stop();
    logInfo("stopped");
    // The workers, then the journal (checkpointed and closed), end with this scope.
    return 0;
}
