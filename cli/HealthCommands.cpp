// doctor and discover: a register's fiscal health, line by line, and where
// registers answer. Both only read: doctor through DiagnosticInfo and the
// status reads of common/FiscalHealth.h, discover through DiagnosticInfo
// alone; neither prints on the register's paper or changes anything there.
#include <fcntl.h>
#include <glob.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <functional>
#include <mutex>
#include <new>
#include <thread>
#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "cli/Format.h"
#include "common/FiscalHealth.h"

namespace cli {

namespace {

using health::Seconds;
using nlohmann::json;

// How far the register's clock may stand from this computer's before doctor
// calls for attention: its documents carry its time.
const Seconds kClockTolerance = 5 * 60;

// --- What the register is -----------------------------------------------------

struct Identity {
    int result = 0;  // of DiagnosticInfo
    std::string model, firmware, deviceNumber;
};

Identity identify(verda_device* d) {
    Identity id;
    TextOut name, revision, date, time, checksum, software, number;
    id.result = verda_DiagnosticInfo(d, name.data(), name.size(), revision.data(), revision.size(),
                                     date.data(), date.size(), time.data(), time.size(),
                                     checksum.data(), checksum.size(), software.data(),
                                     software.size(), number.data(), number.size());
    id.model = name.shown();
    id.firmware = revision.shown();
    id.deviceNumber = number.shown();
    return id;
}

// "26 h 5 min", "40 days", "12 min", "30 s".
std::string span(Seconds s) {
    if (s < 0) s = -s;
    if (s >= 2 * health::kDay) return std::to_string(s / health::kDay) + " days";
    if (s >= health::kHour)
        return std::to_string(s / health::kHour) + " h " + std::to_string(s % health::kHour / 60) +
               " min";
    if (s >= 60) return std::to_string(s / 60) + " min";
    return std::to_string(s) + " s";
}

// --- doctor ---------------------------------------------------------------------------

struct Check {
    const char* name;
    std::string verdict;  // ok, attention, blocked, or unknown: not read
    std::string text;
};

class Doctor {
  public:
    explicit Doctor(Session& session) : session_(session) {}

    // The checks; throws Failure for the exit status after they are shown.
    void run(bool asJson);

  private:
    void linkFailed(const std::string& why);
    void examine(verda_device* d);
    void add(const char* name, const std::string& verdict, const std::string& text) {
        checks_.push_back({name, verdict, text});
    }
    // The line of a check whose read (operation) failed: the register's
    // refusal and its text, or the link lost.
    void unread(const char* name, const char* operation);
    // The verdict of the reasons (codes) that belong to one check, and their texts.
    std::pair<std::string, std::string> judged(std::initializer_list<const char*> codes) const;
    std::string overall() const;
    void show(bool asJson) const;

