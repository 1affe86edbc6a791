#include "cli/Session.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "api/CorteliaVERDA.h"
#include "cli/Text.h"

namespace cli {

Session::Session(Environment& environment, const Global& global)
    : env_(environment), global_(global) {}

Session::~Session() {
    closeLink();
    if (initialised_) VERDA::Done();
}

void Session::initialise() {
    if (initialised_) return;
    VERDA::Init();
    initialised_ = true;
    if (env_.afterInit) env_.afterInit();
}

void Session::closeLink() {
    if (!opened_) return;
    opened_ = false;
    if (global_.serial.empty())
        VERDA::CloseSocket();
    else
        VERDA::CloseSerial();
}

void Session::connect(bool init) {
    if (opened_) return;
    if (!global_.hasTransport())
        throw UsageError("no register given: use --serial PATH or --tcp HOST:PORT");
    initialise();
    if (global_.timeoutMs >= 0)
        VERDA::setTimeOut(global_.serial.empty() ? global_.timeoutMs : global_.timeoutMs / 10);
    opened_ = true;  // a failed open still leaves a port to close
    if (!global_.serial.empty()) {
        if (!VERDA::OpenSerial(global_.serial, global_.baud))
            throw Failure{"OpenSerial", kNoAnswer, "cannot open the serial port " + global_.serial};
    } else if (!VERDA::OpenSocket(global_.host, global_.port)) {
        // A refused connection shows only in the first exchange; this is the
        // receive timeout being refused.
        throw Failure{"OpenSocket", kNoAnswer, "cannot set up the connection"};
    }
    if (init) check(VERDA::PrinterInit(), "PrinterInit");
}

void Session::check(bool ok, const char* operation) {
    const int code = VERDA::LastResultCode();
    linkFailed_ = code == kNoAnswer;
    if (!ok) throw Failure{operation, code, std::string()};
}

std::string Session::explain(int code) {
    // After a failed exchange the link is closed first: asking the register
    // again would only wait out the timeout once more, and without a port
    // ReadingError answers from its catalogue at once.
    initialise();
    if (linkFailed_) closeLink();
    int deviceCode = 0;
    std::string message;
    VERDA::ReadingError(code, deviceCode, message);  // the text is there even on failure
    return fromOneWay(message);
}

void Session::longRun(const std::string& label, const std::function<void()>& work) {
    if (!env_.terminal) {
        env_.err << "verda: " << label << "...\n" << std::flush;
        work();
        return;
    }
    std::mutex mutex;
    std::condition_variable done;
    bool finished = false;
    std::thread spinner([&] {
        static const char kFrames[] = "|/-\\";
        std::unique_lock<std::mutex> lock(mutex);
        for (int i = 0; !finished; ++i) {
            env_.err << '\r' << label << "... " << kFrames[i % 4] << std::flush;
            done.wait_for(lock, std::chrono::milliseconds(120));
        }
        env_.err << "\r\033[K" << std::flush;
    });
    auto stop = [&] {
        {
            std::lock_guard<std::mutex> lock(mutex);
            finished = true;
        }
        done.notify_one();
        spinner.join();
    };
    try {
        work();
    } catch (...) {
        stop();
        throw;
    }
    stop();
}

}  // namespace cli
