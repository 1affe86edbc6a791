#include "Api.h"

#include <cstdio>
#include <cstring>
#include <fstream>

#include "ConsoleFiles.h"
#include "OpenApiDocument.h"
#include "OperationsByName.h"
#include "Orders.h"
#include "ServerLog.h"
#include "Settings.h"

namespace server {

namespace {

const size_t kLargestBody = 1024 * 1024;
const int kLongestDeadlineMs = 3600000;
// How long a client turned away with 429 waits before it tries again, in seconds.
const char kRetryAfter[] = "1";
// What a browser application may send and read from an allowed origin.
const char kCorsRequestHeaders[] =
    "Authorization, Content-Type, Idempotency-Key, X-Deadline-Ms, Last-Event-ID";
const char kCorsExposedHeaders[] = "Idempotent-Replayed, Retry-After";
const char kCorsMaxAgeSeconds[] = "600";

// An answer other than success, thrown from a handler.
struct HttpError {
    int status;
    std::string text;
    json field = nullptr;
};

void send(httplib::Response& res, int status, const json& body) {
    res.status = status;
    res.set_content(body.dump(-1, ' ', false, json::error_handler_t::replace), "application/json");
}

void send(httplib::Response& res, const Outcome& outcome) {
    if (outcome.replayed) res.set_header("Idempotent-Replayed", "true");
    if (outcome.status == 429) res.set_header("Retry-After", kRetryAfter);
    send(res, outcome.status, outcome.body);
}

void sendError(httplib::Response& res, int status, const std::string& text,
               const json& field = nullptr) {
    send(res, status, errorBody(status, text, field));
}

json parseBody(const httplib::Request& req) {
    if (req.body.empty()) return nullptr;
    json body = json::parse(req.body, nullptr, false);
    if (body.is_discarded()) throw HttpError{400, "the body is not valid JSON", "body"};
    return body;
}

// FNV-1a, 64 bits: the same text gives the same hash in every run.
std::string hashOf(const std::string& text) {
    unsigned long long h = 14695981039346656037ULL;
    for (unsigned char c : text) {
        h ^= c;
        h *= 1099511628211ULL;
    }
    char out[17];
    std::snprintf(out, sizeof out, "%016llx", h);
    return out;
}

json requestJson(const Request& r, bool full) {
    json out = {{"key", r.key},
                {"device", r.device},
                {"method", r.method},
                {"route", r.route},
                {"kind", r.kind},
                {"state", stateName(r.state)},
                {"status", r.status == 0 ? json() : json(r.status)},
                {"answer", r.answer},
                {"created", isoTime(r.created)},
                {"updated", isoTime(r.updated)}};
    if (full) {
        out["body"] = r.body;
        out["witness"] = r.witness;
        out["steps"] = json::array();
        for (const Step& s : r.steps)
            out["steps"].push_back({{"step", s.step}, {"at", isoTime(s.at)}, {"detail", s.detail}});
    }
    return out;
}

// A time bound of GET /requests: milliseconds since the epoch, or RFC 3339 UTC.
long long timeParam(const httplib::Request& req, const char* name) {
    if (!req.has_param(name)) return 0;
    const std::string text = req.get_param_value(name);
    if (!text.empty() && text.size() <= 15 &&
        text.find_first_not_of("0123456789") == std::string::npos)
        return std::stoll(text);
    std::tm t = std::tm();
    int ms = 0;
    char tail = 0;
    const int got =
        std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%3dZ%c", &t.tm_year, &t.tm_mon,
                    &t.tm_mday, &t.tm_hour, &t.tm_min, &t.tm_sec, &ms, &tail);
    int got2 = 0;
    if (got != 7) {
        ms = 0;
        got2 = std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2dZ%c", &t.tm_year, &t.tm_mon,
                           &t.tm_mday, &t.tm_hour, &t.tm_min, &t.tm_sec, &tail);
    }
    if ((got != 7 && got2 != 6) || t.tm_year < 1970 || t.tm_mon < 1 || t.tm_mon > 12)
        throw HttpError{400, "milliseconds since 1970 or YYYY-MM-DDTHH:MM:SSZ", name};
    t.tm_year -= 1900;
    t.tm_mon -= 1;
    return static_cast<long long>(timegm(&t)) * 1000 + ms;
}

