#include "common/Readable.h"

#include "wire/RegisterText.h"

namespace readable {

std::string toUtf8(const std::string& text) {
    namespace rt = wire::text;
    std::string out;
    out.reserve(text.size() * 2);
    for (std::string::size_type at = 0; at < text.size();) {
        if (static_cast<unsigned char>(text[at]) < 0x80) {
            out += text[at++];
            continue;
        }
        std::string::size_type end = at;
        bool high = false;  // a byte from 0xC0 on
        for (; end < text.size() && static_cast<unsigned char>(text[end]) >= 0x80; ++end)
            high = high || static_cast<unsigned char>(text[end]) >= 0xC0;
        const std::string run = text.substr(at, end - at);
        if (rt::isUtf8(run)) {
            out += run;
        } else {
            for (const char c : run) {
                const unsigned char byte = static_cast<unsigned char>(c);
                rt::appendUtf8(out, high ? rt::fromApplication(byte) : rt::fromOneWay(byte));
            }
        }
        at = end;
    }
    return out;
}

}  // namespace readable
