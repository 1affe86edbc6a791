// Text between UTF-8 at the C interface and the forms the members take and
// give (capi/operations.txt names the form of each parameter).

#include <cstring>
#include <string>

#include "capi/Wrapper.h"
#include "wire/Frame.h"
#include "wire/RegisterText.h"

// A reply's data is at most what its 16-bit length word leaves beside the
// header; a CP866 byte is at most three bytes of UTF-8.
static_assert(VERDA_TEXT_MAX == 3 * (0xFFFF - wire::kReplyLengthBias) + 1,
              "VERDA_TEXT_MAX holds the longest reply field in UTF-8");

namespace capi {

int toMember(const char* given, Form form, std::string& text) {
    const std::string input(given);
    const wire::text::Verdict verdict = form == Form::FromASCIItoDOS
                                            ? wire::text::toApplication(input, text)
                                            : wire::text::toCp866(input, text);
    // Invalid UTF-8 anywhere outweighs a character out of place.
    if (!verdict.utf8) return VERDA_INVALID_UTF8;
    if (!verdict.ok()) return VERDA_NOT_IN_CODE_PAGE;
    return VERDA_OK;
}

std::string fromMember(const std::string& text, Form form) {
    return form == Form::FromDOStoASCII ? wire::text::oneWayToUtf8(text)
                                        : wire::text::cp866ToUtf8(text);
}

bool copyOut(const std::string& utf8, char* buffer, std::size_t size) {
    if (size == 0) return false;
    std::size_t length = utf8.size();
    const bool fits = length < size;
    if (!fits) {
        length = size - 1;
        // Back to the start of the character that would be split.
        while (length > 0 && (static_cast<unsigned char>(utf8[length]) & 0xC0) == 0x80) --length;
    }
    std::memcpy(buffer, utf8.data(), length);
    buffer[length] = '\0';
    return fits;
}

}  // namespace capi
