#ifndef VERDA_COMMON_HELP_H
#define VERDA_COMMON_HELP_H

// The --help of our programs: our own usage lines and explanation at the
// head, then CLI11's lists of arguments, options and commands, then the
// footer. Not part of the library and not installed.

#include <CLI/CLI.hpp>

#include <map>
#include <string>

namespace help {

class Formatter : public CLI::Formatter {
  public:
    Formatter() {
        label("Positionals", "Arguments");
        column_width(24);
    }
    // The head of app's help: "Usage: ..." lines and what it does.
    void head(const CLI::App* app, std::string text) { heads_[app] = std::move(text); }

    // With --help-all (CLI11's mode All), each command's help follows the
    // overview: what the man page shows.
    std::string make_help(const CLI::App* app, std::string,
                          CLI::AppFormatMode mode) const override {
        std::string out = body(app);
        if (mode == CLI::AppFormatMode::All)
            for (const CLI::App* command : app->get_subcommands({})) out += "\n\n" + body(command);
        const std::string footer = make_footer(app);
        return out + (footer.empty() ? "\n" : "\n\n" + footer);
    }

  private:
    // The head and the lists, without the footer or a final newline.
    std::string body(const CLI::App* app) const {
        const auto found = heads_.find(app);
        std::string out = found == heads_.end() ? std::string() : found->second;
        out += make_positionals(app);
        out += make_groups(app, CLI::AppFormatMode::Normal);
        out += make_subcommands(app, CLI::AppFormatMode::Normal);
        out.erase(out.find_last_not_of('\n') + 1);
        return out;
    }

    std::map<const CLI::App*, std::string> heads_;
};

// Arguments in the order CLI11 reads them (last first).
inline std::vector<std::string> reversed(const std::vector<std::string>& args) {
    return std::vector<std::string>(args.rbegin(), args.rend());
}

}  // namespace help

#endif