    Session& session_;
    std::vector<Check> checks_;
    Identity identity_;
    bool lost_ = false;
    health::Health health_;
    health::Verdict verdict_;
    bool examined_ = false;
};

std::string where(const Global& g) {
    return g.serial.empty() ? g.host + ":" + std::to_string(g.port)
                            : g.serial + " at " + std::to_string(g.baud) + " baud";
}

void Doctor::run(bool asJson) {
    verda_device* d = nullptr;
    try {
        d = session_.connect(false);
    } catch (const Failure& failure) {
        linkFailed(failure.message.empty() ? "the link cannot be opened" : failure.message);
    }
    if (d != nullptr) {
        identity_ = identify(d);
        if (identity_.result != VERDA_EXCHANGE_FAILED)
            examine(d);
        else
            linkFailed("the register does not answer on " + where(session_.global()));
    }
    show(asJson);
    const std::string verdict = overall();
    if (lost_) throw Failure{"", VERDA_EXCHANGE_FAILED, "the register does not answer"};
    if (verdict != "ok") throw Failure{"", 1, "the verdict is " + verdict};
}

void Doctor::linkFailed(const std::string& why) {
    lost_ = true;
    checks_ = {{"link", "blocked", why}};
    for (const char* name :
         {"register", "clock", "shift", "fiscal drive", "drive deadline", "unsent", "warnings"})
        checks_.push_back({name, "unknown", "not read"});
    verdict_.level = health::Level::Blocked;
    verdict_.reasons = {health::reason("link-down")};
}

std::pair<std::string, std::string> Doctor::judged(std::initializer_list<const char*> codes) const {
    health::Level level = health::Level::Ok;
    std::string texts;
    for (const health::Reason& r : verdict_.reasons)
        for (const char* code : codes)
            if (r.code == code) {
                level = std::max(level, r.level);
                texts += ": " + r.text;
            }
    return {health::levelName(level), texts};
}

void Doctor::unread(const char* name, const char* operation) {
    for (const health::Failure& f : health_.failures)
        if (f.operation == operation && f.code != VERDA_EXCHANGE_FAILED)
            return add(name, "attention",
                       std::string(operation) + " refused: error " + std::to_string(f.code) + ": " +
                           session_.explain(f.code));
    add(name, "unknown", "not read: the register stopped answering");
}

void Doctor::examine(verda_device* d) {
    const health::Reading reading = health::read(d);
    health_ = health::decode(reading);
    const Seconds now = std::time(nullptr);
    verdict_ = health::judge(health_, now);
    examined_ = true;
    lost_ = health_.linkLost;
    const health::Health& h = health_;

    add("link", lost_ ? "blocked" : "ok",
        (lost_ ? "the register stopped answering on " : "the register answers on ") +
            where(session_.global()));
    if (identity_.result == 0)
        add("register", "ok",
            identity_.model + ", firmware " + identity_.firmware + ", device number " +
                identity_.deviceNumber);
    else
        add("register", "attention",
            "DiagnosticInfo refused: error " + std::to_string(identity_.result) + ": " +
                session_.explain(identity_.result));

    if (h.clock) {
        const Seconds ahead = *h.clock - health::localOf(h.readAt);
        const std::string against =
            ahead == 0 ? "the same as this computer's"
                       : span(ahead) + (ahead > 0 ? " ahead of" : " behind") + " this computer";
        add("clock", ahead > kClockTolerance || -ahead > kClockTolerance ? "attention" : "ok",
            health::registerTimeText(*h.clock) + ", " + against);
    } else if (reading.clock.ok()) {
        add("clock", "attention", "does not read as a time: " + shown(reading.clock.fields));
    } else {
        unread("clock", "GetDateTime");
    }

    if (h.shift) {
        const auto j = judged({"shift-over-24h", "shift-near-24h"});
        std::string text = "closed";
        if (h.shift->open)
            text = "open" +
                   (h.shift->openedAt ? " since " + health::registerTimeText(*h.shift->openedAt)
                                      : std::string()) +
                   ", for " + span(h.shift->age) + j.second;
        add("shift", j.first, text);
    } else {
        unread("shift", "GetStatusShift");
    }

    if (h.drive) {
        const health::Drive& f = *h.drive;
        add("fiscal drive", "ok",
            shown(f.number) + ", " + f.phase.text + " (phase " + shown(f.phaseValue) + "), " +
                shown(f.registrationsLeft) + " registrations left");
        if (f.deadline) {
            const auto j = judged({"drive-expired", "drive-deadline-near"});
            const Seconds left = *f.validityEnds() - h.registerNow(now);
            add("drive deadline", j.first,
                "valid through " + health::registerDateText(*f.deadline) +
                    (left > 0 ? ", " + span(left) + " left" : ", expired") + j.second);
        } else {
            add("drive deadline", "attention",
                "does not read as a date: " + shown(f.deadlineValue));
        }
    } else {
        unread("fiscal drive", "GetStateFN");
        unread("drive deadline", "GetStateFN");
    }

    if (h.queue) {
        const health::Queue& q = *h.queue;
        const auto j = judged({"unsent-old"});
        std::string text = "none";
        if (q.unsent > 0) {
            text = std::to_string(q.unsent) + " document" + (q.unsent == 1 ? "" : "s") +
                   ", the oldest (" + std::to_string(q.firstUnsent) + ") ";
            text += q.oldest ? "from " + health::registerTimeText(*q.oldest) + ", " +
                                   span(h.registerNow(now) - *q.oldest) + " ago"
                             : "of " + shown(q.oldestValue);
            text += j.second;
        }
        add("unsent", j.first, text);
    } else {
        unread("unsent", "GetOFDandFNStatus");
    }

    if (h.drive) {
        const auto j = judged({"drive-warnings"});
        std::string text = "none";
        if (!h.drive->warnings.empty()) {
            text = shown(h.drive->flagsValue);
            for (const health::Meaning& m : h.drive->warnings) text += "; " + m.text;
        }
        add("warnings", j.first, text);
    } else {
        unread("warnings", "GetStateFN");
    }
}

std::string Doctor::overall() const {
    std::string worst = "ok";
    for (const Check& c : checks_) {
        if (c.verdict == "blocked") return "blocked";
        if (c.verdict != "ok") worst = "attention";
    }
    return worst;
}

void Doctor::show(bool asJson) const {
    const std::string verdict = overall();
    if (asJson) {
        json checks = json::array();
        for (const Check& c : checks_)
            checks.push_back({{"check", c.name}, {"verdict", c.verdict}, {"text", c.text}});
        json out = health::toJson(verdict_);
        out["verdict"] = verdict;
        out["checks"] = checks;
        out["register"] = examined_ && identity_.result == 0
                              ? json{{"model", identity_.model},
                                     {"firmware", identity_.firmware},
                                     {"device_number", identity_.deviceNumber}}
                              : json();
        out["health"] = examined_ ? health::toJson(health_) : json();
        session_.out() << out.dump(2) << '\n';
        return;
    }
    std::vector<std::vector<std::string>> rows;
    for (const Check& c : checks_) rows.push_back({c.name, c.verdict, c.text});
    std::string reasons;
    for (const health::Reason& r : verdict_.reasons)
        reasons += (reasons.empty() ? "" : ", ") + r.code;
    rows.push_back({"verdict", verdict, reasons.empty() ? "all fine" : reasons});
    printGrid(session_.out(), rows);  // no header: a line is a check
}

// --- discover ---------------------------------------------------------------------------

// Each read's wait while looking, unless --timeout says otherwise: the
// shortest a serial line has (a tenth of a second) and the library's
// default on TCP. The driver gives up a send after ten reads without a byte
// and an exchange after five sends, so a silent speed costs 5 s on a serial
// line and a silent TCP address 2.5 s.
const int kSerialWaitMs = 100;
const int kTcpWaitMs = 50;

// Where to look: a serial line or a TCP address.
struct Place {
    std::string name;     // as shown: the path, or HOST:PORT
    std::string host;     // TCP only
    int port = 0;         // TCP only
    bool listed = false;  // found by looking, not given
};

// What was found at one place: a register, or why not.
struct Outcome {
    bool found = false;
    int baud = 0;  // 0 on TCP
    Identity identity;
    std::string missed;  // why nothing was found; empty for a place passed over
};

// The serial ports present.
std::vector<Place> serialPorts() {
    std::vector<Place> places;
    for (const char* pattern : {"/dev/ttyS*", "/dev/ttyUSB*", "/dev/ttyACM*"}) {
        glob_t found;
        if (glob(pattern, 0, nullptr, &found) == 0)
            for (size_t i = 0; i < found.gl_pathc; ++i)
                places.push_back(Place{found.gl_pathv[i], "", 0, true});
        globfree(&found);
    }
    return places;
}

// Whether host:port takes a connection within two seconds (the library's
// own connect would wait as long as the system lets it); why not in why.
bool reachable(const Place& place, std::string& why) {
    addrinfo hints = addrinfo();
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* address = nullptr;
    if (getaddrinfo(place.host.c_str(), std::to_string(place.port).c_str(), &hints, &address) !=
            0 ||
        address == nullptr) {
        why = "no IPv4 address for " + place.host;
        return false;
    }
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    int error = fd < 0 ? errno : 0;
    if (fd >= 0 && connect(fd, address->ai_addr, address->ai_addrlen) != 0) {
        error = errno;
        if (error == EINPROGRESS) {
            pollfd ready = {fd, POLLOUT, 0};
            socklen_t size = sizeof error;
            if (poll(&ready, 1, 2000) != 1)
                error = ETIMEDOUT;
            else if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0)
                error = errno;
        }
    }
    if (fd >= 0) close(fd);
    freeaddrinfo(address);
    if (error != 0) why = error == ETIMEDOUT ? "no connection within 2 s" : std::strerror(error);
    return error == 0;
}

class Discovery {
  public:
    Discovery(Session& session, std::vector<int> bauds)
        : session_(session), bauds_(std::move(bauds)) {}

