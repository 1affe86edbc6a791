#ifndef VERDA_SERVER_REGISTERHANDLE_H
#define VERDA_SERVER_REGISTERHANDLE_H

// One register through the library's C interface: its handle, its link and
// the checks of every result. Used only by the register's own worker thread.

#include <string>

#include <nlohmann/json.hpp>

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

// Which register this is, as the register itself reports it: its device
// number and the number of its fiscal drive. Another register at the same
// address, or the same one with another drive, numbers its documents on its
// own, so nothing it shows settles a request sent to the first.
struct Identity {
    std::string deviceNumber;
    std::string fiscalDrive;
    bool known() const { return !deviceNumber.empty() || !fiscalDrive.empty(); }
    bool operator==(const Identity& o) const {
        return deviceNumber == o.deviceNumber && fiscalDrive == o.fiscalDrive;
    }
    bool operator!=(const Identity& o) const { return !(*this == o); }
    nlohmann::json toJson() const;
    // From a witness; unknown for a witness written without one.
    static Identity of(const nlohmann::json& witness);
};

class RegisterHandle {
  public:
    RegisterHandle(const DeviceConfig& config, const std::string& logDir, Metrics& metrics);
    ~RegisterHandle();
    RegisterHandle(const RegisterHandle&) = delete;
    RegisterHandle& operator=(const RegisterHandle&) = delete;

    // Opens the link and reads what the register is (PrinterInit, its
    // device number and its fiscal drive). False with a message; the link
    // is then closed.
    bool open(const std::string& host, int port, std::string& error);
    void close();
    bool isOpen() const { return open_; }
    // Reads the device number again (DiagnosticInfo): for a drive that
    // differs from the one read at the open.
    void readDeviceNumber();

    // Throws LinkLost for a failed exchange (and closes the link, which must
    // be opened again), Refused for any other non-zero result.
    void check(const char* operation, int result);
    // Counts an exchange of the result and the link's repeats, as check()
    // does, without judging the result.
    void count(int result);

    verda_device* handle() const { return handle_; }
    const DeviceConfig& config() const { return config_; }
    std::string model, firmware, serial;
    Identity identity;  // as read at the open, or since

  private:
    const DeviceConfig& config_;
    Metrics& metrics_;
    verda_device* handle_ = nullptr;
    bool open_ = false;
    unsigned long long repeats_ = 0, naks_ = 0;  // the link's counts at the last check
};

// The fiscal drive's state (GetStateFN): its number and its last document.
struct DriveState {
    std::string number;
    int lastDocument = 0;
};
DriveState readDrive(RegisterHandle& device);

// Calls verda_NAME on the device and checks the result.
#define VERDA_CALL(device, name, ...) \
    (device).check(#name, verda_##name((device).handle(), __VA_ARGS__))
#define VERDA_CALL0(device, name) (device).check(#name, verda_##name((device).handle()))

}  // namespace server

#endif
