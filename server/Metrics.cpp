#include "Metrics.h"

#include <sstream>

namespace server {

namespace {

// A label value with \, " and line ends escaped.
std::string label(const std::string& value) {
    std::string out;
    for (char c : value) {
        if (c == '\\' || c == '"') out += '\\';
        if (c == '\n') {
            out += "\\n";
            continue;
        }
        out += c;
    }
    return out;
}

void header(std::ostream& out, const char* name, const char* type, const char* help) {
    out << "# HELP " << name << ' ' << help << "\n# TYPE " << name << ' ' << type << '\n';
}

void perDevice(std::ostream& out, const char* name, const char* help,
               const std::map<std::string, unsigned long long>& values) {
    header(out, name, "counter", help);
    for (const auto& v : values)
        out << name << "{device=\"" << label(v.first) << "\"} " << v.second << '\n';
}

}  // namespace

void Metrics::request(const std::string& route, const std::string& method, int status,
                      double seconds) {
    std::lock_guard<std::mutex> lock(mutex_);
    ++requests_[std::make_tuple(route, method, status)];
    Histogram& h = durations_[route];
    for (size_t i = 0; i < kBuckets.size(); ++i)
        if (seconds <= kBuckets[i]) ++h.buckets[i];
    ++h.count;
    h.sum += seconds;
}

void Metrics::exchange(const std::string& device, bool failed) {
    std::lock_guard<std::mutex> lock(mutex_);
    ++exchanges_[device];
    if (failed) ++failures_[device];
}

void Metrics::reconnect(const std::string& device) {
    std::lock_guard<std::mutex> lock(mutex_);
    ++reconnects_[device];
}

void Metrics::ambiguous(const std::string& device) {
    std::lock_guard<std::mutex> lock(mutex_);
    ++ambiguous_[device];
}

void Metrics::frames(const std::string& device, unsigned long long repeats,
                     unsigned long long naks) {
    std::lock_guard<std::mutex> lock(mutex_);
    repeats_[device] += repeats;
    naks_[device] += naks;
}

void Metrics::rejected(const std::string& device) {
    std::lock_guard<std::mutex> lock(mutex_);
    ++rejected_[device];
}

void Metrics::journalFailed() {
    std::lock_guard<std::mutex> lock(mutex_);
    ++journalErrors_;
}

void Metrics::settled(const std::string& device, const std::string& outcome) {
    std::lock_guard<std::mutex> lock(mutex_);
    ++settled_[std::make_pair(device, outcome)];
}

std::string Metrics::render(const std::map<std::string, DeviceGauges>& devices,
                            const JournalGauges& journal) {
    std::lock_guard<std::mutex> lock(mutex_);
    std::ostringstream out;
    header(out, "verda_http_requests_total", "counter",
           "HTTP requests by route, method and status.");
    for (const auto& r : requests_)
        out << "verda_http_requests_total{route=\"" << label(std::get<0>(r.first)) << "\",method=\""
            << std::get<1>(r.first) << "\",status=\"" << std::get<2>(r.first) << "\"} " << r.second
            << '\n';
    header(out, "verda_http_request_duration_seconds", "histogram",
           "Time from a request's arrival to its answer.");
    for (const auto& d : durations_) {
        const std::string route = label(d.first);
        for (size_t i = 0; i < kBuckets.size(); ++i)
            out << "verda_http_request_duration_seconds_bucket{route=\"" << route << "\",le=\""
                << kBuckets[i] << "\"} " << d.second.buckets[i] << '\n';
        out << "verda_http_request_duration_seconds_bucket{route=\"" << route << "\",le=\"+Inf\"} "
            << d.second.count << '\n';
        out << "verda_http_request_duration_seconds_sum{route=\"" << route << "\"} " << d.second.sum
            << '\n';
        out << "verda_http_request_duration_seconds_count{route=\"" << route << "\"} "
            << d.second.count << '\n';
    }
    perDevice(out, "verda_exchanges_total", "Library calls made on a register.", exchanges_);
    perDevice(out, "verda_exchange_failures_total",
              "Library calls that got no valid reply after every repeat.", failures_);
    perDevice(out, "verda_repeats_total", "Request frames sent again after a missing or bad reply.",
              repeats_);
    perDevice(out, "verda_naks_total", "NAKs received from a register.", naks_);
    perDevice(out, "verda_reconnects_total", "Times the link to a register was opened again.",
              reconnects_);
    perDevice(out, "verda_ambiguous_requests_total",
              "Requests whose outcome was unknown when the link failed.", ambiguous_);
    perDevice(out, "verda_rejected_requests_total",
              "Requests turned away (429) because too many waited for the register.", rejected_);
    header(out, "verda_settled_requests_total", "counter",
           "Ambiguous or interrupted requests settled from the register, by outcome.");
    for (const auto& s : settled_)
        out << "verda_settled_requests_total{device=\"" << label(s.first.first) << "\",outcome=\""
            << s.first.second << "\"} " << s.second << '\n';
    header(out, "verda_queue_depth", "gauge", "Requests waiting for a register.");
    for (const auto& d : devices)
        out << "verda_queue_depth{device=\"" << label(d.first) << "\"} " << d.second.queue << '\n';
    header(out, "verda_device_online", "gauge", "1 while the link to a register is open.");
    for (const auto& d : devices)
        out << "verda_device_online{device=\"" << label(d.first) << "\"} "
            << (d.second.online ? 1 : 0) << '\n';
    header(out, "verda_changes_held", "gauge",
           "1 while a register takes no new change: requests left in flight are settled first.");
    for (const auto& d : devices)
        out << "verda_changes_held{device=\"" << label(d.first) << "\"} " << (d.second.held ? 1 : 0)
            << '\n';
    header(out, "verda_device_replaced", "gauge",
           "1 while another register (device number or fiscal drive) is at a register's address.");
    for (const auto& d : devices)
        out << "verda_device_replaced{device=\"" << label(d.first) << "\"} "
            << (d.second.replaced ? 1 : 0) << '\n';
    header(out, "verda_journal_writable", "gauge",
           "1 while the journal takes writes; 0 stops every change.");
    out << "verda_journal_writable " << (journal.writable ? 1 : 0) << '\n';
    header(out, "verda_journal_errors_total", "counter",
           "Times the journal failed to take a write (disk full, I/O error, file gone).");
    out << "verda_journal_errors_total " << journalErrors_ << '\n';
    header(out, "verda_journal_commits_total", "counter",
           "Synchronous commits of the journal (each a sync of its log to the disk).");
    out << "verda_journal_commits_total " << journal.commits << '\n';
    return out.str();
}

}  // namespace server