    // Looks at every place at once, each in a thread of its own with a
    // handle of its own; the outcomes in the order of the places.
    std::vector<Outcome> look(const std::vector<Place>& places);

  private:
    Outcome serial(const Place& place);
    Outcome tcp(const Place& place);
    // A fresh handle, opened by open, asked DiagnosticInfo; false when the
    // open failed.
    bool probe(int timeout, const std::function<int(verda_device*)>& open, Outcome& outcome);
    void say(const std::string& line);

    Session& session_;
    std::vector<int> bauds_;  // fastest first
    std::mutex mutex_;        // of the session's error stream
};

std::vector<Outcome> Discovery::look(const std::vector<Place>& places) {
    std::vector<Outcome> outcomes(places.size());
    std::vector<std::thread> threads;
    for (size_t i = 0; i < places.size(); ++i)
        threads.emplace_back([this, &places, &outcomes, i] {
            outcomes[i] = places[i].host.empty() ? serial(places[i]) : tcp(places[i]);
        });
    for (std::thread& thread : threads) thread.join();
    return outcomes;
}

void Discovery::say(const std::string& line) {
    std::lock_guard<std::mutex> lock(mutex_);
    session_.err() << "verda: " << line << '\n' << std::flush;
}

bool Discovery::probe(int timeout, const std::function<int(verda_device*)>& open,
                      Outcome& outcome) {
    verda_device* d = verda_device_new();
    if (d == nullptr) throw std::bad_alloc();
    verda_set_log_dir(d, session_.environment().home.c_str());
    verda_set_timeout(d, timeout);
    const bool opened = open(d) == VERDA_OK;
    if (opened) {
        outcome.identity = identify(d);
        outcome.found = outcome.identity.result != VERDA_EXCHANGE_FAILED;
    }
    verda_close(d);
    verda_device_free(d);
    return opened;
}

Outcome Discovery::serial(const Place& place) {
    Outcome outcome;
    // Opened here first, for the reason that the library does not give.
    const int fd = open(place.name.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        const int error = errno;
        // A listed port with no device behind it, as most /dev/ttyS* are.
        if (!place.listed || (error != EIO && error != ENXIO && error != ENODEV))
            outcome.missed = error == EACCES
                                 ? "permission denied (the user may need the group dialout)"
                                 : std::strerror(error);
        return outcome;
    }
    close(fd);
    say("looking on " + place.name + "...");
    const int wait = session_.global().timeoutMs < 0 ? kSerialWaitMs : session_.global().timeoutMs;
    for (int baud : bauds_) {
        // The library counts 10 ms on a serial line.
        if (!probe(
                std::max(10, wait / 10),
                [&](verda_device* d) { return verda_open_serial(d, place.name.c_str(), baud); },
                outcome)) {
            outcome.missed = "not a serial line the driver can set up";
            return outcome;
        }
        if (outcome.found) {
            outcome.baud = baud;
            return outcome;
        }
    }
    outcome.missed = "nothing answers at " +
                     (bauds_.size() == 1 ? std::to_string(bauds_.front())
                                         : std::to_string(bauds_.back()) + " to " +
                                               std::to_string(bauds_.front())) +
                     " baud";
    return outcome;
}

Outcome Discovery::tcp(const Place& place) {
    Outcome outcome;
    if (!reachable(place, outcome.missed)) return outcome;
    say("looking on " + place.name + "...");
    const int wait = session_.global().timeoutMs < 0 ? kTcpWaitMs : session_.global().timeoutMs;
    if (!probe(
            wait,
            [&](verda_device* d) { return verda_open_socket(d, place.host.c_str(), place.port); },
            outcome))
        outcome.missed = "the connection cannot be opened";
    else if (!outcome.found)
        outcome.missed = "nothing answers";
    return outcome;
}

void runDiscover(Session& session, const std::vector<std::string>& serials,
                 const std::vector<std::string>& tcps, const std::vector<std::string>& speeds,
                 bool asJson) {
    if (session.global().hasTransport())
        throw UsageError("discover takes its ports after the command: discover --serial PATH");
    std::vector<int> bauds;
    for (auto baud = std::rbegin(kBaudRates); baud != std::rend(kBaudRates); ++baud)
        if (speeds.empty() ||
            std::find(speeds.begin(), speeds.end(), std::to_string(*baud)) != speeds.end())
            bauds.push_back(*baud);
    for (const std::string& speed : speeds)
        if (std::find(std::begin(kBaudRates), std::end(kBaudRates),
                      toInt(speed, 1, 115200, "--baud")) == std::end(kBaudRates))
            throw UsageError("--baud: the port cannot run at " + speed);
    std::vector<Place> places;
    for (const std::string& path : serials) {
        if (path.empty()) throw UsageError("--serial needs a value");
        places.push_back(Place{path, "", 0, false});
    }
    for (const std::string& address : tcps) {
        Place place{address, "", 0, false};
        place.port = hostPort(address, place.host);
        places.push_back(place);
    }
    if (places.empty()) {
        places = serialPorts();
        if (places.empty())
            throw Failure{"", 1,
                          "no serial port here (/dev/ttyS*, /dev/ttyUSB*, /dev/ttyACM*): give "
                          "--serial PATH or --tcp HOST:PORT"};
    }
    const std::vector<Outcome> outcomes = Discovery(session, bauds).look(places);

    bool any = false;
    json registers = json::array(), missed = json::array();
    std::vector<std::vector<std::string>> rows{
        {"where", "baud", "model", "device number", "firmware"}};
    for (size_t i = 0; i < places.size(); ++i) {
        const Outcome& o = outcomes[i];
        const std::string& where = places[i].name;
        if (!o.found) {
            if (o.missed.empty()) continue;
            if (asJson)
                missed.push_back({{"where", where}, {"why", o.missed}});
            else
                session.err() << "verda: " << where << ": " << o.missed << '\n';
            continue;
        }
        any = true;
        const Identity& id = o.identity;
        registers.push_back({{"where", where},
                             {"transport", o.baud == 0 ? "tcp" : "serial"},
                             {"baud", o.baud == 0 ? json() : json(o.baud)},
                             {"model", id.model},
                             {"device_number", id.deviceNumber},
                             {"firmware", id.firmware},
                             {"result", id.result}});
        rows.push_back({where, o.baud == 0 ? "-" : std::to_string(o.baud),
                        id.result == 0
                            ? id.model
                            : "(refused DiagnosticInfo: error " + std::to_string(id.result) + ")",
                        id.deviceNumber, id.firmware});
    }
    if (asJson)
        session.out() << json{{"registers", registers}, {"not_found", missed}}.dump(2) << '\n';
    else if (any)
        printGrid(session.out(), rows);
    if (!any) throw Failure{"", 1, "no register found"};
}

}  // namespace

