// The life of a request that changes a register.
//
// Every such request has a row in the journal, keyed by its Idempotency-Key,
// and moves through these states; each move is one synchronous write, done
// before the register is touched for the next step:
//
//   received ──► sent ──► committed            the register did it (200)
//      │          │  ├──► refused              the register refused; an open
//      │          │  │                         document was cancelled (422)
//      │          │  ├──► no-reply             a request that cannot fiscalise
//      │          │  │                         lost its link (504)
//      │          │  └──► ambiguous ──► committed | not-committed
//      │          │                      (settled from the register)
//      └──────────┴─────► not-sent             the register stayed offline until
//                                              the deadline; nothing was sent (503)
//
// "sent" is written before the first command that changes the register,
// together with the witness: the register's counters that a fiscal step
// would move (the fiscal drive's last document number; for cash in and out
// the shift's sums of cash in and out). Before a command that may fiscalise
// a document (closing a receipt, a Z report, cash in or out, opening a
// shift) the run marks itself fiscal; a lost link from then on makes the
// request ambiguous, and the client gets 202.
//
// Settlement compares the register with the witness: a fiscal document past
// the witnessed number is the request's (only this worker drives the
// register), and its number and fiscal sign are read back from the
// electronic journal; otherwise the request did not take effect, and a
// receipt or service document left open is closed. A lost link before the
// fiscal step (opening the receipt, a line, the subtotal, a payment) is
// settled at once when the register answers again within the deadline,
// and the receipt then runs again, once; otherwise it stays ambiguous.
//
// Where a kill -9 can fall, and what the next start finds:
//   - before "received" is written: nothing; the client got no answer and
//     repeats;
//   - in "received": nothing was sent; the start settles it as
//     not-committed without asking the register;
//   - in "sent", before the fiscal command: the drive's number is the
//     witness's; an open receipt is cancelled; not-committed;
//   - in "sent", after the fiscal command reached the register but before
//     "committed" was written: the drive's number is past the witness;
//     committed, with the number and sign read back;
//   - in "ambiguous": the same comparison.
// A worker settles every request of its register left in "sent" or
// "ambiguous" as soon as the register answers, before it takes a new one.
// A request that did not take effect (not-sent, not-committed) runs again
// when the client repeats it with the same key; any other repeat gets the
// recorded answer and never touches the register.
#include "Worker.h"

#include <sys/stat.h>

#include <algorithm>

#include "ServerLog.h"
#include "sim/Simulator.h"

