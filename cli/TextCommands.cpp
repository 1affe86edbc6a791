// text: a service document of free lines.
#include "api/CorteliaVERDA.h"
#include "cli/Commands.h"
#include "cli/Format.h"

namespace cli {

namespace {

// The library cuts a line at 32 bytes for every model this tool meets, so
// longer lines are wrapped here, at a blank where there is one.
const size_t kColumns = 32;

std::vector<std::string> wrap(const std::string& text) {
    std::vector<std::string> lines;
    std::string rest = text;
    while (rest.size() > kColumns) {
        size_t cut = rest.rfind(' ', kColumns);
        if (cut == std::string::npos || cut == 0) cut = kColumns;
        lines.push_back(rest.substr(0, cut));
        rest.erase(0, cut);
        if (!rest.empty() && rest[0] == ' ') rest.erase(0, 1);
    }
    lines.push_back(rest);
    return lines;
}

void runText(Session& session, const CommandLine& line) {
    if (line.operands().empty()) throw UsageError("no lines");
    // The register's format bytes: "1" sets bold or double height; alignment
    // "0" left, "1" centre, "2" right.
    const char bold = line.has("--bold") ? '1' : '0';
    const char tall = line.has("--double") ? '1' : '0';
    const char alignment = line.has("--center") ? '1' : line.has("--right") ? '2' : '0';
    if (line.has("--center") && line.has("--right"))
        throw UsageError("give --center or --right, not both");
    std::vector<std::string> lines;
    for (const std::string& arg : line.operands())
        for (const std::string& one : wrap(toText(arg, "line"))) lines.push_back(one);

    session.connect();
    int slip = 0;
    session.check(VERDA::OpenServiceInv('0', slip), "OpenServiceInv");
    try {
        for (const std::string& one : lines)
            session.check(
                VERDA::PrintFreeTextInServiceInv(one, bold, '0', tall, '0', alignment, '0'),
                "PrintFreeTextInServiceInv");
    } catch (const Failure& failure) {
        // The document is closed, so that the register is free again.
        if (failure.code != kNoAnswer) VERDA::CloseServiceInv(slip);
        throw;
    }
    session.check(VERDA::CloseServiceInv(slip), "CloseServiceInv");
    session.out() << "document " << slip << " printed, " << lines.size() << " lines\n";
}

}  // namespace

void addTextCommands(std::vector<Command>& table) {
    table.push_back({"text",
                     "print a service document of free text",
                     "Usage: verda ... text [OPTIONS] LINE...\n"
                     "Prints a non-fiscal document with the given lines; a line longer than\n"
                     "the paper is wrapped.\n"
                     "\n"
                     "Options:\n"
                     "  --bold      bold letters\n"
                     "  --double    double height\n"
                     "  --center    centred lines\n"
                     "  --right     lines to the right\n",
                     {"--bold", "--double", "--center", "--right"},
                     {},
                     runText});
}

}  // namespace cli
