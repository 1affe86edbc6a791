// The run of a request that changes a register, on its worker's thread.
// The states and their moves are in Lifecycle.h; here is what the worker
// does at each, and where a kill -9 can fall:
//   - before "received" is written: nothing; the client got no answer and
//     repeats;
//   - in "received": nothing was sent; the next start settles it as
//     not-committed without asking the register;
//   - in "sent", before the fiscal command: the register's counters are the
//     witness's; an open receipt is cancelled; not-committed;
//   - in "sent", after the fiscal command reached the register but before
//     "committed" was written: the counter is past the witness, and the
//     document right past it is the request's; committed, with its number
//     and sign read back;
//   - in "ambiguous": the same comparison.
// The witness is read right before "sent" and holds the register's
// identity, so that another register at the address settles nothing.
// Before a command that may fiscalise a document (closing a receipt, a Z
// report, cash in or out, opening a shift) the run marks itself fiscal; a
// lost link from then on makes the request ambiguous, and the client gets
// 202. A lost link before the fiscal step (opening the receipt, a line, the
// subtotal, a payment) is settled at once when the register answers again
// within the deadline, and the receipt then runs again, once.
// Every request of the register left in "sent" or "ambiguous" is settled
// before the register takes a new change; reads go on meanwhile.
#include "Worker.h"

#include <algorithm>

#include "ServerLog.h"

namespace server {

namespace {

const auto kLongestReadingWait = std::chrono::milliseconds(1000);

// A move that the journal refused (a defect, which it logged): nothing more
// is sent for the request.
struct Unrecorded {};

}  // namespace

Worker::Worker(const DeviceConfig& config, Shared& shared, const std::string& stateDir,
               const std::string& paperFile)
    : config_(config),
      shared_(shared),
      paperFile_(paperFile),
      link_(config_, shared, stateDir + "/" + config.id + ".log"),
      queue_(shared.config.queueLimit),
      settlement_(shared, config.id) {}

Worker::~Worker() {
    stop();
}

void Worker::start() {
    thread_ = std::thread([this] { loop(); });
}

void Worker::stop() {
    queue_.stop();
    if (thread_.joinable()) thread_.join();
    link_.close();
}

void Worker::wake() {
    settlement_.mark();
    queue_.wake();
}

// --- The loop ----------------------------------------------------------------------

void Worker::loop() {
    while (!queue_.stopping()) {
        // Nothing that a register or the journal does ends this thread.
        try {
            if (!link_.isOpen()) {
                if (!link_.connect()) {
                    settlement_.pass(link_.handle());  // clears what needs no register
                    pause(link_.nextAttempt());
                    continue;
                }
                refresh(true);
            }
            // Whatever was left in flight is settled before anything new is sent.
            const bool changes = settlement_.pass(link_.handle());
            Clock::time_point until;
            {
                std::lock_guard<std::mutex> lock(mutex_);
                until = lastRefresh_ + std::chrono::milliseconds(shared_.config.refreshMs);
            }
            if (!changes) until = std::min(until, settlement_.due());
            if (auto job = queue_.take(changes, until)) {
                execute(*job);
                continue;
            }
            std::lock_guard<std::mutex> lock(mutex_);
            if (Clock::now() < lastRefresh_ + std::chrono::milliseconds(shared_.config.refreshMs))
                continue;
        } catch (const LinkLost& lost) {
            link_.lost(lost.operation);
            continue;
        } catch (const std::exception& e) {
            logError(std::string("worker: ") + e.what(), {{"device", id()}});
            pause(Clock::now() + std::chrono::milliseconds(100));
            continue;
        }
        if (link_.isOpen()) refresh();  // idle for refresh_ms
    }
}

void Worker::refresh(bool full) {
    try {
        // Only this thread writes the reading: it is read here without the lock.
        RegisterReading reading = reading_;
        full = full || reading.healthAt == 0 ||
               RequestJournal::now() - reading.healthAt >= shared_.config.healthMs;
        readRegister(link_.handle(), reading, full);
        link_.remember();
        // A new health reading, or a status that changed, goes out whole.
        bool changed = false;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            const health::ShiftFields &now = reading.parts.shift.fields,
                                      &was = reading_.parts.shift.fields;
            changed = full || reading.document != reading_.document || now.open != was.open ||
                      now.over24h != was.over24h || now.minutes != was.minutes;
            reading_ = std::move(reading);
            lastRefresh_ = Clock::now();
        }
        if (changed) shared_.events.publish("device", describe(false));
    } catch (const LinkLost& lost) {
        link_.lost(lost.operation);
    } catch (const Refused& refused) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            lastRefresh_ = Clock::now();
        }
        link_.note(refused.operation + ": " + refused.text);
    }
}