namespace server {

namespace {

const auto kLongestBackoff = std::chrono::milliseconds(10000);
const auto kShortestBackoff = std::chrono::milliseconds(100);
const auto kLongestReadingWait = std::chrono::milliseconds(1000);

long long nowMs() {
    return Journal::now();
}

Outcome refusal(const Refused& r, const json& field, int line) {
    json body = errorBody(r.code, r.text, field);
    body["error"]["operation"] = r.operation;
    if (line >= 0) body["error"]["line"] = line;
    body["state"] = state::kRefused;
    return Outcome{422, body};
}

json notCommittedBody() {
    json body = errorBody(100001, verda_error_text(100001));
    body["state"] = state::kNotCommitted;
    return body;
}

}  // namespace

json errorBody(int code, const std::string& text, const json& field) {
    return {{"error", {{"code", code}, {"text", text}, {"field", field}}}};
}

Outcome notSent(const std::string& device) {
    json body = errorBody(503, "the register " + device + " is offline; nothing was sent");
    body["state"] = state::kNotSent;
    return Outcome{503, body};
}

void Shared::record(const std::string& device, const std::string& key, const std::string& step,
                    const json& detail, const std::string& newState, int status,
                    const json& answer) {
    journal.step(key, step, detail, newState, status, answer);
    json event = {{"key", key}, {"device", device}, {"step", step}};
    if (!newState.empty()) event["state"] = newState;
    if (!detail.is_null()) event["detail"] = detail;
    events.publish("request", event);
}

struct Worker::Job {
    enum Phase { Queued, Running, Expired, Done };
    std::function<Outcome(Job&)> run;
    std::string key;  // of a journal request, or empty for a read
    Request request;
    Clock::time_point deadline;
    std::mutex mutex;
    std::condition_variable done;
    Phase phase = Queued;
    Outcome outcome;
};

Worker::Worker(const DeviceConfig& config, Shared& shared, const std::string& stateDir)
    : config_(config), shared_(shared) {
    const std::string logDir = stateDir + "/" + config.id + ".log";
    device_.reset(new Device(config_, logDir, shared.metrics));
    host_ = config.host;
    port_ = config.port;
    if (simulated()) {
        // The simulated register runs in this process, from the simulator's
        // code, on a loopback port of its own; its memory and paper lie
        // beside the journal.
        paperFile_ = stateDir + "/" + config.id + ".paper";
        // It is started with the simulator's own command line, so that it
        // is the register that verda-sim would be.
        sim::Options options;
        std::string error;
        if (!sim::parseOptions({"--tcp", "127.0.0.1:0", "--paper", paperFile_, "--state",
                                stateDir + "/" + config.id + ".state"},
                               options, error))
            throw std::runtime_error("simulated register: " + error);
        simulator_.reset(new sim::Simulator(options));
        if (!simulator_->start(error)) throw std::runtime_error("simulated register: " + error);
        host_ = "127.0.0.1";
        port_ = simulator_->port();
    }
    linkSince_ = nowMs();
}

Worker::~Worker() {
    stop();
}

void Worker::start() {
    if (simulator_) {
        simThread_ = std::thread([this] {
            std::string error;
            if (!simulator_->run(error)) logError("simulated register stopped: " + error);
        });
    }
    thread_ = std::thread([this] { loop(); });
}

void Worker::stop() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_ && !thread_.joinable()) return;
        stopping_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) thread_.join();
    if (simulator_) {
        simulator_->stop();
        if (simThread_.joinable()) simThread_.join();
    }
    device_->close();
}

// --- The link ----------------------------------------------------------------------

void Worker::setLink(const std::string& state, const std::string& error) {
    bool changed = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        changed = link_ != state;
        const bool wasOnline = link_ == "online";
        link_ = state;
        if (state == "online" || (wasOnline && state != "online")) linkSince_ = nowMs();
        if (!error.empty()) linkError_ = error;
        if (state == "online") linkError_.clear(), attempts_ = 0;
    }
    if (changed) {
        shared_.events.publish("device", {{"id", config_.id}, {"link", state}});
        if (state != "reconnecting")
            logInfo("register " + state, {{"device", config_.id}, {"error", error}});
    }
}

bool Worker::connect() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++attempts_;
    }
    setLink("reconnecting");
    std::string error;
    if (device_->open(host_, port_, error)) {
        shared_.metrics.reconnect(config_.id);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            model_ = device_->model;
            firmware_ = device_->firmware;
            serial_ = device_->serial;
        }
        backoff_ = kShortestBackoff;
        setLink("online");
        return true;
    }
    setLink("offline", error);
    return false;
}

// Opens the link again, waiting between attempts (doubling from 100 ms to
// 10 s), until the deadline. For a run that lost its link half way.
bool Worker::reconnect(Clock::time_point deadline) {
    while (!device_->isOpen()) {
        if (connect()) return true;
        std::unique_lock<std::mutex> lock(mutex_);
        const auto until = std::min(deadline, Clock::now() + backoff_);
        wake_.wait_until(lock, until, [&] { return stopping_; });
        backoff_ = std::min(backoff_ * 2, kLongestBackoff);
        if (stopping_ || Clock::now() >= deadline) return device_->isOpen();
    }
    return true;
}

// --- The loop ----------------------------------------------------------------------

