#include "Config.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <fstream>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include "common/Codes.h"

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

// "payment_modes": {"NAME": MODE, ...}, the register's whole list of names.
PaymentModes readPaymentModes(const Reader& r) {
    const json& object = r.object("payment_modes");
    Reader modes(object, r.where("payment_modes"));
    PaymentModes out;
    for (const auto& item : object.items()) {
        const std::string& name = item.key();
        bool plain = !name.empty() && name.size() <= 32;
        for (const unsigned char c : name)
            plain = plain && (std::isalnum(c) || c == '-' || c == '_' || c >= 0x80);
        if (!plain)
            throw modes.where(name) + ": a name of letters, digits, - and _ (1 to 32 bytes)";
        const int mode = modes.number(name.c_str(), 0, 0, 255);
        if (!codes::known(codes::kPaymentMode, mode))
            throw modes.where(name) + ": not a payment mode of the register";
        out.push_back({name, mode});
    }
    if (out.empty()) throw r.where("payment_modes") + ": names at least one mode";
    return out;
}

void readDevice(const json& item, const std::string& where, DeviceConfig& d) {
    if (!item.is_object()) throw where + ": must be an object";
    Reader r(item, where);
    r.known({"id", "transport", "timeout", "operator", "payment_modes"});
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
    if (r.has("payment_modes")) d.paymentModes = readPaymentModes(r);
}

// A string or a list of strings.
std::vector<std::string> texts(const json& root, const char* key) {
    const json& v = root[key];
    if (v.is_string()) return {v.get<std::string>()};
    std::vector<std::string> out;
    if (v.is_array())
        for (const json& item : v)
            if (item.is_string()) out.push_back(item.get<std::string>());
    if (!v.is_array() || out.size() != v.size())
        throw std::string(key) + ": must be a string or a list of strings";
    return out;
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

PaymentModes defaultPaymentModes() {
    PaymentModes out;
    for (const codes::Code& code : codes::kPaymentMode)
        if (code.name != nullptr) out.push_back({code.name, code.value});
    return out;
}

bool paymentModeOf(const PaymentModes& modes, const json& mode, int& value) {
    if (mode.is_string()) {
        for (const PaymentModeName& m : modes)
            if (m.name == mode.get<std::string>()) {
                value = m.mode;
                return true;
            }
        return false;
    }
    // A whole number, also written as 1.0.
    if (!mode.is_number()) return false;
    const double number = mode.get<double>();
    if (!(number >= 0 && number <= 255) || number != std::floor(number) ||
        !codes::known(codes::kPaymentMode, static_cast<int>(number)))
        return false;
    value = static_cast<int>(number);
    return true;
}

std::string paymentModesText(const PaymentModes& modes) {
    std::string out;
    for (size_t i = 0; i < modes.size(); ++i)
        out += modes[i].name + (i + 2 < modes.size() ? ", " : i + 1 < modes.size() ? " or " : "");
    int low = 255, high = 0;
    for (const codes::Code& code : codes::kPaymentMode) {
        low = std::min(low, code.value);
        high = std::max(high, code.value);
    }
    return out + ", or a number from " + std::to_string(low) + " to " + std::to_string(high);
}

bool validOrigin(const std::string& origin) {
    const size_t scheme = origin.find("://");
    if (scheme == std::string::npos) return false;
    const std::string protocol = origin.substr(0, scheme);
    const std::string rest = origin.substr(scheme + 3);
    if (protocol != "http" && protocol != "https") return false;
    if (rest.empty() || rest.size() > 255) return false;
    for (const unsigned char c : rest)
        if (!std::isalnum(c) && c != '.' && c != '-' && c != ':' && c != '[' && c != ']')
            return false;
    return true;
}

bool readTokenFile(const std::string& path, std::string& token, std::string& error) {
    std::ifstream file(path);
    if (!file) {
        error = "--token-file: cannot read " + path;
        return false;
    }
    std::getline(file, token);
    while (!token.empty() && (token.back() == '\r' || token.back() == ' ' || token.back() == '\t'))
        token.pop_back();
    if (token.empty()) {
        error = "--token-file: " + path + " holds no token on its first line";
        return false;
    }
    return true;
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
                 "read_timeout_ms", "idle_timeout_ms", "http_threads", "queue_limit", "devices",
                 "allow_origin", "tls_cert", "tls_key"});
        if (r.has("listen") && !parseListen(r.text("listen", ""), c.listenHost, c.listenPort))
            throw std::string("listen: HOST:PORT, not \"") + r.text("listen", "") + "\"";
        c.token = r.text("token", c.token);
        c.journal = r.text("journal", c.journal);
        if (r.has("allow_origin")) c.allowOrigins = texts(root, "allow_origin");
        for (const std::string& origin : c.allowOrigins)
            if (!validOrigin(origin))
                throw "allow_origin: SCHEME://HOST[:PORT], not \"" + origin + "\"";
        c.tlsCert = r.text("tls_cert", c.tlsCert);
        c.tlsKey = r.text("tls_key", c.tlsKey);
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