// --- Jobs --------------------------------------------------------------------------

std::optional<Outcome> Worker::submit(std::function<Outcome()> run, bool change,
                                      Clock::time_point deadline) {
    auto job = std::make_shared<JobQueue::Job>();
    job->run = std::move(run);
    job->change = change;
    job->deadline = deadline;
    return queue_.submit(job);
}

void Worker::execute(JobQueue::Job& job) {
    Outcome outcome;
    try {
        outcome = job.run();
    } catch (const std::exception& e) {
        logError(std::string("request failed: ") + e.what(), {{"device", id()}});
        outcome = Outcome{500, errorBody(500, e.what())};
    }
    // A change is read back from the register right after its answer went
    // out, unless more requests wait: then the reading follows the last of
    // them. The reading is marked as coming before the answer leaves, so
    // that a GET /devices sent after the answer waits for it (see
    // describe()) and shows the change. Reads change nothing.
    const bool readBack = job.change && link_.isOpen() && queue_.idle();
    if (readBack) {
        std::lock_guard<std::mutex> lock(mutex_);
        readingDue_ = true;
    }
    queue_.finish(job, std::move(outcome));
    if (!readBack) return;
    refresh(true);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        readingDue_ = false;
    }
    readingDone_.notify_all();
}

Outcome Worker::read(std::function<json(RegisterHandle&)> task, Clock::time_point deadline) {
    if (queue_.stopping()) return notSent(id());
    if (!queue_.reserve()) {
        shared_.metrics.rejected(id());
        return queueFull(id(), queue_.limit());
    }
    auto outcome = submit(
        [this, task] {
            try {
                return Outcome{200, task(link_.handle())};
            } catch (const LinkLost& lost) {
                link_.lost(lost.operation);
                return Outcome{
                    504, errorBody(VERDA_EXCHANGE_FAILED, verda_error_text(VERDA_EXCHANGE_FAILED))};
            } catch (const Refused& r) {
                return refusal(r);
            }
        },
        false, deadline);
    return outcome ? *outcome : notSent(id());
}

// --- A request that changes the register -------------------------------------------

Outcome Worker::change(const Request& request, const Task& task, Clock::time_point deadline) {
    if (queue_.stopping()) return notSent(id());
    if (!queue_.reserve()) {
        shared_.metrics.rejected(id());
        return queueFull(id(), queue_.limit());
    }
    // The place in the queue is given back unless the job takes it.
    struct Place {
        JobQueue& queue;
        bool taken = false;
        ~Place() {
            if (!taken) queue.release();
        }
    } place{queue_};
    const std::string& key = request.key;
    Request r;
    try {
        const JournalHealth health = shared_.journal.health();
        if (!health.writable) return journalUnavailable(health.cause);
        bool inserted = false;
        r = shared_.journal.begin(request, inserted);
        if (inserted) {
            shared_.events.publish("request", {{"key", key},
                                               {"device", id()},
                                               {"step", "received"},
                                               {"state", stateName(State::Received)}});
        } else if (r.hash != request.hash) {
            return Outcome{
                409, errorBody(409, "the key was used for another request", "Idempotency-Key")};
        } else if (findMove(r.state, Event::Repeat) != nullptr) {
            // It did not take effect: safe to run again.
            if (!shared_.move(id(), key, r.state, Event::Repeat, {{"again", true}}))
                return Outcome{409, errorBody(409, "the request changed meanwhile; repeat it",
                                              "Idempotency-Key")};
            r.state = State::Received;
        } else if (r.status != 0 && r.state != State::Sent && r.state != State::Received) {
            return Outcome{r.status, r.answer, true};
        } else {
            // Left in flight by a server that stopped: settled from the register soon.
            return Outcome{202, {{"state", stateName(r.state)}, {"key", key}}};
        }
    } catch (const JournalError&) {
        return journalUnavailable(shared_.journal.health().cause);
    }
    place.taken = true;
    const auto outcome =
        submit([this, r, task, deadline] { return run(r, task, deadline); }, true, deadline);
    if (outcome) return *outcome;
    // Still queued at its deadline: nothing was sent.
    const Outcome o = notSent(id());
    try {
        shared_.move(id(), key, State::Received, Event::Expire, nullptr, o.body);
    } catch (const JournalError&) {
        settlement_.abandon(key);
    }
    return o;
}

