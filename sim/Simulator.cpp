#include "sim/Simulator.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <thread>

#include "common/Listen.h"
#include "sim/StateFile.h"

namespace sim {

namespace {

std::string systemError(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

// A partial request older than this is given up: the driver has moved on.
const int kStaleMs = 1000;

}  // namespace

Simulator::Simulator(const Options& options) : options_(options) {}

Simulator::~Simulator() {
    for (int* fd : {&fd_, &slaveFd_, &listenFd_, &stopPipe_[0], &stopPipe_[1]})
        endpoint::closeFd(*fd);
    if (paperFile_ != nullptr && paperFile_ != stdout) std::fclose(paperFile_);
}

bool Simulator::start(std::string& error) {
    if (!load(error)) return false;
    if (options_.paper == "-") {
        paperFile_ = stdout;
    } else if (!options_.paper.empty()) {
        paperFile_ = std::fopen(options_.paper.c_str(), "a");
        if (paperFile_ == nullptr) {
            error = systemError("cannot open paper file " + options_.paper);
            return false;
        }
    }
    paper_.reset(new Paper(paperFile_));
    if (!setConditions(error)) return false;
    device_.reset(new Register(options_.identity, state_, *paper_));
    faults_.reset(new Faults(options_.faults, options_.seed));
    // The memory is written before the paper shows what the command printed.
    link_.reset(new Link(*device_, *faults_, options_.hangUp, [this] {
        persist();
        paper_->flush();
    }));
    if (pipe(stopPipe_) != 0) {
        error = systemError("pipe");
        return false;
    }
    fcntl(stopPipe_[1], F_SETFL, O_NONBLOCK);
    return options_.transport == Options::Pty ? openPty(error) : openTcp(error);
}

// --- State file -----------------------------------------------------------------

bool Simulator::load(std::string& error) {
    bool found = false, converted = false;
    if (!options_.stateFile.empty() &&
        !loadStateFile(options_.stateFile, state_, found, converted, error))
        return false;
    if (!found) {
        // A fresh register: its clock shows local time, or stands where
        // --clock put it.
        const std::time_t t = std::time(nullptr);
        std::tm local;
        localtime_r(&t, &local);
        state_.clockOffset = options_.identity.clockStands ? options_.clock : local.tm_gmtoff;
        state_.fiscalized = !options_.unfiscalized;
        if (!options_.serial.empty()) state_.serial = options_.serial;
        return true;
    }
    saved_ = stateToJson(state_);
    if (converted) {
        // Read once in the older form, kept from now on as JSON.
        if (!replaceFile(options_.stateFile, saved_, error)) return false;
        std::fprintf(stderr, "verda-sim: state file %s converted to JSON\n",
                     options_.stateFile.c_str());
    }
    return true;
}

namespace {

// A time the register's clock can show and its state file keep.
bool showable(long long time) {
    long long back = 0;
    bool dateOnly = false;
    return parseTime(formatTime(time), false, back, dateOnly) && back == time;
}

}  // namespace

// The states the options put the register in, against its clock now. The
// shift and the queue are its memory, kept in the state file; the drive's
// deadline holds for this run, as its number does.
bool Simulator::setConditions(std::string& error) {
    const long long clock = Register::clock(options_.identity, state_);
    auto refuse = [&error](const std::string& option, const std::string& why) {
        error = option + ": " + why;
        return false;
    };
    const std::string later = "later than the register's clock, " + formatTime(clock);
    if (options_.fnDeadline.given) {
        const long long day = options_.fnDeadline.at(clock);
        if (!showable(day)) return refuse("--fn-deadline", "beyond the register's calendar");
        options_.identity.fnDeadline = formatTime(day).substr(0, 10);
    }
    if (options_.shiftOpened.given) {
        const long long opened = options_.shiftOpened.at(clock);
        if (opened > clock) return refuse("--shift-opened", later);
        if (!showable(opened)) return refuse("--shift-opened", "beyond the register's calendar");
        if (!state_.fiscalized) return refuse("--shift-opened", "the register is not fiscalized");
        // As if it had been opened then; its opening document is not made.
        if (!state_.shiftOpen) {
            ++state_.shift;
            state_.shiftOpen = true;
            state_.receiptsInShift = 0;
        }
        state_.shiftOpenedAt = opened;
    }
    if (options_.unsent >= 0) {
        const long long since = options_.unsentSince.given ? options_.unsentSince.at(clock) : clock;
        if (since > clock) return refuse("--ofd-unsent-since", later);
        if (!showable(since)) return refuse("--ofd-unsent-since", "beyond the register's calendar");
        // The last fiscal documents, spread from since to now; a drive with
        // fewer is taken to have made them.
        const int count = options_.unsent;
        state_.fds = std::max(state_.fds, count);
        state_.unsent.clear();
        for (int i = 0; i < count; ++i)
            state_.unsent.push_back(
                Unsent{state_.fds - count + 1 + i, since + (clock - since) * i / count});
    }
    if (options_.shiftOpened.given || options_.unsent >= 0) persist();
    return true;
}

// Only a change is written; see replaceFile for why nothing is ever lost.
void Simulator::persist() {
    if (options_.stateFile.empty()) return;
    const std::string text = stateToJson(state_);
    if (text == saved_) return;
    std::string error;
    if (replaceFile(options_.stateFile, text, error)) {
        saved_ = text;
        saveFailed_ = false;
    } else if (!saveFailed_) {
        std::fprintf(stderr, "verda-sim: %s\n", error.c_str());
        saveFailed_ = true;
    }
}

// --- Transports -------------------------------------------------------------------

bool Simulator::openPty(std::string& error) {
    endpoint::Pty pty;
    const bool ok = endpoint::openPty(pty, error);
    fd_ = pty.master;
    slaveFd_ = pty.slave;
    ptyPath_ = pty.path;
    return ok;
}

bool Simulator::openTcp(std::string& error) {
    port_ = options_.port;
    listenFd_ = endpoint::listenTcp(options_.host, port_, error);
    return listenFd_ >= 0;
}

std::string Simulator::address() const {
    return options_.transport == Options::Pty ? ptyPath_ : options_.host + ":" + str(port_);
}

void Simulator::stop() {
    const char wake = 0;
    if (write(stopPipe_[1], &wake, 1) < 0) {
        // the pipe is full: a stop is already pending
    }
}

// A new connection replaces the old one.
void Simulator::accept() {
    const int fd = endpoint::acceptConnection(listenFd_);
    if (fd < 0) return;
    endpoint::closeFd(fd_);
    fd_ = fd;
    link_->reset();
}

bool Simulator::run(std::string& error) {
    auto lastBytes = std::chrono::steady_clock::now();
    auto silentUntil = lastBytes;
    for (;;) {
        pollfd fds[3] = {{stopPipe_[0], POLLIN, 0}, {fd_, POLLIN, 0}, {listenFd_, POLLIN, 0}};
        const int ready = poll(fds, 3, 200);
        if (ready < 0 && errno != EINTR) {
            error = systemError("poll");
            return false;
        }
        if (fds[0].revents != 0) return true;
        if (fds[2].revents & POLLIN) accept();
        if (fd_ >= 0 && (fds[1].revents & (POLLIN | POLLHUP | POLLERR))) {
            char bytes[4096];
            const ssize_t got = read(fd_, bytes, sizeof bytes);
            if (got > 0 && std::chrono::steady_clock::now() < silentUntil) {
                // --hang-up-after on a pty: what arrives meanwhile is lost
            } else if (got > 0 && !sameSpeed()) {
                // sent at another speed: on a real line, noise that nobody reads
            } else if (got > 0) {
                lastBytes = std::chrono::steady_clock::now();
                send(fd_, link_->receive(bytes, static_cast<size_t>(got)));
                if (link_->hangingUp() && listenFd_ >= 0) endpoint::closeFd(fd_);
                if (link_->hangingUp() && listenFd_ < 0)
                    silentUntil = lastBytes + std::chrono::milliseconds(options_.hangUp.ms);
            } else if (listenFd_ >= 0) {
                endpoint::closeFd(fd_);  // the client hung up
            } else {
                usleep(10000);  // a pty without a driver on it
            }
        }
        if (link_->pending() &&
            std::chrono::steady_clock::now() - lastBytes > std::chrono::milliseconds(kStaleMs))
            link_->dropPending();
    }
}

// On a pty with --baud, whether the driver set the line to that speed (the
// terminal's settings are the slave's, which the driver changes). A speed
// that has no setting of a terminal is not checked, nor is TCP.
bool Simulator::sameSpeed() const {
    static const struct {
        long baud;
        speed_t speed;
    } kSpeeds[] = {{50, B50},         {75, B75},         {110, B110},       {134, B134},
                   {150, B150},       {200, B200},       {300, B300},       {600, B600},
                   {1200, B1200},     {1800, B1800},     {2400, B2400},     {4800, B4800},
                   {9600, B9600},     {19200, B19200},   {38400, B38400},   {57600, B57600},
                   {115200, B115200}, {230400, B230400}, {460800, B460800}, {921600, B921600}};
    if (options_.baud <= 0 || slaveFd_ < 0) return true;
    termios line;
    if (tcgetattr(slaveFd_, &line) != 0) return true;
    for (const auto& s : kSpeeds)
        if (s.baud == options_.baud) return cfgetospeed(&line) == s.speed;
    return true;
}

// Writes the chunks after their pauses; with --baud, each at the pace of the
// line: ten bit times a byte.
void Simulator::send(int fd, const std::vector<Chunk>& chunks) {
    for (const Chunk& chunk : chunks) {
        if (chunk.delayMs > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(chunk.delayMs));
        if (options_.baud <= 0) {
            if (!writeAll(fd, chunk.bytes.data(), chunk.bytes.size())) return;
            continue;
        }
        const auto begin = std::chrono::steady_clock::now();
        const size_t perSlice = static_cast<size_t>(options_.baud / 1000) + 1;  // per 10 ms
        for (size_t at = 0; at < chunk.bytes.size(); at += perSlice) {
            const size_t count = std::min(perSlice, chunk.bytes.size() - at);
            if (!writeAll(fd, chunk.bytes.data() + at, count)) return;
            const long long micros =
                static_cast<long long>(at + count) * 10 * 1000000 / options_.baud;
            std::this_thread::sleep_until(begin + std::chrono::microseconds(micros));
        }
    }
}

bool Simulator::writeAll(int fd, const char* bytes, size_t count) {
    return endpoint::writeAll(fd, fd == fd_ && listenFd_ >= 0, bytes, count);
}

}  // namespace sim
