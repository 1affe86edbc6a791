// text: a service document of free lines.
#include "cli/Commands.h"
#include "cli/Format.h"
#include "wire/RegisterText.h"

namespace cli {

namespace {

// The library cuts a line at 32 bytes of the register's code page, one for
// each character, for every model this tool meets, so longer lines are
// wrapped here, at a blank where there is one.
const size_t kColumns = 32;

// The offset in utf8 of its character number count, or its end.
size_t offsetOf(const std::string& utf8, size_t count) {
    size_t at = 0;
    for (size_t n = 0; at < utf8.size() && n < count; ++n)
        for (++at; at < utf8.size() && (static_cast<unsigned char>(utf8[at]) & 0xC0) == 0x80;) ++at;
    return at;
}

std::vector<std::string> wrap(const std::string& text) {
    std::vector<std::string> lines;
    std::string rest = text;
    while (wire::text::characters(rest) > kColumns) {
        const size_t limit = offsetOf(rest, kColumns);
        size_t cut = rest.rfind(' ', limit);
        if (cut == std::string::npos || cut == 0) cut = limit;
        lines.push_back(rest.substr(0, cut));
        rest.erase(0, cut);
        if (!rest.empty() && rest[0] == ' ') rest.erase(0, 1);
    }
    lines.push_back(rest);
    return lines;
}

struct TextArgs {
    std::vector<std::string> lines;
    bool bold = false, tall = false, center = false, right = false;
};

void runText(Session& session, const TextArgs& args) {
    if (args.lines.empty()) throw UsageError("no lines");
    // The register's format bytes: "1" sets bold or double height; alignment
    // "0" left, "1" centre, "2" right.
    const char bold = args.bold ? '1' : '0';
    const char tall = args.tall ? '1' : '0';
    const char alignment = args.center ? '1' : args.right ? '2' : '0';
    if (args.center && args.right) throw UsageError("give --center or --right, not both");
    std::vector<std::string> lines;
    for (const std::string& arg : args.lines)
        for (const std::string& one : wrap(toText(arg, "line"))) lines.push_back(one);

    verda_device* d = session.connect();
    int slip = 0;
    session.check(verda_OpenServiceInv(d, '0', &slip), "OpenServiceInv");
    try {
        for (const std::string& one : lines)
            session.check(verda_PrintFreeTextInServiceInv(d, one.c_str(), bold, '0', tall, '0',
                                                          alignment, '0'),
                          "PrintFreeTextInServiceInv");
    } catch (const Failure& failure) {
        // The document is closed, so that the register is free again.
        if (failure.code != VERDA_EXCHANGE_FAILED) verda_CloseServiceInv(d, &slip);
        throw;
    }
    session.check(verda_CloseServiceInv(d, &slip), "CloseServiceInv");
    session.out() << "document " << slip << " printed, " << lines.size() << " lines\n";
}

}  // namespace

void addTextCommands(Commands& commands) {
    auto text = std::make_shared<TextArgs>();
    CLI::App& command =
        commands.add("text", "print a service document of free text",
                     "Usage: verda ... text [OPTIONS] LINE...\n"
                     "Prints a non-fiscal document with the given lines; a line longer than\n"
                     "the paper is wrapped.\n",
                     [text](Session& session) { runText(session, *text); });
    operands(command, text->lines);
    flag(command, "--bold", text->bold, "bold letters");
    flag(command, "--double", text->tall, "double height");
    flag(command, "--center", text->center, "centred lines");
    flag(command, "--right", text->right, "lines to the right");
}

}  // namespace cli
