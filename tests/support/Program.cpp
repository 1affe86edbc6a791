#include "support/Program.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

std::string Program::tool() {
    return VERDA_TOOL_PATH;
}

std::string Program::simulator() {
    return VERDA_SIM_PATH;
}

Program::Program(const std::string& path, const std::vector<std::string>& args) {
    std::vector<std::string> words;
    const std::string emulator = VERDA_EMULATOR;
    if (!emulator.empty()) words.push_back(emulator);
    words.push_back(path);
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(&word[0]);
    argv.push_back(nullptr);
    int ends[2];
    if (pipe(ends) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
        dup2(ends[1], 1);
        close(ends[0]);
        close(ends[1]);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(ends[1]);
    out_ = ends[0];
}

Program::~Program() {
    if (pid_ > 0) stop(SIGKILL);
    if (out_ >= 0) close(out_);
}

bool Program::waitFor(const std::string& text, int seconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (output_.find(text) == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd ready = {out_, POLLIN, 0};
        if (out_ < 0 || left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) <= 0)
            return false;
        char chunk[4096];
        const ssize_t n = read(out_, chunk, sizeof chunk);
        if (n <= 0) return false;
        output_.append(chunk, static_cast<size_t>(n));
    }
    return true;
}

int Program::stop(int signal) {
    if (pid_ <= 0) return -1;
    kill(pid_, signal);
    int status = -1;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return status;
}
