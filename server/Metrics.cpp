#include "Metrics.h"

#include <optional>
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

// A gauge of each register, a line for each whose value is known.
template <class Value>
void perDevice(std::ostream& out, const char* name, const char* help,
               const std::map<std::string, Metrics::DeviceGauges>& devices, Value value) {
    header(out, name, "gauge", help);
    for (const auto& d : devices)
        if (const auto v = value(d.second))
            out << name << "{device=\"" << label(d.first) << "\"} " << *v << '\n';
}

// A value always known, as a gauge's.
template <class T>
std::optional<long long> known(T value) {
    return static_cast<long long>(value);
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
    using G = DeviceGauges;
    perDevice(out, "verda_queue_depth", "Requests waiting for a register.", devices,
              [](const G& g) { return known(g.queue); });
    perDevice(out, "verda_device_online", "1 while the link to a register is open.", devices,
              [](const G& g) { return known(g.online); });
    perDevice(out, "verda_changes_held",
              "1 while a register takes no new change: requests left in flight are settled first.",
              devices, [](const G& g) { return known(g.held); });
    perDevice(out, "verda_device_replaced",
              "1 while another register (device number or fiscal drive) is at a register's "
              "address.",
              devices, [](const G& g) { return known(g.replaced); });
    perDevice(out, "verda_unsettled_requests",
              "Requests whose outcome is not known yet (ambiguous, or left in flight), waiting to "
              "be settled from the register.",
              devices, [](const G& g) { return g.unsettled; });
    // The fiscal health, as last read.
    header(out, "verda_device_info", "gauge",
           "1 for each register: its model, firmware, serial and fiscal drive as last read.");
    for (const auto& d : devices) {
        if (d.second.info.empty()) continue;
        out << "verda_device_info{device=\"" << label(d.first) << '"';
        for (const auto& l : d.second.info)
            out << ',' << l.first << "=\"" << label(l.second) << '"';
        out << "} 1\n";
    }
    perDevice(
        out, "verda_shift_open", "1 while the register's shift is open.", devices,
        [](const G& g) { return g.shiftOpen ? known(*g.shiftOpen) : std::optional<long long>(); });
    perDevice(out, "verda_shift_opened_timestamp_seconds",
              "When the open shift was opened, by the register's clock.", devices,
              [](const G& g) { return g.shiftOpened; });
    perDevice(out, "verda_fiscal_drive_deadline_timestamp_seconds",
              "When the fiscal drive's validity ends (the end of its last valid day).", devices,
              [](const G& g) { return g.deadline; });
    perDevice(out, "verda_ofd_unsent_documents", "Documents waiting for the data operator.",
              devices, [](const G& g) { return g.unsent; });
    perDevice(out, "verda_ofd_oldest_unsent_timestamp_seconds",
              "When the oldest document waiting for the data operator was made.", devices,
              [](const G& g) { return g.oldestUnsent; });
    perDevice(out, "verda_fiscal_drive_warnings",
              "The fiscal drive's warning flags as a number (0: none).", devices,
              [](const G& g) { return g.warnings; });
    header(out, "verda_verdict", "gauge",
           "1 for a register's current verdict on its fiscal health: ok, attention or blocked.");
    for (const auto& d : devices)
        if (!d.second.verdict.empty())
            for (const char* verdict : {"ok", "attention", "blocked"})
                out << "verda_verdict{device=\"" << label(d.first) << "\",verdict=\"" << verdict
                    << "\"} " << (d.second.verdict == verdict ? 1 : 0) << '\n';
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
