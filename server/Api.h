#ifndef VERDA_SERVER_API_H
#define VERDA_SERVER_API_H

// The HTTP/JSON routes (described in server/openapi.json).

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <httplib.h>

#include "RequestKinds.h"
#include "Worker.h"

namespace server {

class Api {
  public:
    Api(Shared& shared, std::map<std::string, std::unique_ptr<Worker>>& workers)
        : shared_(shared), workers_(workers) {
        refreshUnconfigured();
    }
    void install(httplib::Server& http);
    // The requests in flight of registers that are no longer configured,
    // named by GET /health until they are settled (their register comes
    // back, or a person settles them): [{"device", "key", "state"}].
    json unconfigured();

  private:
    using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;
    // A route whose answers are counted and timed under its pattern.
    void route(httplib::Server& http, const char* method, const std::string& pattern,
               const std::string& name, Handler handler);
    void change(const httplib::Request& req, httplib::Response& res);
    json settleByHand(const std::string& key, const json& body);
    void refreshUnconfigured();
    Worker& worker(const std::string& id);
    Clock::time_point deadline(const httplib::Request& req);
    // The methods of the routes whose pattern the path matches: "GET, PUT".
    std::string methodsOf(const std::string& path) const;
    // CORS: a preflight (OPTIONS) answered whole, and the headers of every
    // answer to an allowed origin.
    void preflight(const httplib::Request& req, httplib::Response& res) const;
    bool allowedOrigin(const httplib::Request& req) const;

    Shared& shared_;
    std::map<std::string, std::unique_ptr<Worker>>& workers_;
    // Every route's method and pattern, for 405 and OPTIONS.
    std::vector<std::pair<std::string, std::regex>> routes_;
    // Keys being served now: a repeat waits for the first.
    std::mutex inflightMutex_;
    std::condition_variable inflightDone_;
    std::set<std::string> inflight_;
    std::mutex unconfiguredMutex_;
    json unconfigured_;
};

}  // namespace server

#endif
