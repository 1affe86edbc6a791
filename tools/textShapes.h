#ifndef VERDA_TOOLS_TEXTSHAPES_H
#define VERDA_TOOLS_TEXTSHAPES_H

// Shapes shared by the narrow and the wide string helpers. Internal to the
// library; not installed.

#include <sstream>
#include <string>

namespace text_shapes {

// Cuts text around a separator of length sepLength found at 'at': returns the
// part before it (before true) or after it, and leaves the other part in
// text. Without a separator (npos) the whole text is returned and text is
// left empty.
template <typename S>
S cutAt(S& text, typename S::size_type at, typename S::size_type sepLength, bool before) {
    S piece;
    if (at == S::npos) {
        piece.swap(text);
        return piece;
    }
    S head(text, 0, at);
    S tail(text, at + sepLength);
    if (before) {
        text.swap(tail);
        return head;
    }
    text.swap(head);
    return tail;
}

// The digits of text, and with keepMinus each "-" unless the kept text
// already begins with one.
template <typename S>
S keepDigits(const S& text, bool keepMinus) {
    S kept;
    for (typename S::value_type c : text) {
        const bool digit = c >= '0' && c <= '9';
        const bool minus = keepMinus && c == '-' && (kept.empty() || kept[0] != '-');
        if (digit || minus) kept += c;
    }
    return kept;
}

// Stream extraction of a T from text; a failed extraction gives 0.
template <typename T, typename S>
T extract(const S& text) {
    std::basic_istringstream<typename S::value_type> stream(text);
    T value = T();
    stream >> value;
    return value;
}

// Every occurrence of from replaced by to, left to right, going on behind
// each replacement. An empty from is found at the same place for ever: the
// callers decide what to do with it.
template <typename S>
void replaceEvery(S& text, const S& from, const S& to) {
    typename S::size_type at = 0;
    while ((at = text.find(from, at)) != S::npos) {
        text.replace(at, from.size(), to);
        at += to.size();
    }
}

// replaceEvery on a copy of text; from equal to to gives text at once.
template <typename S>
S replaced(S text, const S& from, const S& to) {
    if (from != to) replaceEvery(text, from, to);
    return text;
}

// One output element for each input element, at the same position; the
// length is kept, and a zero element is mapped like any other.
template <typename Out, typename In, typename Map>
Out mapEach(const In& text, Map map) {
    Out result(text.size(), typename Out::value_type());
    for (typename In::size_type i = 0; i < text.size(); ++i)
        result[i] = static_cast<typename Out::value_type>(map(text[i]));
    return result;
}

// A loop that runs for ever without an observable effect is undefined in
// C++. A loop that may repeat for ever (on input its callers must not pass)
// calls this on every turn: the volatile store keeps it an endless loop as
// written, instead of something the compiler may assume away.
inline volatile unsigned char loopTick;
inline void keepLooping() {
    loopTick = 0;
}

}  // namespace text_shapes

#endif
