#ifndef VERDA_SIM_SIMULATOR_H
#define VERDA_SIM_SIMULATOR_H

// The whole simulator: a register behind a pseudo-terminal or a TCP port,
// its paper, its state file and its faults. main() runs one; tests can run
// one in a thread of their own.

#include <cstdio>
#include <memory>
#include <string>

#include "sim/Link.h"
#include "sim/Options.h"

namespace sim {

class Simulator {
  public:
    explicit Simulator(const Options& options);
    ~Simulator();

    // Loads the state and opens paper and transport. False with a message.
    bool start(std::string& error);
    // Where the driver connects: the pseudo-terminal's path, or HOST:PORT.
    std::string address() const;
    int port() const { return port_; }
    // Serves until stop(); false with a message after a fatal error.
    bool run(std::string& error);
    // Ends run() from any thread or a signal handler.
    void stop();

    const State& state() const { return state_; }

  private:
    bool load(std::string& error);
    bool setConditions(std::string& error);
    bool sameSpeed() const;
    void persist();
    bool openPty(std::string& error);
    bool openTcp(std::string& error);
    void accept();
    void serve(int fd);
    void send(int fd, const std::vector<Chunk>& chunks);
    bool writeAll(int fd, const char* bytes, size_t count);

    Options options_;
    State state_;
    std::string saved_;
    bool saveFailed_ = false;
    std::FILE* paperFile_ = nullptr;
    std::unique_ptr<Paper> paper_;
    std::unique_ptr<Register> device_;
    std::unique_ptr<Faults> faults_;
    std::unique_ptr<Link> link_;
    int stopPipe_[2] = {-1, -1};
    int listenFd_ = -1;
    int fd_ = -1;       // the connected socket or the pty's master side
    int slaveFd_ = -1;  // held open so that the pty lives on between the driver's opens
    int port_ = 0;
    std::string ptyPath_;
};

}  // namespace sim

#endif
