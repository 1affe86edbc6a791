#ifndef VERDA_SIM_LINK_H
#define VERDA_SIM_LINK_H

// One end of the line: request frames in, replies (with any faults) out.
//
// A request whose sequence number, command and data equal those of the last
// one executed is a repeat by the driver: it is not executed again, and the
// last reply goes out again.

#include <functional>
#include <string>
#include <vector>

#include "sim/Faults.h"
#include "sim/Register.h"
#include "wire/DeviceSide.h"

namespace sim {

// --hang-up-after: once per run, after the nth executed request of one
// command, the connection is dropped (TCP) or the line falls silent for ms
// (pty) instead of the reply. The register keeps what the command did.
struct HangUp {
    int command = -1;  // none
    int nth = 1;
    int ms = 3000;
};

// Bytes to write after a pause.
struct Chunk {
    std::string bytes;
    int delayMs;
};

class Link {
  public:
    // changed runs after each executed command, to keep the state.
    Link(Register& device, Faults& faults, const HangUp& hangUp, std::function<void()> changed)
        : device_(device), faults_(faults), hangUp_(hangUp), changed_(std::move(changed)) {}

    std::vector<Chunk> receive(const char* bytes, size_t count);
    // A new connection: no repeat can span it.
    void reset();
    bool pending() const { return reader_.pending(); }
    void dropPending() { reader_.clear(); }
    // True once, right after the request that the hang-up waits for: its
    // reply is withheld and the caller ends or silences the line.
    bool hangingUp() const { return hangingUp_; }

  private:
    void answer(const wire::Request& request, std::vector<Chunk>& out);

    Register& device_;
    Faults& faults_;
    HangUp hangUp_;
    int hangUpSeen_ = 0;
    bool hangingUp_ = false;
    std::function<void()> changed_;
    wire::RequestReader reader_;
    // The last executed request (sequence, command, data) and its reply.
    // A repeat cannot outlive the connection, so neither is kept in the
    // state file.
    std::string lastRequest_;
    std::string lastReply_;
};

}  // namespace sim

#endif