int intParam(const std::string& text, const std::string& name, int low, int high) {
    if (text.empty() || text.size() > 9 ||
        text.find_first_not_of("0123456789") != std::string::npos || std::stoi(text) < low ||
        std::stoi(text) > high)
        throw HttpError{
            400, "a whole number from " + std::to_string(low) + " to " + std::to_string(high),
            name};
    return std::stoi(text);
}

// The longest head of text that ends on a whole UTF-8 character.
size_t wholeCharacters(const std::string& text) {
    size_t end = text.size();
    for (size_t back = 1; back <= 3 && back <= text.size(); ++back) {
        const unsigned char c = static_cast<unsigned char>(text[text.size() - back]);
        if ((c & 0xC0) == 0x80) continue;  // a continuation byte
        const size_t length = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
        if (length > back) end = text.size() - back;
        break;
    }
    return end;
}

// The requests that need no token: the health check, and the console's
// files, which hold no data (the page asks for the token and sends it with
// every request of its own).
bool isPublic(const httplib::Request& req) {
    return req.method == "GET" &&
           (req.path == "/health" || req.path == "/" || req.path.rfind("/console/", 0) == 0);
}

// A file of the console by its name, with its media type.
void sendConsoleFile(httplib::Response& res, const std::string& name) {
    static const std::pair<const char*, const char*> kTypes[] = {
        {".html", "text/html; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".svg", "image/svg+xml"}};
    for (const EmbeddedFile& file : kConsoleFiles) {
        if (name != file.name) continue;
        const char* type = "text/plain; charset=utf-8";
        for (const auto& known : kTypes) {
            const size_t length = std::strlen(known.first);
            if (name.size() > length &&
                name.compare(name.size() - length, length, known.first) == 0)
                type = known.second;
        }
        res.set_content(file.text, type);
        // The files change with the program: the browser asks again each time.
        res.set_header("Cache-Control", "no-cache");
        res.set_header("X-Content-Type-Options", "nosniff");
        res.set_header("Content-Security-Policy",
                       "default-src 'self'; frame-ancestors 'none'; base-uri 'none'");
        return;
    }
    throw HttpError{404, "no such file of the console", "file"};
}

}  // namespace

Worker& Api::worker(const std::string& id) {
    auto found = workers_.find(id);
    if (found == workers_.end()) throw HttpError{404, "no register " + id, "id"};
    return *found->second;
}

Clock::time_point Api::deadline(const httplib::Request& req) {
    int ms = shared_.config.deadlineMs;
    if (req.has_header("X-Deadline-Ms"))
        ms =
            intParam(req.get_header_value("X-Deadline-Ms"), "X-Deadline-Ms", 1, kLongestDeadlineMs);
    return Clock::now() + std::chrono::milliseconds(ms);
}

void Api::route(httplib::Server& http, const char* method, const std::string& pattern,
                const std::string& name, Handler handler) {
    auto wrapped = [this, name, method, handler](const httplib::Request& req,
                                                 httplib::Response& res) {
        const auto begin = Clock::now();
        try {
            handler(req, res);
        } catch (const HttpError& e) {
            sendError(res, e.status, e.text, e.field);
        } catch (const BadInput& e) {
            sendError(res, 400, e.text, e.field);
        } catch (const JournalError& e) {
            send(res, journalUnavailable(shared_.journal.health().cause));
        } catch (const std::exception& e) {
            logError(std::string("request failed: ") + e.what(), {{"route", name}});
            sendError(res, 500, e.what());
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        shared_.metrics.request(name, method, res.status, seconds);
    };
    const std::string m = method;
    routes_.emplace_back(m, std::regex(pattern));
    if (m == "GET") http.Get(pattern, wrapped);
    if (m == "POST") http.Post(pattern, wrapped);
    if (m == "PUT") http.Put(pattern, wrapped);
    if (m == "DELETE") http.Delete(pattern, wrapped);
}

// A request that changes a register: the key, the body read whole into its
// run before anything is recorded (readOrder), then the worker (Worker::change).
void Api::change(const httplib::Request& req, httplib::Response& res) {
    Worker& w = worker(req.matches[1]);
    // The path's register is w: the route matched the same path.
    const Order order =
        readOrder(req.method, req.path, req.headers, req.body,
                  [&w](const std::string&) -> const DeviceConfig& { return w.config(); });
    const std::string& key = order.key;
    const auto until = deadline(req);

    // One request of a key at a time; a repeat waits for the first.
    {
        std::unique_lock<std::mutex> lock(inflightMutex_);
        inflightDone_.wait(lock, [&] { return inflight_.count(key) == 0; });
        inflight_.insert(key);
    }
    struct Release {
        Api& api;
        const std::string& key;
        ~Release() {
            {
                std::lock_guard<std::mutex> lock(api.inflightMutex_);
                api.inflight_.erase(key);
            }
            api.inflightDone_.notify_all();
        }
    } release{*this, key};

    Request r;
    r.key = key;
    r.device = w.id();
    r.method = req.method;
    r.route = req.path;
    r.kind = journalKind(*order.kind, order.parameters);
    r.body = order.body;
    r.hash = hashOf(req.method + " " + req.path + " " + order.body.dump());
    send(res, w.change(r, order.task, until));
}

void Api::refreshUnconfigured() {
    std::set<std::string> configured;
    for (const auto& w : workers_) configured.insert(w.first);
    json out = json::array();
    for (const Request& r : shared_.journal.unsettledElsewhere(configured))
        out.push_back({{"device", r.device}, {"key", r.key}, {"state", stateName(r.state)}});
    std::lock_guard<std::mutex> lock(unconfiguredMutex_);
    unconfigured_ = out;
}

json Api::unconfigured() {
    std::lock_guard<std::mutex> lock(unconfiguredMutex_);
    return unconfigured_;
}

// POST /requests/{key}/settle: a person settles an ambiguous request.
json Api::settleByHand(const std::string& key, const json& body) {
    if (!body.is_object()) throw BadInput{"body", "must be an object"};
    for (const auto& item : body.items())
        if (item.key() != "state" && item.key() != "document") throw unknownField("", item.key());
    const std::string state = body.value("state", "");
    const bool done = state == stateName(State::Committed);
    if (!done && state != stateName(State::NotCommitted))
        throw BadInput{"state", "committed or not-committed"};
    int document = 0;
    if (done) {
        if (!body.contains("document") || !body["document"].is_number_integer() ||
            body["document"].get<long long>() < 1 || body["document"].get<long long>() > 999999999)
            throw BadInput{"document", "the fiscal document's number, from 1 to 999999999"};
        document = body["document"].get<int>();
    } else if (body.contains("document")) {
        throw BadInput{"document", "only a committed request has a document"};
    }
    const auto r = shared_.journal.get(key, false);
    if (!r) throw HttpError{404, "no request with this key", "key"};
    if (r->state != State::Ambiguous)
        throw HttpError{409,
                        std::string("only an ambiguous request is settled by hand; this one is ") +
                            stateName(r->state),
                        "key"};
    json detail = {{"by", "hand"}, {"state", state}, {"at", isoTime(RequestJournal::now())}};
    json answer;
    if (done) {
        detail["document"] = document;
        answer = committed({{"document", document}, {"settled", "by-hand"}});
    } else {
        answer = notCommitted(503, "settled by hand as not committed");
    }
    if (!shared_.move(r->device, key, State::Ambiguous,
                      done ? Event::ByHandCommitted : Event::ByHandNotCommitted, detail, answer))
        throw HttpError{409, "the request was settled meanwhile", "key"};
    shared_.metrics.settled(r->device, state);
    logInfo("request settled by hand", {{"device", r->device}, {"key", key}, {"state", state}});
    auto found = workers_.find(r->device);
    if (found != workers_.end())
        found->second->wake();
    else
        refreshUnconfigured();
    return requestJson(*shared_.journal.get(key), true);
}

std::string Api::methodsOf(const std::string& path) const {
    std::set<std::string> found;
    std::string out;
    for (const auto& r : routes_)
        if (std::regex_match(path, r.second) && found.insert(r.first).second)
            out += (out.empty() ? "" : ", ") + r.first;
    return out;
}

bool Api::allowedOrigin(const httplib::Request& req) const {
    if (!req.has_header("Origin")) return false;
    const std::string origin = req.get_header_value("Origin");
    for (const std::string& allowed : shared_.config.allowOrigins)
        if (origin == allowed) return true;
    return false;
}

// A browser asks before a request of another origin that carries a token, a
// key or a JSON body. An origin not allowed is refused, with no CORS header:
// the browser then sends nothing.
void Api::preflight(const httplib::Request& req, httplib::Response& res) const {
    const std::string methods = methodsOf(req.path);
    if (methods.empty()) return sendError(res, 404, "no such route");
    if (!req.has_header("Origin")) {
        res.status = 204;
        res.set_header("Allow", methods + ", OPTIONS");
        return;
    }
    if (!allowedOrigin(req))
        return sendError(res, 403, "this origin may not call the server (allow_origin)", "Origin");
    res.status = 204;
    res.set_header("Access-Control-Allow-Methods", methods);
    res.set_header("Access-Control-Allow-Headers", kCorsRequestHeaders);
    res.set_header("Access-Control-Max-Age", kCorsMaxAgeSeconds);
}

void Api::install(httplib::Server& http) {
    http.set_payload_max_length(kLargestBody);
    const std::string token = shared_.config.token;
    http.set_pre_routing_handler([this, token](const httplib::Request& req,
                                               httplib::Response& res) {
        // A request without Content-Length or Transfer-Encoding has no body
        // (curl -X POST sends such a request); the library would wait for the
        // connection's end instead. The request is the library's own, not
        // const: it is only handed here as const.
        if ((req.method == "POST" || req.method == "PUT" || req.method == "DELETE") &&
            !req.has_header("Content-Length") && !req.has_header("Transfer-Encoding"))
            const_cast<httplib::Request&>(req).set_header("Content-Length", "0");
        if (req.method == "OPTIONS") {
            preflight(req, res);
            shared_.metrics.request("preflight", req.method, res.status, 0);
            return httplib::Server::HandlerResponse::Handled;
        }
        if (token.empty() || isPublic(req)) return httplib::Server::HandlerResponse::Unhandled;
        const std::string expected = "Bearer " + token;
        const std::string given = req.get_header_value("Authorization");
        // Compared in a time that does not depend on where they differ.
        unsigned char diff = given.size() == expected.size() ? 0 : 1;
        for (size_t i = 0; i < given.size() && i < expected.size(); ++i)
            diff |= static_cast<unsigned char>(given[i] ^ expected[i]);
        if (diff == 0) return httplib::Server::HandlerResponse::Unhandled;
        res.set_header("WWW-Authenticate", "Bearer");
        sendError(res, 401, given.empty() ? "a token is needed" : "wrong token", "Authorization");
        shared_.metrics.request("unauthorized", req.method, 401, 0);
        return httplib::Server::HandlerResponse::Handled;
    });
    // Called for every answer of status 400 and above: the routes' own
    // answers have a body already; what the library refused before any
    // route (no route, a body too large, a request it cannot parse) gets one.
    http.set_error_handler(httplib::Server::HandlerWithResponse(
        [this](const httplib::Request& req, httplib::Response& res) {
            const std::string methods = res.status == 404 ? methodsOf(req.path) : "";
            if (res.status == 413) {
                sendError(res, 400, "the body is over 1 MiB", "body");
            } else if (!res.body.empty()) {
                return httplib::Server::HandlerResponse::Unhandled;
            } else if (!methods.empty()) {
                // A known path asked with a method it does not take.
                res.set_header("Allow", methods);
                sendError(res, 405, "this route takes " + methods, "method");
            } else {
                sendError(res, res.status, res.status == 404 ? "no such route" : "bad request");
            }
            shared_.metrics.request("unknown", req.method, res.status, 0);
            return httplib::Server::HandlerResponse::Handled;
        }));
    // Every answer to an allowed origin, the refusals included, tells the
    // browser that its application may read it.
    if (!shared_.config.allowOrigins.empty())
        http.set_post_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
            res.set_header("Vary", "Origin");
            if (!allowedOrigin(req)) return;
            res.set_header("Access-Control-Allow-Origin", req.get_header_value("Origin"));
            res.set_header("Access-Control-Expose-Headers", kCorsExposedHeaders);
        });

    route(http, "GET", "/health", "/health",
          [this, token](const httplib::Request&, httplib::Response& res) {
              const JournalHealth journal = shared_.journal.health();
              json out = {{"status", "ok"},
                          {"version", VERDA_VERSION},
                          {"token_required", !token.empty()},
                          {"journal", {{"writable", journal.writable}}},
                          {"registers", json::object()}};
              if (!journal.writable) out["journal"]["cause"] = journal.cause;
              for (auto& w : workers_) {
                  const json changes = w.second->changes();
                  if (changes["state"] != "open") out["registers"][w.first] = changes;
              }
              {
                  std::lock_guard<std::mutex> lock(unconfiguredMutex_);
                  out["unconfigured"] = unconfigured_;
              }
              bool attention = !out["unconfigured"].empty();
              for (const auto& r : out["registers"].items())
                  attention = attention || (r.value()["state"] != "settling");
              if (!journal.writable)
                  out["status"] = "unavailable";
              else if (attention)
                  out["status"] = "attention";
              send(res, journal.writable ? 200 : 503, out);
          });
    route(http, "GET", "/openapi.json", "/openapi.json",
          [](const httplib::Request&, httplib::Response& res) {
              res.set_content(kOpenApi[0].text, "application/json");
          });
    route(http, "GET", "/metrics", "/metrics",
          [this](const httplib::Request&, httplib::Response& res) {
              std::map<std::string, Metrics::DeviceGauges> gauges;
              for (auto& w : workers_) gauges[w.first] = w.second->gauges();
              const Metrics::JournalGauges journal = {shared_.journal.health().writable,
                                                      shared_.journal.commits()};
              res.set_content(shared_.metrics.render(gauges, journal),
                              "text/plain; version=0.0.4; charset=utf-8");
          });
    route(http, "GET", "/devices", "/devices",
          [this](const httplib::Request&, httplib::Response& res) {
              json out = json::array();
              for (auto& w : workers_) out.push_back(w.second->describe());
              send(res, 200, out);
          });
    route(http, "GET", "/devices/([^/]+)", "/devices/{id}",
          [this](const httplib::Request& req, httplib::Response& res) {
              send(res, 200, worker(req.matches[1]).describe());
          });
    route(http, "GET", "/errors/([^/]+)", "/errors/{code}",
          [](const httplib::Request& req, httplib::Response& res) {
              const std::string text = req.matches[1];
              const size_t sign = text[0] == '-' ? 1 : 0;
              if (text.size() == sign || text.size() > sign + 9 ||
                  text.find_first_not_of("0123456789", sign) != std::string::npos)
                  throw HttpError{400, "a result code: a whole number, such as -9", "code"};
              const int code = std::stoi(text);
              send(res, 200, {{"code", code}, {"text", verda_error_text(code)}});
          });

    // --- Requests that change a register, one route for each kind -------------------
    for (const RequestKind& kind : requestKinds())
        route(http, kind.method, routePattern(kind), std::string("/devices/{id}") + kind.path,
              [this](const httplib::Request& req, httplib::Response& res) { change(req, res); });
    route(http, "GET", "/operations", "/operations",
          [](const httplib::Request&, httplib::Response& res) {
              send(res, 200, {{"operations", listOperations()}});
          });

    // --- Reads through a register's queue ----------------------------------------------
    auto readRoute =
        [this, &http](
            const std::string& pattern, const std::string& name,
            std::function<std::function<json(RegisterHandle&)>(const httplib::Request&)> make) {
            route(http, "GET", pattern, name,
                  [this, make](const httplib::Request& req, httplib::Response& res) {
                      Worker& w = worker(req.matches[1]);
                      auto task = make(req);
                      send(res, w.read(task, deadline(req)));
                  });
        };
    readRoute("/devices/([^/]+)/clock", "/devices/{id}/clock", [](const httplib::Request&) {
        return [](RegisterHandle& d) { return readClock(d); };
    });
    readRoute("/devices/([^/]+)/settings", "/devices/{id}/settings",
              [this](const httplib::Request& req) {
                  const PaymentModes modes = worker(req.matches[1]).config().paymentModes;
                  return [modes](RegisterHandle& d) { return readSettings(d, modes); };
              });
    readRoute("/devices/([^/]+)/articles", "/devices/{id}/articles", [](const httplib::Request&) {
        return [](RegisterHandle& d) { return json{{"articles", readArticles(d)}}; };
    });
    readRoute("/devices/([^/]+)/journal/([0-9]{1,9})", "/devices/{id}/journal/{document}",
              [](const httplib::Request& req) {
                  const int number = intParam(req.matches[2], "document", 1, 999999999);
                  bool byNumber = false;
                  if (req.has_param("by")) {
                      const std::string by = req.get_param_value("by");
                      if (by != "fiscal" && by != "number")
                          throw HttpError{400, "fiscal or number", "by"};
                      byNumber = by == "number";
                  }
                  return [number, byNumber](RegisterHandle& d) {
                      return readJournalDocument(d, number, !byNumber);
                  };
              });

    // --- The journal ----------------------------------------------------------------------
    route(http, "GET", "/requests", "/requests",
          [this](const httplib::Request& req, httplib::Response& res) {
              RequestFilter f;
              if (req.has_param("device")) f.device = req.get_param_value("device");
              if (req.has_param("state")) {
                  f.state = req.get_param_value("state");
                  State known;
                  if (!stateFromName(f.state, known))
                      throw HttpError{400, "a state of a request: received, sent, committed, ...",
                                      "state"};
              }
              f.since = timeParam(req, "since");
              f.until = timeParam(req, "until");
              if (req.has_param("limit"))
                  f.limit = intParam(req.get_param_value("limit"), "limit", 1, 10000);
              json out = json::array();
              for (const Request& r : shared_.journal.list(f)) out.push_back(requestJson(r, false));
              send(res, 200, {{"requests", out}});
          });
    route(http, "POST", "/requests/(.+)/settle", "/requests/{key}/settle",
          [this](const httplib::Request& req, httplib::Response& res) {
              send(res, 200, settleByHand(req.matches[1], parseBody(req)));
          });
    route(http, "GET", "/requests/(.+)", "/requests/{key}",
          [this](const httplib::Request& req, httplib::Response& res) {
              auto r = shared_.journal.get(req.matches[1]);
              if (!r) throw HttpError{404, "no request with this key", "key"};
              send(res, 200, requestJson(*r, true));
          });

    // --- For the console -------------------------------------------------------------------
    route(http, "GET", "/", "/", [](const httplib::Request&, httplib::Response& res) {
        sendConsoleFile(res, "index.html");
    });
    route(http, "GET", "/console/([A-Za-z0-9_.-]{1,64})", "/console/{file}",
          [](const httplib::Request& req, httplib::Response& res) {
              sendConsoleFile(res, req.matches[1]);
          });
    route(http, "GET", "/devices/([^/]+)/paper", "/devices/{id}/paper",
          [this](const httplib::Request& req, httplib::Response& res) {
              Worker& w = worker(req.matches[1]);
              if (!w.simulated()) throw HttpError{404, "only a simulated register has paper", "id"};
              long long from = 0;
              if (req.has_param("from"))
                  from = intParam(req.get_param_value("from"), "from", 0, 999999999);
              std::ifstream file(w.paperFile(), std::ios::binary);
              file.seekg(0, std::ios::end);
              const long long size = file ? static_cast<long long>(file.tellg()) : 0;
              if (from > size) from = size;
              std::string text(static_cast<size_t>(std::min<long long>(size - from, kLargestBody)),
                               '\0');
              file.seekg(from);
              file.read(&text[0], static_cast<std::streamsize>(text.size()));
              text.resize(wholeCharacters(text));
              send(res, 200,
                   {{"from", from},
                    {"next", from + static_cast<long long>(text.size())},
                    {"text", text}});
          });
    route(http, "GET", "/events", "/events",
          [this](const httplib::Request& req, httplib::Response& res) {
              unsigned long long last = shared_.events.last();
              if (req.has_header("Last-Event-ID"))
                  last = static_cast<unsigned long long>(intParam(
                      req.get_header_value("Last-Event-ID"), "Last-Event-ID", 0, 999999999));
              auto position = std::make_shared<unsigned long long>(last);
              res.set_header("Cache-Control", "no-cache");
              res.set_chunked_content_provider(
                  "text/event-stream", [this, position](size_t, httplib::DataSink& sink) {
                      const auto events = shared_.events.after(*position, 15000);
                      if (shared_.events.closed()) return false;
                      std::string out;
                      for (const LiveEvent& e : events) {
                          out += "id: " + std::to_string(e.id) + "\nevent: " + e.type + "\ndata: " +
                                 e.data.dump(-1, ' ', false, json::error_handler_t::replace) +
                                 "\n\n";
                          *position = e.id;
                      }
                      if (events.empty()) out = ": idle\n\n";
                      return sink.is_writable() && sink.write(out.data(), out.size());
                  });
          });
}

}  // namespace server
