#include "support/CliRun.h"

#include <sstream>

#include "api/Globals.h"
#include "cli/Tool.h"
#include "device/VR35.h"

CliResult runCli(const std::vector<std::string>& args, const std::string& logDir) {
    std::ostringstream out, err;
    cli::Environment environment{out, err, false, nullptr, nullptr};
    environment.afterInit = [&] { vr35->homeDir = logDir; };
    CliResult result{0, "", ""};
    captureStdout([&] { result.code = cli::run(args, environment); });
    result.out = out.str();
    result.err = err.str();
    return result;
}
