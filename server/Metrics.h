#ifndef VERDA_SERVER_METRICS_H
#define VERDA_SERVER_METRICS_H

// Counters and gauges for GET /metrics, in the Prometheus text format.

#include <array>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <tuple>

namespace server {

class Metrics {
  public:
    // One HTTP request: its route pattern, method, status and duration.
    void request(const std::string& route, const std::string& method, int status, double seconds);
    // One library call on a register; failed: the exchange got no valid reply.
    void exchange(const std::string& device, bool failed);
    void reconnect(const std::string& device);
    void ambiguous(const std::string& device);
    // outcome: committed or not-committed.
    void settled(const std::string& device, const std::string& outcome);

    // Gauges read when the page is made: queue depth and link state per register.
    struct DeviceGauges {
        int queue = 0;
        bool online = false;
    };
    std::string render(const std::map<std::string, DeviceGauges>& devices);

    static constexpr std::array<double, 12> kBuckets = {0.001, 0.0025, 0.005, 0.01, 0.025, 0.05,
                                                        0.1,   0.25,   0.5,   1,    2.5,   10};

  private:
    struct Histogram {
        std::array<unsigned long long, kBuckets.size()> buckets{};
        unsigned long long count = 0;
        double sum = 0;
    };
    std::mutex mutex_;
    std::map<std::tuple<std::string, std::string, int>, unsigned long long> requests_;
    std::map<std::string, Histogram> durations_;
    std::map<std::string, unsigned long long> exchanges_, failures_, reconnects_, ambiguous_;
    std::map<std::pair<std::string, std::string>, unsigned long long> settled_;
};

}  // namespace server

#endif
