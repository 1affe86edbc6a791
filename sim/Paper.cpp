#include "sim/Paper.h"

#include "sim/Formats.h"
#include "wire/RegisterText.h"

namespace sim {

std::string Layout::left(const std::string& text) const {
    return text.substr(0, columns_);
}

std::string Layout::center(const std::string& text) const {
    const std::string cut = left(text);
    return std::string((columns_ - cut.size()) / 2, ' ') + cut;
}

std::string Layout::right(const std::string& text) const {
    const std::string cut = left(text);
    return std::string(columns_ - cut.size(), ' ') + cut;
}

std::string Layout::pair(const std::string& leftText, const std::string& rightText) const {
    const std::string r = left(rightText);
    const std::string::size_type room = columns_ - r.size();
    std::string l = leftText.substr(0, room > 0 ? room - 1 : 0);
    return l + std::string(room - l.size(), ' ') + r;
}

Lines Layout::wrap(const std::string& text) const {
    Lines lines;
    for (std::string::size_type at = 0; at < text.size(); at += columns_)
        lines.push_back(text.substr(at, columns_));
    if (lines.empty()) lines.push_back(std::string());
    return lines;
}

std::string dev(const char* utf8) {
    return wire::text::utf8ToCp866(utf8);
}

void Paper::print(const Lines& lines) {
    if (out_ == nullptr) return;
    for (const std::string& line : lines) held_ += wire::text::cp866ToUtf8(line) + "\n";
}

void Paper::flush() {
    if (out_ == nullptr || held_.empty()) return;
    std::fwrite(held_.data(), 1, held_.size(), out_);
    std::fflush(out_);
    held_.clear();
}

}  // namespace sim