Outcome Worker::run(const Request& r, const Task& task, Clock::time_point deadline) {
    const std::string& key = r.key;
    const Fiscal fiscal = fiscalOf(r.kind);
    RegisterHandle& d = link_.handle();
    const auto pauser = [this](Clock::time_point until) { return pause(until); };
    State state = State::Received;
    for (int attempt = 0;; ++attempt) {
        Run run(
            d,
            [&] {
                const json witness = readWitness(d, fiscal);
                const json detail = attempt > 0 ? json{{"attempt", attempt + 1}} : json();
                if (!shared_.move(id(), key, State::Received, Event::Send, detail, nullptr,
                                  witness))
                    throw Unrecorded{};
                state = State::Sent;
            },
            [&](const std::string& name, const json& detail) {
                shared_.step(id(), key, name, detail);
            });
        try {
            const json answer = task(run);
            shared_.move(id(), key, State::Sent, Event::Commit, nullptr, answer);
            return Outcome{200, answer};
        } catch (const LineRefused& lr) {
            const Outcome o = refusal(lr.refusal, lr.field, lr.line);
            shared_.move(id(), key, state, Event::Refuse, o.body["error"], o.body);
            return o;
        } catch (const Refused& refused) {
            const Outcome o = refusal(refused);
            shared_.move(id(), key, state, Event::Refuse, o.body["error"], o.body);
            return o;
        } catch (const LinkLost& lost) {
            link_.lost(lost.operation);
            const json detail = {{"operation", lost.operation}, {"fiscal", run.fiscal}};
            if (state == State::Received) {
                // Nothing was sent yet: the request waits for the link like
                // any queued one.
                if (link_.reconnect(deadline, pauser)) continue;
                const Outcome o = notSent(id());
                shared_.move(id(), key, State::Received, Event::Expire, detail, o.body);
                return o;
            }
            if (fiscal == Fiscal::No) {
                const json body = noReply();
                shared_.move(id(), key, State::Sent, Event::LoseReply, detail, body);
                try {
                    if (link_.reconnect(deadline, pauser)) freeRegister(d);
                } catch (const LinkLost& again) {
                    link_.lost(again.operation);
                } catch (const Refused&) {
                }
                return Outcome{504, body};
            }
            shared_.metrics.ambiguous(id());
            const json body = pending(key, lost.operation);
            settlement_.mark();
            shared_.move(id(), key, State::Sent, Event::BecomeAmbiguous, detail, body);
            logWarn("request ambiguous",
                    {{"device", id()}, {"key", key}, {"operation", lost.operation}});
            if (!run.fiscal && attempt == 0 && link_.reconnect(deadline, pauser)) {
                // Lost before the fiscal step: settled now, and run again once.
                try {
                    const auto current = shared_.journal.get(key);
                    Finding f = examine(d, *current);
                    if (f.verdict == Finding::NotCommitted) {
                        f.detail["then"] = "run again";
                        if (shared_.move(id(), key, State::Ambiguous, Event::RunAgain, f.detail)) {
                            shared_.metrics.settled(id(), stateName(State::NotCommitted));
                            state = State::Received;
                            continue;
                        }
                    } else if (settlement_.apply(*current, State::Ambiguous, f)) {
                        return Outcome{f.verdict == Finding::Committed ? 200 : 504, f.answer};
                    }
                } catch (const LinkLost& again) {
                    link_.lost(again.operation);
                } catch (const Refused&) {
                }
            }
            return Outcome{202, body};
        } catch (const JournalError&) {
            // Nothing more is sent for the request; what it left is settled
            // once the journal can be written again, and an open receipt is
            // cancelled now where the register lets it.
            if (state == State::Received) {
                settlement_.abandon(key);
            } else {
                settlement_.mark();
                if (!run.fiscal) try {
                        freeRegister(d);
                    } catch (const LinkLost& again) {
                        link_.lost(again.operation);
                    } catch (const Refused&) {
                    }
            }
            return journalUnavailable(shared_.journal.health().cause);
        } catch (const Unrecorded&) {
            return Outcome{500,
                           errorBody(500, "the request could not be recorded; nothing was sent")};
        }
    }
}

