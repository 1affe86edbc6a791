#include "RegisterHandle.h"

#include <sys/stat.h>

#include "Metrics.h"
#include "common/FiscalHealth.h"

namespace server {

nlohmann::json Identity::toJson() const {
    return {{"device_number", deviceNumber}, {"fiscal_drive", fiscalDrive}};
}

Identity Identity::of(const nlohmann::json& witness) {
    Identity id;
    if (!witness.is_object()) return id;
    id.deviceNumber = witness.value("device_number", "");
    id.fiscalDrive = witness.value("fiscal_drive", "");
    return id;
}

RegisterHandle::RegisterHandle(const DeviceConfig& config, const std::string& logDir,
                               Metrics& metrics)
    : config_(config), metrics_(metrics), handle_(verda_device_new()) {
    if (handle_ == nullptr) throw std::bad_alloc();
    // Each register logs into a folder of its own, so that the library's
    // lines of two registers never mix.
    mkdir(logDir.c_str(), 0755);
    verda_set_log_dir(handle_, logDir.c_str());
    if (config.timeout > 0) verda_set_timeout(handle_, config.timeout);
}

RegisterHandle::~RegisterHandle() {
    verda_device_free(handle_);
}

bool RegisterHandle::open(const std::string& host, int port, std::string& error) {
    close();
    const int result = config_.kind == DeviceConfig::Serial
                           ? verda_open_serial(handle_, config_.path.c_str(), config_.baud)
                           : verda_open_socket(handle_, host.c_str(), port);
    if (result != 0) {
        error = std::string("cannot open ") + config_.transport() + ": " + verda_error_text(result);
        verda_close(handle_);
        return false;
    }
    open_ = true;
    try {
        VERDA_CALL0(*this, PrinterInit);
        readDeviceNumber();
        identity.fiscalDrive = readDrive(*this).number;
    } catch (const LinkLost& lost) {
        error = "no answer from the register (" + lost.operation + ")";
        return false;
    } catch (const Refused& refused) {
        error = refused.operation + ": " + refused.text;
        close();
        return false;
    }
    return true;
}

void RegisterHandle::readDeviceNumber() {
    char name[128] = "", revision[32] = "", date[32] = "", time[32] = "", sum[32] = "",
         software[32] = "", number[64] = "";
    VERDA_CALL(*this, DiagnosticInfo, name, sizeof name, revision, sizeof revision, date,
               sizeof date, time, sizeof time, sum, sizeof sum, software, sizeof software, number,
               sizeof number);
    model = name;
    firmware = revision;
    serial = number;
    identity.deviceNumber = number;
}

void RegisterHandle::close() {
    if (open_) verda_close(handle_);
    open_ = false;
}

void RegisterHandle::check(const char* operation, int result) {
    count(result);
    if (result == VERDA_OK) return;
    if (result == VERDA_EXCHANGE_FAILED) {
        close();
        throw LinkLost{operation};
    }
    throw Refused{result, verda_error_text(result), operation};
}

void RegisterHandle::count(int result) {
    metrics_.exchange(config_.id, result == VERDA_EXCHANGE_FAILED);
    unsigned long long repeats = repeats_, naks = naks_;
    verda_link_counters(handle_, nullptr, &repeats, &naks);
    metrics_.frames(config_.id, repeats - repeats_, naks - naks_);
    repeats_ = repeats;
    naks_ = naks;
}

DriveState readDrive(RegisterHandle& d) {
    const auto drive = health::readDrive(d.handle());
    d.check("GetStateFN", drive.result);
    return DriveState{drive.fields.number, drive.fields.lastDocument};
}

}  // namespace server
