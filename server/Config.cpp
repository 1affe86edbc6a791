#include "Config.h"

#include <fstream>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

namespace server {

using nlohmann::json;

namespace {

bool parsePort(const std::string& text, int& port) {
    if (text.empty() || text.size() > 5 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    port = std::stoi(text);
    return port <= 65535;
}

// Transport text after "ID=": sim, tcp:HOST:PORT, serial:PATH[@BAUD].
bool parseTransport(const std::string& text, DeviceConfig& d) {
    if (text == "sim") {
        d.kind = DeviceConfig::Simulated;
        return true;
    }
    if (text.rfind("tcp:", 0) == 0) {
        d.kind = DeviceConfig::Tcp;
        return parseListen(text.substr(4), d.host, d.port) && d.port > 0;
    }
    if (text.rfind("serial:", 0) == 0) {
        d.kind = DeviceConfig::Serial;
        d.path = text.substr(7);
        const size_t at = d.path.rfind('@');
        if (at != std::string::npos) {
            int baud = 0;
            const std::string rate = d.path.substr(at + 1);
            if (rate.empty() || rate.size() > 7 ||
                rate.find_first_not_of("0123456789") != std::string::npos)
                return false;
            baud = std::stoi(rate);
            d.baud = baud;
            d.path.resize(at);
        }
        return !d.path.empty() && d.baud > 0;
    }
    return false;
}

bool validId(const std::string& id) {
    if (id.empty() || id.size() > 64) return false;
    for (char c : id)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '_') return false;
    return true;
}

// Reading a JSON object key by key, each checked against what is known.
class Reader {
  public:
    Reader(const json& object, std::string where) : object_(object), where_(std::move(where)) {}

    void known(std::initializer_list<const char*> names) const {
        std::set<std::string> allowed(names.begin(), names.end());
        for (const auto& item : object_.items())
            if (allowed.count(item.key()) == 0) throw where(item.key()) + ": unknown key";
    }
    std::string where(const std::string& key) const {
        return where_.empty() ? key : where_ + "." + key;
    }
    bool has(const char* key) const { return object_.contains(key); }
    std::string text(const char* key, const std::string& fallback) const {
        if (!has(key)) return fallback;
        if (!object_[key].is_string()) throw where(key) + ": must be a string";
        return object_[key].get<std::string>();
    }
    int number(const char* key, int fallback, int low, int high) const {
        if (!has(key)) return fallback;
        const json& v = object_[key];
        if (!v.is_number_integer() || v.get<long long>() < low || v.get<long long>() > high)
            throw where(key) + ": must be a whole number from " + std::to_string(low) + " to " +
                std::to_string(high);
        return v.get<int>();
    }
    const json& object(const char* key) const {
        if (!object_[key].is_object()) throw where(key) + ": must be an object";
        return object_[key];
    }

  private:
    const json& object_;
    std::string where_;
};

void readDevice(const json& item, const std::string& where, DeviceConfig& d) {
    if (!item.is_object()) throw where + ": must be an object";
    Reader r(item, where);
    r.known({"id", "transport", "timeout", "operator"});
    d.id = r.text("id", "");
    if (!validId(d.id)) throw r.where("id") + ": letters, digits, - and _ (1 to 64)";
    const std::string transport = r.text("transport", "");
    if (!parseTransport(transport, d))
        throw r.where("transport") + ": sim, tcp:HOST:PORT or serial:PATH[@BAUD], not \"" +
            transport + "\"";
    d.timeout = r.number("timeout", 0, 0, 25500);
    if (r.has("operator")) {
        Reader op(r.object("operator"), r.where("operator"));
        op.known({"code", "password", "name", "till"});
        d.op.code = op.number("code", d.op.code, 1, 99);
        d.op.password = op.text("password", d.op.password);
        d.op.name = op.text("name", d.op.name);
        d.op.till = op.number("till", d.op.till, 1, 9999);
    }
}

}  // namespace

std::string DeviceConfig::transport() const {
    switch (kind) {
        case Tcp:
            return "tcp:" + host + ":" + std::to_string(port);
        case Serial:
            return "serial:" + path + "@" + std::to_string(baud);
        default:
            return "sim";
    }
}

bool parseListen(const std::string& text, std::string& host, int& port) {
    const size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0) return false;
    host = text.substr(0, colon);
    return parsePort(text.substr(colon + 1), port);
}

bool parseDevice(const std::string& text, DeviceConfig& device, std::string& error) {
    const size_t equals = text.find('=');
    device.id = text.substr(0, equals);
    if (equals == std::string::npos || !validId(device.id) ||
        !parseTransport(text.substr(equals + 1), device)) {
        error = "--device: ID=tcp:HOST:PORT, ID=serial:PATH[@BAUD] or ID=sim, not \"" + text + "\"";
        return false;
    }
    return true;
}

bool loadConfig(const std::string& path, Config& c, std::string& error) {
    std::ifstream file(path);
    if (!file) {
        error = "cannot read " + path;
        return false;
    }
    std::stringstream content;
    content << file.rdbuf();
    json root;
    try {
        root = json::parse(content.str(), nullptr, true, /*ignore_comments=*/true);
    } catch (const json::parse_error& e) {
        // The byte offset, turned into a line for a person.
        const std::string text = content.str();
        const size_t upto = std::min(static_cast<size_t>(e.byte), text.size());
        const long line =
            1 + std::count(text.begin(), text.begin() + static_cast<long>(upto), '\n');
        error = path + ":" + std::to_string(line) + ": not valid JSON: " + e.what();
        return false;
    }
    try {
        if (!root.is_object()) throw std::string("the file must hold one JSON object");
        Reader r(root, "");
        r.known({"listen", "token", "journal", "deadline_ms", "refresh_ms", "health_ms",
                 "read_timeout_ms", "idle_timeout_ms", "http_threads", "queue_limit", "devices"});
        if (r.has("listen") && !parseListen(r.text("listen", ""), c.listenHost, c.listenPort))
            throw std::string("listen: HOST:PORT, not \"") + r.text("listen", "") + "\"";
        c.token = r.text("token", c.token);
        c.journal = r.text("journal", c.journal);
        c.deadlineMs = r.number("deadline_ms", c.deadlineMs, 1, 3600000);
        c.refreshMs = r.number("refresh_ms", c.refreshMs, 100, 3600000);
        c.healthMs = r.number("health_ms", c.healthMs, 100, 3600000);
        c.readTimeoutMs = r.number("read_timeout_ms", c.readTimeoutMs, 100, 600000);
        c.idleTimeoutMs = r.number("idle_timeout_ms", c.idleTimeoutMs, 100, 600000);
        c.httpThreads = r.number("http_threads", c.httpThreads, 2, 4096);
        c.queueLimit = r.number("queue_limit", c.queueLimit, 1, 10000);
        if (r.has("devices")) {
            if (!root["devices"].is_array()) throw std::string("devices: must be a list");
            std::set<std::string> ids;
            for (size_t i = 0; i < root["devices"].size(); ++i) {
                DeviceConfig d;
                const std::string where = "devices[" + std::to_string(i) + "]";
                readDevice(root["devices"][i], where, d);
                if (!ids.insert(d.id).second) throw where + ".id: \"" + d.id + "\" given twice";
                c.devices.push_back(d);
            }
        }
    } catch (const std::string& message) {
        error = path + ": " + message;
        return false;
    }
    return true;
}

}  // namespace server