void Worker::loop() {
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (stopping_) break;
        }
        if (!device_->isOpen()) {
            if (!connect()) {
                std::unique_lock<std::mutex> lock(mutex_);
                wake_.wait_for(lock, backoff_, [&] { return stopping_; });
                backoff_ = std::min(backoff_ * 2, kLongestBackoff);
                continue;
            }
            refresh();
        }
        // Whatever was left in flight is settled before anything new is sent.
        settleAll();
        if (!device_->isOpen()) continue;
        std::shared_ptr<Job> job;
        {
            std::unique_lock<std::mutex> lock(mutex_);
            const auto refreshAt =
                lastRefresh_ + std::chrono::milliseconds(shared_.config.refreshMs);
            wake_.wait_until(lock, refreshAt, [&] { return stopping_ || !queue_.empty(); });
            if (stopping_) break;
            if (!queue_.empty()) {
                job = queue_.front();
                queue_.pop_front();
            }
        }
        if (job)
            execute(*job);
        else if (device_->isOpen())
            refresh();  // idle for refresh_ms
    }
    // Shut-down: what is still queued was never sent.
    std::deque<std::shared_ptr<Job>> left;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        left.swap(queue_);
    }
    for (auto& job : left) {
        std::lock_guard<std::mutex> lock(job->mutex);
        if (job->phase == Job::Queued) job->phase = Job::Expired;
        job->done.notify_all();
    }
}

void Worker::refresh() {
    try {
        json reading = readStatus(*device_);
        bool changed = false;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            changed = reading != reading_;
            reading_ = reading;
            readingAt_ = nowMs();
            lastRefresh_ = Clock::now();
        }
        if (changed) shared_.events.publish("device", {{"id", config_.id}, {"reading", reading}});
    } catch (const LinkLost& lost) {
        setLink("offline", "no answer (" + lost.operation + ")");
    } catch (const Refused& refused) {
        std::lock_guard<std::mutex> lock(mutex_);
        lastRefresh_ = Clock::now();
        linkError_ = refused.operation + ": " + refused.text;
    }
}

// --- Settlement --------------------------------------------------------------------

// The journal is asked only while something may be left: at the start, and
// after a request that did not end in a final state.
void Worker::settleAll() {
    if (!unsettled_) return;
    std::vector<Request> open;
    try {
        open = shared_.journal.unsettled(config_.id);
    } catch (const std::exception& e) {
        logError(e.what(), {{"device", config_.id}});
        return;
    }
    bool left = false;
    for (const Request& r : open) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (active_.count(r.key) != 0) continue;
        }
        if (device_->isOpen()) {
            auto full = shared_.journal.get(r.key);
            if (full) settleOne(*full);
        }
        auto now = shared_.journal.get(r.key, false);
        left = left || (now && !isFinal(now->state));
    }
    unsettled_ = left;
}

void Worker::settleOne(const Request& r) {
    try {
        if (!mayFiscalise(r.kind)) {
            // Nothing fiscal: the register is freed, and the outcome stays unknown.
            if (r.state != state::kReceived) freeRegister(*device_);
            json body = errorBody(100001, verda_error_text(100001));
            body["state"] = state::kNoReply;
            shared_.record(config_.id, r.key, "settled", {{"outcome", state::kNoReply}},
                           state::kNoReply, 504, body);
            return;
        }
        const json answer = settle(*device_, r);
        const std::string outcome = answer.is_null() ? state::kNotCommitted : state::kCommitted;
        shared_.record(config_.id, r.key, "settled", {{"outcome", outcome}}, outcome,
                       answer.is_null() ? 503 : 200,
                       answer.is_null() ? notCommittedBody() : answer);
        shared_.metrics.settled(config_.id, outcome);
        logInfo("request settled", {{"device", config_.id}, {"key", r.key}, {"outcome", outcome}});
    } catch (const LinkLost& lost) {
        setLink("offline", "no answer (" + lost.operation + ")");
    } catch (const Refused& refused) {
        // The register would not tell: the request stays as it is and is
        // tried again at the next pass.
        logWarn("cannot settle: " + refused.operation + ": " + refused.text,
                {{"device", config_.id}, {"key", r.key}});
    }
}

// --- Jobs --------------------------------------------------------------------------

