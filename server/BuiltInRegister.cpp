#include "BuiltInRegister.h"

#include <stdexcept>

#include "ServerLog.h"
#include "sim/Simulator.h"

namespace server {

BuiltInRegister::BuiltInRegister(const std::string& stateDir, const std::string& id)
    : paperFile_(stateDir + "/" + id + ".paper") {
    sim::Options options;
    std::string error;
    if (!sim::parseOptions({"--tcp", "127.0.0.1:0", "--paper", paperFile_, "--state",
                            stateDir + "/" + id + ".state"},
                           options, error))
        throw std::runtime_error("simulated register: " + error);
    simulator_.reset(new sim::Simulator(options));
    if (!simulator_->start(error)) throw std::runtime_error("simulated register: " + error);
}

BuiltInRegister::~BuiltInRegister() {
    stop();
}

void BuiltInRegister::start() {
    thread_ = std::thread([this] {
        std::string error;
        if (!simulator_->run(error)) logError("simulated register stopped: " + error);
    });
}

void BuiltInRegister::stop() {
    if (!thread_.joinable()) return;
    simulator_->stop();
    thread_.join();
}

int BuiltInRegister::port() const {
    return simulator_->port();
}

}  // namespace server
