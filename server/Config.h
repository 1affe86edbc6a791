#ifndef VERDA_SERVER_CONFIG_H
#define VERDA_SERVER_CONFIG_H

// The server's settings: the configuration file (JSON with comments), then
// the command line over it.

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace server {

// A name by which receipts may give a payment mode (payments[].mode).
struct PaymentModeName {
    std::string name;
    int mode;
};
using PaymentModes = std::vector<PaymentModeName>;

// The names that the register's codes give the payment modes (cash 0, card
// 1): a register's names unless its configuration gives its own.
PaymentModes defaultPaymentModes();
// The mode of a payment's "mode": one of the names, or the number of a mode
// the register has; false for anything else.
bool paymentModeOf(const PaymentModes& modes, const nlohmann::json& mode, int& value);
// What a payment's "mode" may be, for a refusal: "cash, card or a number from 0 to 5".
std::string paymentModesText(const PaymentModes& modes);

// Who the server acts as on a register, when a request names nobody.
struct Operator {
    int code = 1;
    std::string password = "1";
    std::string name;  // empty: the register's own name for the operator
    int till = 1;
};

struct DeviceConfig {
    std::string id;
    enum Kind { Simulated, Tcp, Serial } kind = Simulated;
    std::string host;  // tcp
    int port = 0;      // tcp
    std::string path;  // serial
    int baud = 115200;
    int timeout = 0;  // the library's units; 0: the library's default
    Operator op;
    PaymentModes paymentModes = defaultPaymentModes();
    std::string transport() const;  // as written: sim, tcp:HOST:PORT, serial:PATH@BAUD
};

struct Config {
    std::string listenHost = "127.0.0.1";
    int listenPort = 8035;
    std::string token;
    // Where browser applications may call from (CORS): exact origins,
    // "https://pos.example:8443"; none by default.
    std::vector<std::string> allowOrigins;
    // HTTPS: the certificate chain and its private key (PEM); both or neither.
    std::string tlsCert, tlsKey;
    std::string journal = "verda-server.db";
    int deadlineMs = 30000;  // how long a request may wait for its register
    int refreshMs = 2000;    // how often an idle register's status is read
    int healthMs = 60000;    // and its fiscal health (the drive, the queue to the data operator)
    // What a slow or silent client may take (README, "A slow client holds up
    // nobody"):
    int readTimeoutMs = 5000;  // silence in the middle of a request or an answer
    int idleTimeoutMs = 5000;  // a connection with no request, new or kept alive
    int httpThreads = 512;     // connections served at once, each on a thread
    int queueLimit = 32;       // requests waiting for one register; more get 429
    std::vector<DeviceConfig> devices;
};

// Reads a file into config; false with a message naming the key or line.
bool loadConfig(const std::string& path, Config& config, std::string& error);
// ID=tcp:HOST:PORT, ID=serial:PATH[@BAUD] or ID=sim.
bool parseDevice(const std::string& text, DeviceConfig& device, std::string& error);
// HOST:PORT.
bool parseListen(const std::string& text, std::string& host, int& port);
// An origin of --allow-origin: SCHEME://HOST[:PORT], nothing after.
bool validOrigin(const std::string& origin);
// The bearer token from a file (--token-file): its first line, which must not
// be empty; false with a message naming the file.
bool readTokenFile(const std::string& path, std::string& token, std::string& error);

}  // namespace server

#endif