Outcome Worker::submit(std::shared_ptr<Job> job) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) return notSent(config_.id);
        queue_.push_back(job);
        if (!job->key.empty()) active_.insert(job->key);
    }
    wake_.notify_all();
    std::unique_lock<std::mutex> lock(job->mutex);
    // Until the deadline the job may still be taken; once taken, it runs to
    // its end, which the library's timeouts bound.
    if (!job->done.wait_until(lock, job->deadline, [&] { return job->phase != Job::Queued; })) {
        job->phase = Job::Expired;
    }
    job->done.wait(lock, [&] { return job->phase == Job::Done || job->phase == Job::Expired; });
    if (job->phase == Job::Expired) {
        lock.unlock();
        {
            std::lock_guard<std::mutex> guard(mutex_);
            queue_.erase(std::remove(queue_.begin(), queue_.end(), job), queue_.end());
            active_.erase(job->key);
        }
        const Outcome outcome = notSent(config_.id);
        if (!job->key.empty())
            shared_.record(config_.id, job->key, state::kNotSent, nullptr, state::kNotSent,
                           outcome.status, outcome.body);
        return outcome;
    }
    return job->outcome;
}

void Worker::execute(Job& job) {
    {
        std::lock_guard<std::mutex> lock(job.mutex);
        if (job.phase != Job::Queued) return;
        job.phase = Job::Running;
    }
    Outcome outcome;
    try {
        outcome = job.run(job);
    } catch (const std::exception& e) {
        // The journal could not be written: nothing more is sent for it, and
        // what it left in flight is settled at the next pass.
        unsettled_ = true;
        logError(std::string("request failed: ") + e.what(),
                 {{"device", config_.id}, {"key", job.key}});
        outcome = Outcome{500, errorBody(500, e.what())};
    }
    // A change is read back from the register right after its answer went
    // out, unless more requests wait: then the reading follows the last of
    // them. The reading is marked as coming before the answer leaves, so
    // that a GET /devices sent after the answer waits for it (see
    // describe()) and shows the change. Reads change nothing.
    bool readBack = false;
    if (!job.key.empty() && device_->isOpen()) {
        std::lock_guard<std::mutex> lock(mutex_);
        readBack = queue_.empty();
        readingDue_ = readBack;
    }
    finish(job, std::move(outcome));
    if (!readBack) return;
    refresh();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        readingDue_ = false;
    }
    readingDone_.notify_all();
}

void Worker::finish(Job& job, Outcome outcome) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        active_.erase(job.key);
    }
    std::lock_guard<std::mutex> lock(job.mutex);
    job.outcome = std::move(outcome);
    job.phase = Job::Done;
    job.done.notify_all();
}

Outcome Worker::read(std::function<json(Device&)> task, Clock::time_point deadline) {
    auto job = std::make_shared<Job>();
    job->deadline = deadline;
    job->run = [this, task](Job&) {
        try {
            return Outcome{200, task(*device_)};
        } catch (const LinkLost&) {
            setLink("offline", "no answer");
            return Outcome{504, errorBody(100001, verda_error_text(100001))};
        } catch (const Refused& r) {
            return refusal(r, nullptr, -1);
        }
    };
    return submit(job);
}

