#ifndef VERDA_SERVER_METRICS_H
#define VERDA_SERVER_METRICS_H

// Counters and gauges for GET /metrics, in the Prometheus text format.

#include <array>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace server {

class Metrics {
  public:
    // One HTTP request: its route pattern, method, status and duration.
    void request(const std::string& route, const std::string& method, int status, double seconds);
    // One library call on a register; failed: the exchange got no valid reply.
    void exchange(const std::string& device, bool failed);
    // Frames a register's link sent again, and NAKs it received, since the last report.
    void frames(const std::string& device, unsigned long long repeats, unsigned long long naks);
    void reconnect(const std::string& device);
    void ambiguous(const std::string& device);
    // outcome: committed, not-committed or no-reply.
    void settled(const std::string& device, const std::string& outcome);
    // A request turned away (429) because too many wait for the register.
    void rejected(const std::string& device);
    // The journal failed to take a write.
    void journalFailed();

    // Gauges read when the page is made, per register: the queue's depth,
    // whether the link is open, whether the register takes no new change
    // (settling first) and whether another register is at its address; the
    // requests not settled yet; and its fiscal health as last read (times in
    // seconds since the epoch), each left out while it is not known.
    struct DeviceGauges {
        int queue = 0;
        bool online = false;
        bool held = false;
        bool replaced = false;
        std::optional<int> unsettled;
        std::vector<std::pair<std::string, std::string>> info;  // label, value
        std::optional<bool> shiftOpen;
        std::optional<long long> shiftOpened, deadline, oldestUnsent;
        std::optional<int> unsent;
        std::optional<unsigned> warnings;
        std::string verdict;  // "ok", "attention" or "blocked"; empty before a reading
    };
    // And the journal's: whether it takes writes, and its commits so far.
    struct JournalGauges {
        bool writable = true;
        unsigned long long commits = 0;
    };
    std::string render(const std::map<std::string, DeviceGauges>& devices,
                       const JournalGauges& journal);

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
    std::map<std::string, unsigned long long> exchanges_, failures_, repeats_, naks_, reconnects_,
        ambiguous_, rejected_;
    unsigned long long journalErrors_ = 0;
    std::map<std::pair<std::string, std::string>, unsigned long long> settled_;
};

}  // namespace server

#endif
