#include "Api.h"

#include <cstdio>
#include <cstring>
#include <fstream>

#include "ConsoleFiles.h"
#include "OperationsByName.h"
#include "ServerLog.h"
#include "OpenApiDocument.h"
#include "Orders.h"

namespace server {

namespace {

const size_t kLargestBody = 1024 * 1024;
const int kLongestDeadlineMs = 3600000;

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
                {"state", r.state},
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
        } catch (const std::exception& e) {
            logError(std::string("request failed: ") + e.what(), {{"route", name}});
            sendError(res, 500, e.what());
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        shared_.metrics.request(name, method, res.status, seconds);
    };
    const std::string m = method;
    if (m == "GET") http.Get(pattern, wrapped);
    if (m == "POST") http.Post(pattern, wrapped);
    if (m == "PUT") http.Put(pattern, wrapped);
    if (m == "DELETE") http.Delete(pattern, wrapped);
}

// The journal's side of a request that changes a register; see Worker.cpp
// for the states.
void Api::change(const httplib::Request& req, httplib::Response& res, const std::string& kind,
                 Prepare prepare) {
    Worker& w = worker(req.matches[1]);
    if (!req.has_header("Idempotency-Key"))
        throw HttpError{400, "a request that changes the register needs an Idempotency-Key",
                        "Idempotency-Key"};
    const std::string key = req.get_header_value("Idempotency-Key");
    std::string why;
    if (key.empty() || key.size() > 200 || !printable(key, why))
        throw HttpError{400, "1 to 200 printable characters", "Idempotency-Key"};
    const json body = parseBody(req);
    auto task = prepare(body);  // bad input stops here, before the journal
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
    r.kind = kind;
    r.body = body;
    r.hash = hashOf(req.method + " " + req.path + " " + body.dump());
    bool inserted = false;
    Request existing = shared_.journal.begin(r, inserted);
    if (inserted) {
        shared_.events.publish("request", {{"key", key},
                                           {"device", r.device},
                                           {"step", "received"},
                                           {"state", state::kReceived}});
    } else {
        if (existing.hash != r.hash)
            throw HttpError{409, "the key was used for another request", "Idempotency-Key"};
        if (existing.state == state::kNotSent || existing.state == state::kNotCommitted) {
            // It did not take effect: safe to run again.
            shared_.record(r.device, key, state::kReceived, {{"again", true}}, state::kReceived);
            existing.state = state::kReceived;
        } else if (existing.status != 0 && existing.state != state::kSent &&
                   existing.state != state::kReceived) {
            res.set_header("Idempotent-Replayed", "true");
            send(res, existing.status, existing.answer);
            return;
        } else {
            // Left in flight by a server that stopped: settled from the register soon.
            send(res, 202, {{"state", existing.state}, {"key", key}});
            return;
        }
    }
    const Outcome outcome = w.perform(existing, task, until);
    send(res, outcome.status, outcome.body);
}

