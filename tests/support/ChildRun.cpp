#include "support/ChildRun.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

std::string runInChild(const std::function<std::string()>& body) {
    int ends[2];
    if (pipe(ends) != 0) return "no pipe";
    const pid_t child = fork();
    if (child == 0) {
        std::string result;
        try {
            result = body();
        } catch (const std::runtime_error& e) {
            result = std::string("runtime_error: ") + e.what();
        } catch (...) {
            result = "other exception";
        }
        const bool written = write(ends[1], result.data(), result.size()) == ssize_t(result.size());
        _exit(written ? 0 : 1);  // no test framework teardown in the child
    }
    close(ends[1]);
    std::string result;
    char chunk[256];
    for (ssize_t n; (n = read(ends[0], chunk, sizeof chunk)) > 0;) result.append(chunk, size_t(n));
    close(ends[0]);
    int status = -1;
    if (child > 0) waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? result : "died";
}

RusLocale::RusLocale() {
    const std::string target = dir_.path() + "rus";
    const int status =
        std::system(("localedef -c -i ru_RU -f CP1251 '" + target + "' >/dev/null 2>&1").c_str());
    struct stat info;
    if (stat((target + "/LC_CTYPE").c_str(), &info) != 0)
        failure_ = "localedef could not build ru_RU.CP1251 (" +
                   (WIFEXITED(status) ? "exit status " + std::to_string(WEXITSTATUS(status))
                                      : std::string("no localedef")) +
                   "); the package 'locales' provides its sources";
}
