#ifndef VERDA_CLI_FORMAT_H
#define VERDA_CLI_FORMAT_H

// The tool's output: plain aligned text that reads well and cuts well with
// awk. Labels and values are UTF-8.

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace cli {

// Text from the register, UTF-8, as the terminal may show it: control
// characters, which would steer it, become "?".
std::string shown(std::string utf8);
// One byte of the register's code page, as shown shows it.
std::string shownByte(char byte);

// An amount at two decimals.
std::string money(double value);
// A quantity at up to three decimals, without trailing zeros.
std::string quantity(double value);

using Pairs = std::vector<std::pair<std::string, std::string>>;

// "label   value" lines, the values in one column.
void printPairs(std::ostream& out, const Pairs& pairs);

// A table: the first row is the header. Columns of numbers are aligned to
// the right, the others to the left.
void printGrid(std::ostream& out, const std::vector<std::vector<std::string>>& rows);

}  // namespace cli

#endif
