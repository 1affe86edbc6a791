#include "RequestJournal.h"

#include <chrono>
#include <stdexcept>

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
    "CREATE INDEX IF NOT EXISTS steps_key ON steps(key);";

const std::string kColumns =
    "key, device, method, route, kind, hash, body, state, status, answer, witness, created, "
    "updated";
const std::string kFind = "SELECT " + kColumns + " FROM requests WHERE key=?";

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
            bind(i, value.dump());
        return *this;
    }
    bool row() {
        const int rc = sqlite3_step(stmt_);
        if (rc == SQLITE_ROW) return true;
        if (rc != SQLITE_DONE)
            throw std::runtime_error(std::string("journal: ") + sqlite3_errmsg(db_));
        return false;
    }
    void run() { row(); }
    sqlite3_stmt* get() const { return stmt_; }

  private:
    sqlite3* db_;
    sqlite3_stmt* stmt_;
};

// How often the journal's log is copied into its file, off the requests' way.
const auto kCheckpointEvery = std::chrono::milliseconds(1000);

std::string text(sqlite3_stmt* row, int column) {
    const unsigned char* value = sqlite3_column_text(row, column);
    return value == nullptr ? std::string() : reinterpret_cast<const char*>(value);
}

json jsonColumn(sqlite3_stmt* row, int column) {
    if (sqlite3_column_type(row, column) == SQLITE_NULL) return nullptr;
    return json::parse(text(row, column), nullptr, false);
}

}  // namespace

bool isFinal(const std::string& s) {
    return s == state::kCommitted || s == state::kRefused || s == state::kNotCommitted ||
           s == state::kNotSent || s == state::kNoReply;
}

long long Journal::now() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

bool Journal::open(const std::string& path, std::string& error) {
    if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) !=
        SQLITE_OK) {
        error = "cannot open the journal " + path + ": " +
                (db_ != nullptr ? sqlite3_errmsg(db_) : "out of memory");
        return false;
    }
    sqlite3_busy_timeout(db_, 10000);
    try {
        // WAL with a sync of the log at every commit: a step that returned is
        // on the disk.
        exec("PRAGMA journal_mode=WAL;");
        exec("PRAGMA synchronous=FULL;");
        exec(kSchema);
        // The log is copied into the file (a checkpoint: two more syncs) by
        // a thread of its own, so that no request waits for it.
        exec("PRAGMA wal_autocheckpoint=0;");
    } catch (const std::exception& e) {
        error = "cannot use the journal " + path + ": " + e.what();
        return false;
    }
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
            // Passive: it copies what no reader still needs, and never
            // holds up a writer.
            sqlite3_wal_checkpoint_v2(checkpoints, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr,
                                      nullptr);
        }
        sqlite3_close(checkpoints);
    });
    return true;
}

Journal::~Journal() {
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

sqlite3_stmt* Journal::prepared(const std::string& sql) {
    auto found = prepared_.find(sql);
    if (found != prepared_.end()) return found->second;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v3(db_, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr) !=
        SQLITE_OK)
        throw std::runtime_error(std::string("journal: ") + sqlite3_errmsg(db_));
    prepared_.emplace(sql, stmt);
    return stmt;
}

void Journal::exec(const char* sql) {
    char* message = nullptr;
    if (sqlite3_exec(db_, sql, nullptr, nullptr, &message) != SQLITE_OK) {
        const std::string text = message != nullptr ? message : "error";
        sqlite3_free(message);
        throw std::runtime_error("journal: " + text);
    }
}

// One synchronous commit: all of body, or nothing of it.
void Journal::transaction(const std::function<void()>& body) {
    Statement(db_, prepared("BEGIN IMMEDIATE")).run();
    try {
        body();
        Statement(db_, prepared("COMMIT")).run();
    } catch (...) {
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

Request Journal::read(sqlite3_stmt* row) const {
    Request r;
    r.key = text(row, 0);
    r.device = text(row, 1);
    r.method = text(row, 2);
    r.route = text(row, 3);
    r.kind = text(row, 4);
    r.hash = text(row, 5);
    r.body = json::parse(text(row, 6), nullptr, false);
    r.state = text(row, 7);
    r.status = sqlite3_column_int(row, 8);
    r.answer = jsonColumn(row, 9);
    r.witness = jsonColumn(row, 10);
    r.created = sqlite3_column_int64(row, 11);
    r.updated = sqlite3_column_int64(row, 12);
    return r;
}

Request Journal::begin(const Request& request, bool& inserted) {
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
        insert.bind(7, request.body.dump()).bind(8, std::string(state::kReceived));
        insert.bind(9, at).bind(10, at).run();
        Statement step(db_, prepared("INSERT INTO steps(key, step, at) VALUES(?,?,?)"));
        step.bind(1, request.key).bind(2, std::string(state::kReceived)).bind(3, at).run();
        r.state = state::kReceived;
        r.created = r.updated = at;
        r.steps.push_back(Step{state::kReceived, at, nullptr});
    });
    return r;
}

void Journal::step(const std::string& key, const std::string& name, const json& detail,
                   const std::string& newState, int status, const json& answer) {
    std::lock_guard<std::mutex> lock(mutex_);
    const long long at = now();
    transaction([&] {
        Statement step(db_, prepared("INSERT INTO steps(key, step, at, detail) VALUES(?,?,?,?)"));
        step.bind(1, key).bind(2, name).bind(3, at).bindJson(4, detail).run();
        if (newState.empty()) return;
        Statement update(db_, prepared("UPDATE requests SET state=?, updated=?,"
                                       " status=CASE WHEN ?>0 THEN ? ELSE status END,"
                                       " answer=COALESCE(?, answer) WHERE key=?"));
        update.bind(1, newState).bind(2, at).bind(3, status).bind(4, status);
        update.bindJson(5, answer).bind(6, key).run();
    });
}

void Journal::sent(const std::string& key, const json& witness, const json& detail) {
    std::lock_guard<std::mutex> lock(mutex_);
    const long long at = now();
    transaction([&] {
        Statement step(db_, prepared("INSERT INTO steps(key, step, at, detail) VALUES(?,?,?,?)"));
        step.bind(1, key).bind(2, std::string(state::kSent)).bind(3, at).bindJson(4, detail).run();
        Statement update(db_,
                         prepared("UPDATE requests SET state=?, witness=?, updated=? WHERE key=?"));
        update.bind(1, std::string(state::kSent)).bindJson(2, witness).bind(3, at).bind(4, key);
        update.run();
    });
}

std::optional<Request> Journal::get(const std::string& key, bool withSteps) {
    std::lock_guard<std::mutex> lock(mutex_);
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
}

std::vector<Request> Journal::list(const RequestFilter& f) {
    std::lock_guard<std::mutex> lock(mutex_);
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
}

std::vector<Request> Journal::unsettled(const std::string& device) {
    std::lock_guard<std::mutex> lock(mutex_);
    Statement query(
        db_, prepared("SELECT " + kColumns +
                      " FROM requests WHERE device=? AND state IN (?,?,?) ORDER BY created"));
    query.bind(1, device).bind(2, std::string(state::kReceived));
    query.bind(3, std::string(state::kSent)).bind(4, std::string(state::kAmbiguous));
    std::vector<Request> out;
    while (query.row()) out.push_back(read(query.get()));
    return out;
}

}  // namespace server
