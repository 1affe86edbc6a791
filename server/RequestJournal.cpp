#include "RequestJournal.h"

#include <sys/stat.h>

#include <chrono>

#include "ServerLog.h"

namespace server {

namespace {

const char kSchema[] =
    "CREATE TABLE IF NOT EXISTS requests("
    " key TEXT PRIMARY KEY, device TEXT NOT NULL, method TEXT NOT NULL, route TEXT NOT NULL,"
    " kind TEXT NOT NULL, hash TEXT NOT NULL, body TEXT NOT NULL, state TEXT NOT NULL,"
    " status INTEGER NOT NULL DEFAULT 0, answer TEXT, witness TEXT,"
    " created INTEGER NOT NULL, updated INTEGER NOT NULL);"
    "CREATE INDEX IF NOT EXISTS requests_created ON requests(created);"
    "CREATE INDEX IF NOT EXISTS requests_device_state ON requests(device, state);"
    "CREATE TABLE IF NOT EXISTS steps("
    " id INTEGER PRIMARY KEY AUTOINCREMENT, key TEXT NOT NULL, step TEXT NOT NULL,"
    " at INTEGER NOT NULL, detail TEXT);"
    "CREATE INDEX IF NOT EXISTS steps_key ON steps(key);"
    // Facts about the journal itself; the row "probe" is written to find out
    // whether the journal can take writes again.
    "CREATE TABLE IF NOT EXISTS meta(name TEXT PRIMARY KEY, value TEXT);";

const std::string kColumns =
    "key, device, method, route, kind, hash, body, state, status, answer, witness, created, "
    "updated";
const std::string kFind = "SELECT " + kColumns + " FROM requests WHERE key=?";
const std::string kInFlight =
    "SELECT " + kColumns + " FROM requests WHERE state IN ('received','sent','ambiguous')";

// One use of a statement the journal keeps prepared: reset, and its
// bindings cleared, on leaving the scope.
class Statement {
  public:
    Statement(sqlite3* db, sqlite3_stmt* stmt) : db_(db), stmt_(stmt) {}
    ~Statement() {
        sqlite3_reset(stmt_);
        sqlite3_clear_bindings(stmt_);
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    Statement& bind(int i, const std::string& text) {
        sqlite3_bind_text(stmt_, i, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
        return *this;
    }
    Statement& bind(int i, long long value) {
        sqlite3_bind_int64(stmt_, i, value);
        return *this;
    }
    Statement& bindJson(int i, const json& value) {
        if (value.is_null())
            sqlite3_bind_null(stmt_, i);
        else
            bind(i, value.dump(-1, ' ', false, json::error_handler_t::replace));
        return *this;
    }
    bool row() {
        const int rc = sqlite3_step(stmt_);
        if (rc == SQLITE_ROW) return true;
        if (rc != SQLITE_DONE) throw Failure{rc, sqlite3_errmsg(db_)};
        return false;
    }
    void run() { row(); }
    sqlite3_stmt* get() const { return stmt_; }

    // What SQLite said, before it becomes a JournalError.
    struct Failure {
        int code;
        std::string message;
    };

  private:
    sqlite3* db_;
    sqlite3_stmt* stmt_;
};

// How often the journal's log is copied into its file, off the requests' way,
// and how often a journal that cannot be written is tried again.
const auto kCheckpointEvery = std::chrono::milliseconds(1000);

std::string text(sqlite3_stmt* row, int column) {
    const unsigned char* value = sqlite3_column_text(row, column);
    return value == nullptr ? std::string() : reinterpret_cast<const char*>(value);
}

json jsonColumn(sqlite3_stmt* row, int column) {
    if (sqlite3_column_type(row, column) == SQLITE_NULL) return nullptr;
    return json::parse(text(row, column), nullptr, false);
}

// What a person is told about an SQLite error.
std::string causeOf(int code, const std::string& message) {
    switch (code & 0xFF) {
        case SQLITE_FULL:
            return "disk full (" + message + ")";
        case SQLITE_IOERR:
            return "I/O error (" + message + ")";
        case SQLITE_READONLY:
            return "read-only (" + message + ")";
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return "damaged (" + message + ")";
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return "locked by another program (" + message + ")";
        default:
            return message;
    }
}

// Whether the file itself failed (rather than a statement): the journal
// then takes no writes until one succeeds again.
bool storageFailed(int code) {
    switch (code & 0xFF) {
        case SQLITE_FULL:
        case SQLITE_IOERR:
        case SQLITE_READONLY:
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_CANTOPEN:
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return true;
        default:
            return false;
    }
}

// Whether the answer has the shape that a move's row names.
bool hasShape(const json& answer, Shape shape, State to) {
    switch (shape) {
        case Shape::None:
            return answer.is_null();
        case Shape::Answer:
            return answer.is_object() && answer.value("state", "") == stateName(to) &&
                   !answer.contains("error") && !answer.contains("key");
        case Shape::Error:
            return answer.is_object() && answer.contains("error") &&
                   answer.value("state", "") == stateName(to);
        case Shape::Pending:
            return answer.is_object() && answer.value("state", "") == stateName(to) &&
                   answer.contains("key") && !answer.contains("error");
    }
    return false;
}

}  // namespace

long long RequestJournal::now() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

bool RequestJournal::open(const std::string& path, std::string& error) {
    path_ = path;
    if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) !=
        SQLITE_OK) {
        error = "cannot open the journal " + path + ": " +
                (db_ != nullptr ? sqlite3_errmsg(db_) : "out of memory");
        return false;
    }
    sqlite3_busy_timeout(db_, 10000);
    const bool inMemory = path == ":memory:";
    try {
        // WAL with a sync of the log at every commit: a step that returned is
        // on the disk.
        if (!inMemory) exec("PRAGMA journal_mode=WAL;");
        exec("PRAGMA synchronous=FULL;");
        exec(kSchema);
        // The log is copied into the file (a checkpoint: two more syncs) by
        // a thread of its own, so that no request waits for it.
        exec("PRAGMA wal_autocheckpoint=0;");
        // A write now, so that the log exists and can be watched.
        exec("INSERT OR REPLACE INTO meta VALUES('opened', strftime('%s','now'));");
    } catch (const JournalError& e) {
        error = "cannot use the journal " + path + ": " + e.what();
        return false;
    }
    if (inMemory) return true;
    struct stat file, log;
    if (stat(path.c_str(), &file) != 0 || stat((path + "-wal").c_str(), &log) != 0) {
        error = "cannot find the journal " + path + " after opening it";
        return false;
    }
    file_ = {file.st_dev, file.st_ino};
    log_ = {log.st_dev, log.st_ino};
    watched_ = true;
    sqlite3* checkpoints = nullptr;
    if (sqlite3_open_v2(path.c_str(), &checkpoints, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        error = "cannot open the journal " + path + " twice: " +
                (checkpoints != nullptr ? sqlite3_errmsg(checkpoints) : "out of memory");
        sqlite3_close(checkpoints);
        return false;
    }
    sqlite3_busy_timeout(checkpoints, 10000);
    checkpointer_ = std::thread([this, checkpoints] {
        std::unique_lock<std::mutex> lock(stopMutex_);
        while (!stopped_) {
            stop_.wait_for(lock, kCheckpointEvery, [&] { return stopped_; });
            if (stopped_) break;
            lock.unlock();
            // Passive: it copies what no reader still needs, and never
            // holds up a writer.
            sqlite3_wal_checkpoint_v2(checkpoints, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr,
                                      nullptr);
            probe();
            lock.lock();
        }
        sqlite3_close(checkpoints);
    });
    return true;
}

RequestJournal::~RequestJournal() {
    if (checkpointer_.joinable()) {
        {
            std::lock_guard<std::mutex> lock(stopMutex_);
            stopped_ = true;
        }
        stop_.notify_all();
        checkpointer_.join();
    }
    for (auto& kept : prepared_) sqlite3_finalize(kept.second);
    if (db_ != nullptr) sqlite3_close(db_);
}

// --- Health ------------------------------------------------------------------------

void RequestJournal::onHealthChange(std::function<void(const JournalHealth&)> listener) {
    std::lock_guard<std::mutex> lock(healthMutex_);
    listener_ = std::move(listener);
}

void RequestJournal::failed(int code, const std::string& message) {
    JournalHealth now;
    std::function<void(const JournalHealth&)> listener;
    {
        std::lock_guard<std::mutex> lock(healthMutex_);
        if (health_.lost) return;
        const bool changed = health_.writable;
        health_.writable = false;
        health_.cause = causeOf(code, message);
        if (!changed) return;
        now = health_;
        listener = listener_;
    }
    logError("the journal cannot be written: " + now.cause, {{"journal", path_}});
    if (listener) listener(now);
}

void RequestJournal::succeeded() {
    JournalHealth now;
    std::function<void(const JournalHealth&)> listener;
    {
        std::lock_guard<std::mutex> lock(healthMutex_);
        if (health_.writable || health_.lost) return;
        health_ = JournalHealth();
        now = health_;
        listener = listener_;
    }
    logInfo("the journal can be written again", {{"journal", path_}});
    if (listener) listener(now);
}

// The path still leads to the file and the log that were opened: a journal
// deleted or replaced under the server would take every later write nowhere.
bool RequestJournal::stillThere() {
    if (!watched_) return true;
    struct stat file, log;
    const char* cause = nullptr;
    if (stat(path_.c_str(), &file) != 0 || stat((path_ + "-wal").c_str(), &log) != 0)
        cause = "deleted";
    else if (file.st_dev != file_.device || file.st_ino != file_.inode ||
             log.st_dev != log_.device || log.st_ino != log_.inode)
        cause = "replaced";
    if (cause == nullptr) return true;
    JournalHealth now;
    std::function<void(const JournalHealth&)> listener;
    {
        std::lock_guard<std::mutex> lock(healthMutex_);
        if (health_.lost) return false;
        health_.writable = false;
        health_.lost = true;
        health_.cause = std::string(cause) + ": " + path_ +
                        " is no longer the file the server opened; restart the server";
        now = health_;
        listener = listener_;
    }
    logError("the journal was " + std::string(cause) + " under the server", {{"journal", path_}});
    if (listener) listener(now);
    return false;
}

JournalHealth RequestJournal::health() {
    stillThere();
    std::lock_guard<std::mutex> lock(healthMutex_);
    return health_;
}

// While the journal cannot be written, a small write tells when it can again.
void RequestJournal::probe() {
    {
        std::lock_guard<std::mutex> lock(healthMutex_);
        if (health_.writable || health_.lost) return;
    }
    try {
        std::lock_guard<std::mutex> lock(mutex_);
        transaction([&] {
            Statement(db_, prepared("INSERT OR REPLACE INTO meta VALUES('probe', ?)"))
                .bind(1, now())
                .run();
        });
    } catch (const JournalError&) {
    }
}

unsigned long long RequestJournal::commits() {
    std::lock_guard<std::mutex> lock(mutex_);
    return commits_;
}

// --- Statements --------------------------------------------------------------------

sqlite3_stmt* RequestJournal::prepared(const std::string& sql) {
    auto found = prepared_.find(sql);
    if (found != prepared_.end()) return found->second;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v3(db_, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr) !=
        SQLITE_OK)
        throw Statement::Failure{sqlite3_errcode(db_), sqlite3_errmsg(db_)};
    prepared_.emplace(sql, stmt);
    return stmt;
}

void RequestJournal::exec(const char* sql) {
    char* message = nullptr;
    const int rc = sqlite3_exec(db_, sql, nullptr, nullptr, &message);
    if (rc != SQLITE_OK) {
        const std::string text = message != nullptr ? message : sqlite3_errstr(rc);
        sqlite3_free(message);
        throw JournalError("journal: " + causeOf(rc, text));
    }
}

// One synchronous commit: all of body, or nothing of it. Under mutex_. Any
// error of SQLite becomes a JournalError, and the journal is marked as
// unable to take writes until one succeeds.
void RequestJournal::transaction(const std::function<void()>& body) {
    if (!stillThere()) throw JournalError("journal: " + health().cause);
    const long long changesBefore = sqlite3_total_changes64(db_);
    try {
        Statement(db_, prepared("BEGIN IMMEDIATE")).run();
        try {
            body();
            Statement(db_, prepared("COMMIT")).run();
        } catch (...) {
            sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
            throw;
        }
    } catch (const Statement::Failure& f) {
        if (storageFailed(f.code)) failed(f.code, f.message);
        throw JournalError("journal: " + causeOf(f.code, f.message));
    }
    // A transaction that changed nothing wrote nothing, and synced nothing.
    if (sqlite3_total_changes64(db_) != changesBefore) ++commits_;
    succeeded();
}

Request RequestJournal::read(sqlite3_stmt* row) const {
    Request r;
    r.key = text(row, 0);
    r.device = text(row, 1);
    r.method = text(row, 2);
    r.route = text(row, 3);
    r.kind = text(row, 4);
    r.hash = text(row, 5);
    r.body = json::parse(text(row, 6), nullptr, false);
    if (!stateFromName(text(row, 7), r.state))
        logError("a request in an unknown state", {{"key", r.key}, {"state", text(row, 7)}});
    r.status = sqlite3_column_int(row, 8);
    r.answer = jsonColumn(row, 9);
    r.witness = jsonColumn(row, 10);
    r.created = sqlite3_column_int64(row, 11);
    r.updated = sqlite3_column_int64(row, 12);
    return r;
}

namespace {

// Reads that fail are JournalErrors too, without marking the journal: a
// read cannot tell whether writes would work.
template <class Read>
auto reading(Read read) -> decltype(read()) {
    try {
        return read();
    } catch (const Statement::Failure& f) {
        throw JournalError("journal: " + causeOf(f.code, f.message));
    }
}

}  // namespace

// --- Requests ----------------------------------------------------------------------

Request RequestJournal::begin(const Request& request, bool& inserted) {
    std::lock_guard<std::mutex> lock(mutex_);
    Request r = request;
    transaction([&] {
        Statement find(db_, prepared(kFind));
        find.bind(1, request.key);
        inserted = !find.row();
        if (!inserted) {
            r = read(find.get());
            return;
        }
        const long long at = now();
        Statement insert(
            db_, prepared("INSERT INTO requests(key, device, method, route, kind, hash, body,"
                          " state, created, updated) VALUES(?,?,?,?,?,?,?,?,?,?)"));
        insert.bind(1, request.key).bind(2, request.device).bind(3, request.method);
        insert.bind(4, request.route).bind(5, request.kind).bind(6, request.hash);
        insert.bind(7, request.body.dump()).bind(8, std::string(stateName(State::Received)));
        insert.bind(9, at).bind(10, at).run();
        Statement step(db_, prepared("INSERT INTO steps(key, step, at) VALUES(?,?,?)"));
        step.bind(1, request.key).bind(2, std::string("received")).bind(3, at).run();
        r.state = State::Received;
        r.created = r.updated = at;
        r.steps.push_back(Step{"received", at, nullptr});
    });
    return r;
}

bool RequestJournal::move(const std::string& key, State from, Event event, const json& detail,
                          const json& answer, const json& witness) {
    const Move* m = findMove(from, event);
    if (m == nullptr || !hasShape(answer, m->shape, m->to)) {
        logError(m == nullptr ? "a move that the lifecycle does not allow, refused"
                              : "a move with an answer of the wrong shape, refused",
                 {{"key", key}, {"from", stateName(from)}, {"event", eventName(event)}});
        return false;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    bool moved = false;
    // A request no longer in from is left as it is: the transaction ends
    // without a change (a commit of nothing syncs nothing).
    transaction([&] {
        const long long at = now();
        Statement update(db_, prepared("UPDATE requests SET state=?1, status=?2, answer=?3,"
                                       " witness=CASE WHEN ?4 THEN ?5 ELSE witness END,"
                                       " updated=?6 WHERE key=?7 AND state=?8"));
        update.bind(1, std::string(stateName(m->to))).bind(2, static_cast<long long>(m->status));
        update.bindJson(3, answer).bind(4, static_cast<long long>(event == Event::Send));
        update.bindJson(5, witness).bind(6, at).bind(7, key);
        update.bind(8, std::string(stateName(from))).run();
        moved = sqlite3_changes(db_) == 1;
        if (!moved) return;
        Statement step(db_, prepared("INSERT INTO steps(key, step, at, detail) VALUES(?,?,?,?)"));
        step.bind(1, key).bind(2, std::string(m->step)).bind(3, at).bindJson(4, detail).run();
    });
    if (!moved)
        logWarn("a move from a state the request is no longer in, refused",
                {{"key", key}, {"from", stateName(from)}, {"event", eventName(event)}});
    return moved;
}

void RequestJournal::step(const std::string& key, const std::string& name, const json& detail) {
    std::lock_guard<std::mutex> lock(mutex_);
    const long long at = now();
    transaction([&] {
        Statement step(db_, prepared("INSERT INTO steps(key, step, at, detail) VALUES(?,?,?,?)"));
        step.bind(1, key).bind(2, name).bind(3, at).bindJson(4, detail).run();
    });
}

std::optional<Request> RequestJournal::get(const std::string& key, bool withSteps) {
    std::lock_guard<std::mutex> lock(mutex_);
    return reading([&]() -> std::optional<Request> {
        Statement find(db_, prepared(kFind));
        find.bind(1, key);
        if (!find.row()) return std::nullopt;
        Request r = read(find.get());
        if (withSteps) {
            Statement steps(db_,
                            prepared("SELECT step, at, detail FROM steps WHERE key=? ORDER BY id"));
            steps.bind(1, key);
            while (steps.row())
                r.steps.push_back(Step{text(steps.get(), 0), sqlite3_column_int64(steps.get(), 1),
                                       jsonColumn(steps.get(), 2)});
        }
        return r;
    });
}

std::vector<Request> RequestJournal::list(const RequestFilter& f) {
    std::lock_guard<std::mutex> lock(mutex_);
    return reading([&] {
        Statement query(db_,
                        prepared("SELECT " + kColumns +
                                 " FROM requests WHERE (?1='' OR device=?1) AND (?2='' OR state=?2)"
                                 " AND (?3=0 OR created>=?3) AND (?4=0 OR created<=?4)"
                                 " ORDER BY created DESC, rowid DESC LIMIT ?5"));
        query.bind(1, f.device).bind(2, f.state).bind(3, f.since).bind(4, f.until);
        query.bind(5, static_cast<long long>(f.limit));
        std::vector<Request> out;
        while (query.row()) out.push_back(read(query.get()));
        return out;
    });
}

std::vector<Request> RequestJournal::unsettled(const std::string& device) {
    std::lock_guard<std::mutex> lock(mutex_);
    return reading([&] {
        Statement query(db_, prepared(kInFlight + " AND device=? ORDER BY created"));
        query.bind(1, device);
        std::vector<Request> out;
        while (query.row()) out.push_back(read(query.get()));
        return out;
    });
}

std::vector<Request> RequestJournal::unsettledElsewhere(const std::set<std::string>& devices) {
    std::lock_guard<std::mutex> lock(mutex_);
    return reading([&] {
        Statement query(db_, prepared(kInFlight + " ORDER BY created"));
        std::vector<Request> out;
        while (query.row()) {
            Request r = read(query.get());
            if (devices.count(r.device) == 0) out.push_back(std::move(r));
        }
        return out;
    });
}

}  // namespace server
