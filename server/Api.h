#ifndef VERDA_SERVER_API_H
#define VERDA_SERVER_API_H

// The HTTP/JSON routes (described in server/openapi.json).

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include <httplib.h>

#include "Worker.h"

namespace server {

class Api {
  public:
    Api(Shared& shared, std::map<std::string, std::unique_ptr<Worker>>& workers)
        : shared_(shared), workers_(workers) {}
    void install(httplib::Server& http);

  private:
    using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;
    // A route whose answers are counted and timed under its pattern.
    void route(httplib::Server& http, const char* method, const std::string& pattern,
               const std::string& name, Handler handler);
    // A request that changes a register: the journal, the key, the repeat.
    using Prepare = std::function<std::function<json(Run&)>(const json& body)>;
    void change(const httplib::Request& req, httplib::Response& res, const std::string& kind,
                Prepare prepare);
    Worker& worker(const std::string& id);
    Clock::time_point deadline(const httplib::Request& req);

    Shared& shared_;
    std::map<std::string, std::unique_ptr<Worker>>& workers_;
    // Keys being served now: a repeat waits for the first.
    std::mutex inflightMutex_;
    std::condition_variable inflightDone_;
    std::set<std::string> inflight_;
};

}  // namespace server

#endif
