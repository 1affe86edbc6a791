#ifndef VERDA_SERVER_BUILTINREGISTER_H
#define VERDA_SERVER_BUILTINREGISTER_H

// A simulated register inside the server ("ID=sim"): the simulator's own
// code, started with its own command line on a loopback port of its own, so
// that it is the register that verda-sim would be. Its memory and paper lie
// beside the journal. The register's worker reaches it over TCP like any
// other register.

#include <memory>
#include <string>
#include <thread>

namespace sim {
class Simulator;
}

namespace server {

class BuiltInRegister {
  public:
    // Loads its memory and listens; std::runtime_error when it cannot.
    BuiltInRegister(const std::string& stateDir, const std::string& id);
    ~BuiltInRegister();
    void start();
    void stop();

    int port() const;
    const std::string& paperFile() const { return paperFile_; }

  private:
    std::string paperFile_;
    std::unique_ptr<sim::Simulator> simulator_;
    std::thread thread_;
};

}  // namespace server

#endif
