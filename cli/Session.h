#ifndef VERDA_CLI_SESSION_H
#define VERDA_CLI_SESSION_H

// One run of the tool against the register: the link, opened on first use
// and closed at the end, the checking of each library call, and the output
// streams.

#include <functional>
#include <ostream>
#include <string>

#include "cli/Args.h"

namespace cli {

// Exit codes, which scripts rely on.
enum ExitCode {
    kSuccess = 0,      // done
    kRefused = 1,      // the register refused (its own error number), or no such text
    kUsage = 2,        // bad input; nothing was sent
    kLinkFailure = 3,  // the port cannot be opened, or the register does not answer
};

const int kNoAnswer = 100001;  // the library's code for a failed exchange

// A library call that failed, or a link that cannot be opened.
struct Failure {
    std::string operation;  // the library function, for the message
    int code;               // its result code
    std::string message;    // set instead of the code's text when there is no code
};

// What the tool runs in. main() gives the process's streams; tests give
// string streams and hooks of their own.
struct Environment {
    std::ostream& out;
    std::ostream& err;
    bool terminal = false;  // err is a terminal: progress is animated
    // Called once the global options are read: main() sends the library's own
    // lines on standard output to standard error, or nowhere unless verbose.
    std::function<void(bool verbose)> libraryOutput;
    // Called after VERDA::Init, before the link opens.
    std::function<void()> afterInit;
};

class Session {
  public:
    Session(Environment& environment, const Global& global);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    std::ostream& out() { return env_.out; }
    std::ostream& err() { return env_.err; }
    const Global& global() const { return global_; }

    // Opens the link on first use and, with init, runs PrinterInit, which the
    // library needs before documents (firmware and model decide the form of
    // several requests). Throws UsageError without a transport, Failure when
    // the link cannot be opened.
    void connect(bool init = true);

    // Throws Failure with the last result code unless ok.
    void check(bool ok, const char* operation);

    // The text for a result code, through ReadingError: the register's own
    // when the link works, else the library's catalogue. Empty when neither
    // has one. Needs no link.
    std::string explain(int code);

    // Runs work and shows meanwhile that it is working: a spinner on a
    // terminal, one line otherwise.
    void longRun(const std::string& label, const std::function<void()>& work);

  private:
    void initialise();  // VERDA::Init, once
    void closeLink();

    Environment& env_;
    Global global_;
    bool initialised_ = false;
    bool opened_ = false;
    bool linkFailed_ = false;  // the last exchange failed
};

}  // namespace cli

#endif
