#include "cli/Format.h"

#include <algorithm>
#include <cstdio>

#include "wire/RegisterText.h"

namespace cli {

std::string shown(std::string utf8) {
    for (char& c : utf8)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    return utf8;
}

std::string shownByte(char byte) {
    return shown(wire::text::cp866ToUtf8(std::string(1, byte)));
}

std::string money(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

std::string quantity(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", value);
    std::string s = text;
    s.erase(s.find_last_not_of('0') + 1);
    if (!s.empty() && s.back() == '.') s.pop_back();
    return s;
}

namespace {

std::string padded(const std::string& text, size_t columns, bool right) {
    const size_t have = wire::text::characters(text);
    const std::string fill(columns > have ? columns - have : 0, ' ');
    return right ? fill + text : text + fill;
}

bool isNumber(const std::string& text) {
    return text.find_first_not_of("0123456789.-") == std::string::npos;
}

}  // namespace

void printPairs(std::ostream& out, const Pairs& pairs) {
    size_t columns = 0;
    for (const auto& pair : pairs) columns = std::max(columns, wire::text::characters(pair.first));
    for (const auto& pair : pairs)
        out << padded(pair.first, columns, false) << "  " << pair.second << '\n';
}

void printGrid(std::ostream& out, const std::vector<std::vector<std::string>>& rows) {
    std::vector<size_t> columns;
    std::vector<bool> numeric;
    for (size_t r = 0; r < rows.size(); ++r) {
        columns.resize(std::max(columns.size(), rows[r].size()), 0);
        numeric.resize(columns.size(), true);
        for (size_t c = 0; c < rows[r].size(); ++c) {
            columns[c] = std::max(columns[c], wire::text::characters(rows[r][c]));
            if (r > 0 && !isNumber(rows[r][c])) numeric[c] = false;
        }
    }
    for (const auto& row : rows) {
        std::string line;
        for (size_t c = 0; c < row.size(); ++c)
            line += (c == 0 ? "" : "  ") + padded(row[c], columns[c], numeric[c]);
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    }
}

}  // namespace cli
