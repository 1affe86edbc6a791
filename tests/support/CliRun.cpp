#include "support/CliRun.h"

#include <sstream>

#include "cli/Tool.h"

CliResult runCli(const std::vector<std::string>& args, const std::string& logDir) {
    std::ostringstream out, err;
    cli::Environment environment{out, err, false, nullptr, logDir};
    CliResult result{0, "", ""};
    captureStdout([&] { result.code = cli::run(args, environment); });
    result.out = out.str();
    result.err = err.str();
    return result;
}