Outcome Worker::perform(const Request& request, std::function<json(Run&)> task,
                        Clock::time_point deadline) {
    auto job = std::make_shared<Job>();
    job->key = request.key;
    job->request = request;
    job->deadline = deadline;
    job->run = [this, task](Job& j) {
        const std::string& key = j.key;
        for (int attempt = 0;; ++attempt) {
            bool sent = false;
            Run run(
                *device_,
                [&](const std::string& name, const json& detail) {
                    shared_.record(config_.id, key, name, detail);
                },
                [&](const json& witness) {
                    shared_.journal.sent(key, witness,
                                         attempt > 0 ? json{{"attempt", attempt + 1}} : json());
                    shared_.events.publish("request", {{"key", key},
                                                       {"device", config_.id},
                                                       {"step", "sent"},
                                                       {"state", state::kSent}});
                    sent = true;
                });
            try {
                const json answer = task(run);
                shared_.record(config_.id, key, state::kCommitted, nullptr, state::kCommitted, 200,
                               answer);
                return Outcome{200, answer};
            } catch (const LineRefused& lr) {
                const Outcome o =
                    refusal(lr.refusal, "lines[" + std::to_string(lr.line) + "]", lr.line);
                shared_.record(config_.id, key, state::kRefused, o.body["error"], state::kRefused,
                               o.status, o.body);
                return o;
            } catch (const Refused& r) {
                const Outcome o = refusal(r, nullptr, -1);
                shared_.record(config_.id, key, state::kRefused, o.body["error"], state::kRefused,
                               o.status, o.body);
                return o;
            } catch (const LinkLost& lost) {
                setLink("offline", "no answer (" + lost.operation + ")");
                const json detail = {{"operation", lost.operation}, {"fiscal", run.fiscal}};
                if (!sent) {
                    // Nothing was sent yet: the request waits for the link
                    // like any queued one.
                    if (reconnect(j.deadline)) continue;
                    const Outcome o = notSent(config_.id);
                    shared_.record(config_.id, key, state::kNotSent, detail, state::kNotSent,
                                   o.status, o.body);
                    return o;
                }
                if (!mayFiscalise(j.request.kind)) {
                    json body = errorBody(100001, verda_error_text(100001));
                    body["state"] = state::kNoReply;
                    shared_.record(config_.id, key, state::kNoReply, detail, state::kNoReply, 504,
                                   body);
                    if (reconnect(j.deadline)) freeRegister(*device_);
                    return Outcome{504, body};
                }
                shared_.metrics.ambiguous(config_.id);
                json body = {
                    {"state", state::kAmbiguous}, {"key", key}, {"operation", lost.operation}};
                if (!run.fiscal && attempt == 0 && reconnect(j.deadline)) {
                    // Lost before the fiscal step: settled now, and run again once.
                    shared_.record(config_.id, key, state::kAmbiguous, detail, state::kAmbiguous);
                    try {
                        auto current = shared_.journal.get(key);
                        const json answer = settle(*device_, *current);
                        const std::string outcome =
                            answer.is_null() ? state::kNotCommitted : state::kCommitted;
                        shared_.metrics.settled(config_.id, outcome);
                        if (!answer.is_null()) {
                            shared_.record(config_.id, key, "settled", {{"outcome", outcome}},
                                           state::kCommitted, 200, answer);
                            return Outcome{200, answer};
                        }
                        shared_.record(config_.id, key, "settled",
                                       {{"outcome", outcome}, {"then", "run again"}});
                        continue;
                    } catch (const LinkLost&) {
                        setLink("offline", "no answer");
                    } catch (const Refused&) {
                    }
                }
                shared_.record(config_.id, key, state::kAmbiguous, detail, state::kAmbiguous, 202,
                               body);
                unsettled_ = true;
                logWarn("request ambiguous",
                        {{"device", config_.id}, {"key", key}, {"operation", lost.operation}});
                return Outcome{202, body};
            }
        }
    };
    return submit(job);
}

// --- The reading -------------------------------------------------------------------

json Worker::describe() {
    std::unique_lock<std::mutex> lock(mutex_);
    // A reading after a change takes four short exchanges: waited for, so
    // that what a client changed shows; bounded, so that a register that
    // stops answering half way never holds the answer up for long.
    readingDone_.wait_for(lock, kLongestReadingWait, [&] { return !readingDue_; });
    const long long now = nowMs();
    json link = {{"state", link_}, {"since", isoTime(linkSince_)}};
    if (!linkError_.empty()) link["error"] = linkError_;
    if (link_ != "online") link["attempts"] = attempts_;
    json out = {{"id", config_.id},
                {"transport", config_.transport()},
                {"simulated", simulated()},
                {"link", link},
                {"model", model_.empty() ? json() : json(model_)},
                {"firmware", firmware_.empty() ? json() : json(firmware_)},
                {"serial", serial_.empty() ? json() : json(serial_)},
                {"queue", static_cast<int>(queue_.size())}};
    if (readingAt_ != 0) {
        for (const auto& item : reading_.items()) out[item.key()] = item.value();
        if (out["shift"]["open"].get<bool>() && out["shift"]["minutes"].is_number())
            out["shift"]["opened_at"] =
                isoTime(readingAt_ - out["shift"]["minutes"].get<long long>() * 60000);
        out["reading"] = {{"at", isoTime(readingAt_)}, {"age_ms", now - readingAt_}};
    } else {
        out["reading"] = nullptr;
    }
    return out;
}

int Worker::queueDepth() {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<int>(queue_.size());
}

bool Worker::online() {
    std::lock_guard<std::mutex> lock(mutex_);
    return link_ == "online";
}

}  // namespace server