// --- The reading -------------------------------------------------------------------

json Worker::describe(bool waitForReading) {
    // What the link, the settlement and the journal say, each under its own
    // lock, before the reading's.
    const health::Given known = given();
    json out = link_.describe();
    out["changes"] = settlement_.describe();
    std::unique_lock<std::mutex> lock(mutex_);
    // A reading after a change takes a few short exchanges: waited for, so
    // that what a client changed shows; bounded, so that a register that
    // stops answering half way never holds the answer up for long.
    if (waitForReading)
        readingDone_.wait_for(lock, kLongestReadingWait, [&] { return !readingDue_; });
    out["id"] = config_.id;
    out["transport"] = config_.transport();
    out["simulated"] = simulated();
    out["queue"] = queue_.depth();
    if (reading_.at != 0) {
        const json reading = readingJson(reading_, std::time(nullptr), known);
        for (const auto& item : reading.items()) out[item.key()] = item.value();
        out["reading"] = {{"at", isoTime(reading_.at)},
                          {"age_ms", RequestJournal::now() - reading_.at}};
    } else {
        out["reading"] = nullptr;
        out["health"] = nullptr;
        out["verdict"] = nullptr;
    }
    return out;
}

health::Given Worker::given() {
    health::Given given;
    given.linkDown = !link_.online();
    given.registerReplaced = settlement_.replaced();
    given.journalUnavailable = !shared_.journal.health().writable;
    return given;
}

Metrics::DeviceGauges Worker::gauges() {
    Metrics::DeviceGauges g;
    g.queue = queue_.depth();
    g.online = online();
    g.held = held();
    g.replaced = replaced();
    try {
        g.unsettled = 0;
        for (const Request& r : shared_.journal.unsettled(id()))
            if (r.state == State::Sent || r.state == State::Ambiguous) ++*g.unsettled;
    } catch (const JournalError&) {
        g.unsettled.reset();  // not known while the journal cannot be read
    }
    const json link = link_.describe();
    const auto text = [](const json& value) {
        return value.is_string() ? value.get<std::string>() : std::string();
    };
    if (link["model"].is_string())
        g.info = {
            {"model", text(link["model"])},
            {"firmware", text(link["firmware"])},
            {"serial", text(link["serial"])},
            {"fiscal_drive", link["identity"].is_object() ? text(link["identity"]["fiscal_drive"])
                                                          : std::string()}};
    const health::Given known = given();
    std::lock_guard<std::mutex> lock(mutex_);
    if (reading_.at == 0) return g;
    const health::Health& h = reading_.health;
    if (h.shift) {
        g.shiftOpen = h.shift->open;
        if (h.shift->openedAt) g.shiftOpened = health::epochOf(*h.shift->openedAt);
    }
    if (h.drive) {
        if (auto ends = h.drive->validityEnds()) g.deadline = health::epochOf(*ends);
        if (h.drive->flags) g.warnings = *h.drive->flags;
    }
    if (h.queue) {
        g.unsent = h.queue->unsent;
        if (h.queue->unsent > 0 && h.queue->oldest)
            g.oldestUnsent = health::epochOf(*h.queue->oldest);
    }
    g.verdict = health::levelName(health::judge(h, std::time(nullptr), known).level);
    return g;
}

int Worker::queueDepth() {
    return queue_.depth();
}

bool Worker::online() {
    return link_.online();
}

json Worker::changes() {
    return settlement_.describe();
}

bool Worker::held() {
    return settlement_.held();
}

bool Worker::replaced() {
    return settlement_.replaced();
}

}  // namespace server
