#ifndef VERDA_SIM_PAPER_H
#define VERDA_SIM_PAPER_H

// The register's printer: lines of CP866 text laid out at 32 or 48 columns
// and written to the paper stream as UTF-8.

#include <cstdio>
#include <string>
#include <vector>

namespace sim {

typedef std::vector<std::string> Lines;  // CP866

// Line layout at a fixed width. Inputs are CP866 (one byte a column).
class Layout {
  public:
    explicit Layout(int columns) : columns_(columns) {}
    int columns() const { return columns_; }
    std::string left(const std::string& text) const;
    std::string center(const std::string& text) const;
    std::string right(const std::string& text) const;
    // left text and right text on one line; the left is cut to make room.
    std::string pair(const std::string& leftText, const std::string& rightText) const;
    std::string rule(char c) const { return std::string(columns_, c); }
    // A long text over as many lines as it needs.
    Lines wrap(const std::string& text) const;

  private:
    int columns_;
};

// UTF-8 literal to CP866, for the register's own texts.
std::string dev(const char* utf8);

// Lines are held until flush(): the simulator writes its memory first, so
// that a simulator killed at any moment never shows on paper a document
// that it then forgets.
class Paper {
  public:
    // out is not owned; null prints nothing.
    explicit Paper(std::FILE* out) : out_(out) {}
    void print(const Lines& lines);
    // Writes what print() holds.
    void flush();
    // Drops what print() holds: a refused command leaves no trace.
    void discard() { held_.clear(); }

  private:
    std::FILE* out_;
    std::string held_;  // UTF-8
};

}  // namespace sim

#endif
