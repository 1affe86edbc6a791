#ifndef VERDA_SERVER_REGISTERHANDLE_H
#define VERDA_SERVER_REGISTERHANDLE_H

// One register through the library's C interface: its handle, its link and
// the checks of every result. Used only by the register's own worker thread.

#include <string>

#include "Config.h"
#include "capi/verda.h"

namespace server {

class Metrics;

// The link failed during an operation: the register may or may not have done it.
struct LinkLost {
    std::string operation;
};

// The register (or the library, for input it cannot send) refused.
struct Refused {
    int code = 0;
    std::string text;
    std::string operation;
};

class Device {
  public:
    Device(const DeviceConfig& config, const std::string& logDir, Metrics& metrics);
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    // Opens the link and reads what the register is (PrinterInit). False
    // with a message; the link is then closed.
    bool open(const std::string& host, int port, std::string& error);
    void close();
    bool isOpen() const { return open_; }

    // Throws LinkLost for a failed exchange (and closes the link, which must
    // be opened again), Refused for any other non-zero result.
    void check(const char* operation, int result);

    verda_device* handle() const { return handle_; }
    const DeviceConfig& config() const { return config_; }
    std::string model, firmware, serial;

  private:
    const DeviceConfig& config_;
    Metrics& metrics_;
    verda_device* handle_ = nullptr;
    bool open_ = false;
    unsigned long long repeats_ = 0, naks_ = 0;  // the link's counts at the last check
};

// Calls verda_NAME on the device and checks the result.
#define VERDA_CALL(device, name, ...) \
    (device).check(#name, verda_##name((device).handle(), __VA_ARGS__))
#define VERDA_CALL0(device, name) (device).check(#name, verda_##name((device).handle()))

}  // namespace server

#endif