void Api::install(httplib::Server& http) {
    http.set_payload_max_length(kLargestBody);
    const std::string token = shared_.config.token;
    http.set_pre_routing_handler([this, token](const httplib::Request& req,
                                               httplib::Response& res) {
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
            if (res.status == 413)
                sendError(res, 400, "the body is over 1 MiB", "body");
            else if (res.body.empty())
                sendError(res, res.status, res.status == 404 ? "no such route" : "bad request");
            else
                return httplib::Server::HandlerResponse::Unhandled;
            shared_.metrics.request("unknown", req.method, res.status, 0);
            return httplib::Server::HandlerResponse::Handled;
        }));

    route(
        http, "GET", "/health", "/health",
        [token](const httplib::Request&, httplib::Response& res) {
            send(
                res, 200,
                {{"status", "ok"}, {"version", VERDA_VERSION}, {"token_required", !token.empty()}});
        });
    route(http, "GET", "/openapi.json", "/openapi.json",
          [](const httplib::Request&, httplib::Response& res) {
              res.set_content(kOpenApi[0].text, "application/json");
          });
    route(http, "GET", "/metrics", "/metrics",
          [this](const httplib::Request&, httplib::Response& res) {
              std::map<std::string, Metrics::DeviceGauges> gauges;
              for (auto& w : workers_)
                  gauges[w.first] = {w.second->queueDepth(), w.second->online()};
              res.set_content(shared_.metrics.render(gauges), "text/plain; version=0.0.4");
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
    route(http, "GET", "/errors/(-?[0-9]{1,9})", "/errors/{code}",
          [](const httplib::Request& req, httplib::Response& res) {
              const int code = std::stoi(req.matches[1]);
              send(res, 200, {{"code", code}, {"text", verda_error_text(code)}});
          });

    // --- Requests that change a register ---------------------------------------------
    route(http, "POST", "/devices/([^/]+)/receipts", "/devices/{id}/receipts",
          [this](const httplib::Request& req, httplib::Response& res) {
              change(req, res, "receipt", [](const json& body) {
                  const ReceiptOrder order = readReceipt(body);
                  return [order](Run& run) { return runReceipt(run, order); };
              });
          });
    route(http, "POST", "/devices/([^/]+)/shift/open", "/devices/{id}/shift/open",
          [this](const httplib::Request& req, httplib::Response& res) {
              change(req, res, "shift-open", [](const json& body) {
                  std::string cashier;
                  if (!body.is_null()) {
                      if (!body.is_object()) throw BadInput{"body", "must be an object"};
                      for (const auto& item : body.items())
                          if (item.key() != "cashier") throw BadInput{item.key(), "unknown field"};
                      if (body.contains("cashier")) {
                          std::string why;
                          if (!body["cashier"].is_string())
                              throw BadInput{"cashier", "must be a string"};
                          cashier = body["cashier"].get<std::string>();
                          if (!printable(cashier, why)) throw BadInput{"cashier", why};
                      }
                  }
                  return [cashier](Run& run) { return runShiftOpen(run, cashier); };
              });
          });
    for (const char type : {'X', 'Z'}) {
        const std::string path = std::string(1, static_cast<char>(type + 32)) + "-report";
        route(http, "POST", "/devices/([^/]+)/" + path, "/devices/{id}/" + path,
              [this, type, path](const httplib::Request& req, httplib::Response& res) {
                  change(req, res, path, [type](const json& body) {
                      readNothing(body);
                      return [type](Run& run) { return runReport(run, type); };
                  });
              });
    }
    for (const bool in : {true, false}) {
        const std::string path = in ? "cash-in" : "cash-out";
        route(http, "POST", "/devices/([^/]+)/" + path, "/devices/{id}/" + path,
              [this, in, path](const httplib::Request& req, httplib::Response& res) {
                  change(req, res, path, [in](const json& body) {
                      const double amount = readCashAmount(body);
                      return [in, amount](Run& run) { return runCash(run, in, amount); };
                  });
              });
    }
    route(http, "POST", "/devices/([^/]+)/text", "/devices/{id}/text",
          [this](const httplib::Request& req, httplib::Response& res) {
              change(req, res, "text", [](const json& body) {
                  const auto lines = readTextLines(body);
                  return [lines](Run& run) { return runText(run, lines); };
              });
          });
    route(http, "POST", "/devices/([^/]+)/drawer", "/devices/{id}/drawer",
          [this](const httplib::Request& req, httplib::Response& res) {
              change(req, res, "drawer", [](const json& body) {
                  readNothing(body);
                  return [](Run& run) { return runDrawer(run); };
              });
          });
    route(http, "PUT", "/devices/([^/]+)/clock", "/devices/{id}/clock",
          [this](const httplib::Request& req, httplib::Response& res) {
              change(req, res, "clock", [](const json& body) {
                  const std::string datetime = readDateTime(body);
                  return [datetime](Run& run) { return runSetClock(run, datetime); };
              });
          });
    route(http, "PUT", "/devices/([^/]+)/articles/([0-9]{1,6})", "/devices/{id}/articles/{code}",
          [this](const httplib::Request& req, httplib::Response& res) {
              const int code = intParam(req.matches[2], "code", 1, 999999);
              change(req, res, "article-put", [code](const json& body) {
                  const ArticleOrder article = readArticle(body);
                  return [code, article](Run& run) { return runPutArticle(run, code, article); };
              });
          });
    route(http, "DELETE", "/devices/([^/]+)/articles/([0-9]{1,6})", "/devices/{id}/articles/{code}",
          [this](const httplib::Request& req, httplib::Response& res) {
              const int code = intParam(req.matches[2], "code", 1, 999999);
              change(req, res, "article-delete", [code](const json& body) {
                  readNothing(body);
                  return [code](Run& run) { return runDeleteArticle(run, code); };
              });
          });

    route(http, "POST", "/devices/([^/]+)/operations/([A-Za-z0-9_]{1,64})",
          "/devices/{id}/operations/{name}",
          [this](const httplib::Request& req, httplib::Response& res) {
              const std::string name = req.matches[2];
              change(req, res, operationKind(name),
                     [name](const json& body) { return prepareCall(name, body); });
          });
    route(http, "GET", "/operations", "/operations",
          [](const httplib::Request&, httplib::Response& res) {
              send(res, 200, {{"operations", listOperations()}});
          });

    // --- Reads through a register's queue ----------------------------------------------
    auto readRoute =
        [this, &http](const std::string& pattern, const std::string& name,
                      std::function<std::function<json(Device&)>(const httplib::Request&)> make) {
            route(http, "GET", pattern, name,
                  [this, make](const httplib::Request& req, httplib::Response& res) {
                      Worker& w = worker(req.matches[1]);
                      auto task = make(req);
                      const Outcome o = w.read(task, deadline(req));
                      send(res, o.status, o.body);
                  });
        };
    readRoute("/devices/([^/]+)/clock", "/devices/{id}/clock",
              [](const httplib::Request&) { return [](Device& d) { return readClock(d); }; });
    readRoute("/devices/([^/]+)/articles", "/devices/{id}/articles", [](const httplib::Request&) {
        return [](Device& d) { return json{{"articles", readArticles(d)}}; };
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
                  return [number, byNumber](Device& d) {
                      return readJournalDocument(d, number, !byNumber);
                  };
              });

    // --- The journal ----------------------------------------------------------------------
    route(http, "GET", "/requests", "/requests",
          [this](const httplib::Request& req, httplib::Response& res) {
              RequestFilter f;
              if (req.has_param("device")) f.device = req.get_param_value("device");
              if (req.has_param("state")) f.state = req.get_param_value("state");
              f.since = timeParam(req, "since");
              f.until = timeParam(req, "until");
              if (req.has_param("limit"))
                  f.limit = intParam(req.get_param_value("limit"), "limit", 1, 10000);
              json out = json::array();
              for (const Request& r : shared_.journal.list(f)) out.push_back(requestJson(r, false));
              send(res, 200, {{"requests", out}});
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
                      for (const Event& e : events) {
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
