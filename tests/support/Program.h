#ifndef VERDA_TESTS_PROGRAM_H
#define VERDA_TESTS_PROGRAM_H

// One of the project's programs (verda, verda-sim) run as its own process,
// as a user runs it: its standard output read through a pipe, its standard
// error left to the test's. A cross build runs it under its emulator.

#include <sys/types.h>

#include <string>
#include <vector>

class Program {
  public:
    // The built programs.
    static std::string tool();       // verda
    static std::string simulator();  // verda-sim

    Program(const std::string& path, const std::vector<std::string>& args);
    ~Program();  // kills the program if it still runs
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Reads its output until it holds text, for at most seconds; true when
    // it does. What came so far is in output().
    bool waitFor(const std::string& text, int seconds = 60);
    const std::string& output() const { return output_; }
    // Sends signal and waits for the end; the exit status as waitpid gives it.
    int stop(int signal);

  private:
    pid_t pid_ = -1;
    int out_ = -1;
    std::string output_;
};

#endif