void addHealthCommands(Commands& commands) {
    auto asJson = std::make_shared<bool>(false);
    flag(commands.add(
             "doctor", "the register's fiscal health, check by check",
             "Usage: verda --serial PATH|--tcp HOST:PORT doctor [--json]\n"
             "Checks the register and shows a line for each check with its verdict (ok,\n"
             "attention, blocked, or unknown when it could not be read): the link, model and\n"
             "firmware, the clock against this computer's, the shift's age (the register\n"
             "refuses to sell past 24 hours; attention from 23), the fiscal drive's phase and\n"
             "deadline (attention within 30 days), the documents waiting for the fiscal data\n"
             "operator (attention when the oldest has waited more than 5 days), the drive's\n"
             "warnings, and the register's text for any refusal; then the verdict and its\n"
             "reasons. It only reads: DiagnosticInfo, GetDateTime, GetStatusShift,\n"
             "GetStateFN and GetOFDandFNStatus. Phases and warning flags are read as the\n"
             "simulated register (verda-sim) means them.\n"
             "Exit status 0 all fine, 1 attention or blocked, 2 bad usage, 3 no link.\n",
             [asJson](Session& session) { Doctor(session).run(*asJson); }),
         "--json", *asJson, "one JSON object with the same checks");

    auto serials = std::make_shared<std::vector<std::string>>();
    auto tcps = std::make_shared<std::vector<std::string>>();
    auto speeds = std::make_shared<std::vector<std::string>>();
    auto discoverJson = std::make_shared<bool>(false);
    CLI::App& discover = commands.add(
        "discover", "find registers on serial ports and TCP addresses",
        "Usage: verda [--timeout MS] discover [--serial PATH]... [--tcp HOST:PORT]...\n"
        "                                     [--baud N]... [--json]\n"
        "Looks for registers and shows each one found: where, baud, model, device\n"
        "number and firmware. Without --serial and --tcp it tries the serial ports\n"
        "present (/dev/ttyS*, /dev/ttyUSB*, /dev/ttyACM*); with them, only those. A\n"
        "serial port is tried at each speed the driver sets, from 115200 down to 1200\n"
        "baud, or at those of --baud. It sends nothing but DiagnosticInfo, which reads\n"
        "what the register is and prints nothing. All places are tried at once. Each\n"
        "read waits --timeout (default 100 ms on a serial line, 50 ms on TCP), and the\n"
        "driver sends a request again after ten reads without an answer, five times\n"
        "at most: a silent speed costs 5 s, a serial port where nothing answers 45 s,\n"
        "a silent TCP address 2.5 s.\n"
        "Exit status 0 when a register was found, 1 when none was, 2 bad usage.\n",
        [serials, tcps, speeds, discoverJson](Session& session) {
            runDiscover(session, *serials, *tcps, *speeds, *discoverJson);
        });
    repeatable(discover, "--serial", *serials, "PATH", "a serial port to try (repeatable)");
    repeatable(discover, "--tcp", *tcps, "HOST:PORT", "a TCP address to try (repeatable)");
    repeatable(discover, "--baud", *speeds, "N", "a speed to try serial ports at (repeatable)");
    flag(discover, "--json", *discoverJson, "one JSON object: registers found and places missed");
}

}  // namespace cli
