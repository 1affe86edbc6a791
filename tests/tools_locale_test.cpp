// The conversions that need the "rus" locale, and the dates. Each check runs
// in a child process with its own LOCPATH or time zone.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <sstream>

#include "support/ChildRun.h"
#include "tools/stdTools.h"

namespace {

// The elements of a wide text as numbers, for comparing in the parent.
std::string codes(const std::wstring& text) {
    std::ostringstream out;
    for (wchar_t c : text) out << std::hex << static_cast<long long>(c) << ' ';
    return out.str();
}

std::string withLocPath(const std::string& path, std::string (*body)()) {
    return runInChild([&path, body] {
        setenv("LOCPATH", path.c_str(), 1);
        return body();
    });
}

TEST(ToolsLocale, WithoutARusLocaleTheWideConversionsThrow) {
    TempDir empty;  // a locale path that holds nothing
    const struct {
        const char* name;
        std::string (*body)();
    } calls[] = {
        {"IntToStdWStr", [] { return codes(IntToStdWStr(5)); }},
        {"getWStrDate", [] { return codes(getWStrDate()); }},
        {"fromWString<int>", [] { return std::to_string(fromWString<int>(L"5")); }},
    };
    for (const auto& call : calls)
        EXPECT_EQ(withLocPath(empty.path(), call.body).rfind("runtime_error: ", 0), 0u)
            << call.name;
}

TEST(ToolsLocale, WithARusLocaleTheWideConversionsWork) {
    static const RusLocale rus;
    if (!rus.built()) GTEST_SKIP() << rus.failure();
    EXPECT_EQ(withLocPath(rus.path(), [] { return codes(IntToStdWStr(-42)); }), codes(L"-42"));
    EXPECT_EQ(withLocPath(rus.path(), [] { return std::to_string(fromWString<int>(L" 17x")); }),
              "17");
    // Narrowing in "rus" knows the Cyrillic letters, so А is no digit.
    EXPECT_EQ(withLocPath(rus.path(),
                          [] {
                              return std::to_string(
                                  fromWString<int>(L"\x0410"
                                                   L"5"));
                          }),
              "0");
    EXPECT_EQ(withLocPath(rus.path(),
                          [] {
                              const std::string before = getStrDate();
                              const std::wstring wide = getWStrDate();
                              const std::string after = getStrDate();
                              const std::string got = ws2s(wide);
                              return got == before || got == after ? "same" : got + " " + before;
                          }),
              "same");
    // The locale is CP1251, as the application's text.
    EXPECT_EQ(withLocPath(rus.path(),
                          [] {
                              const std::locale rusLocale("rus");
                              return codes(StringToWString("\xC0\xFF", rusLocale)) + "/" +
                                     WStringToString(L"\x0410\x2116", rusLocale);
                          }),
              codes(L"\x0410\x044F") + "/\xC0\xB9");
}

// getDateTime and getStrDate against strftime of the same second, in time
// zones that between them bring every hour of the day.
TEST(ToolsLocale, DatesAreZeroFilledLocalTime) {
    const std::string mismatches = runInChild([] {
        std::string found;
        for (int offset = -12; offset < 12; ++offset) {
            setenv("TZ", ("UTC" + std::to_string(offset)).c_str(), 1);
            tzset();
            std::time_t before;
            std::string dateTime, date;
            do {  // again when a second passed during the calls
                before = std::time(nullptr);
                dateTime = getDateTime();
                date = getStrDate();
            } while (std::time(nullptr) != before);
            char want[32], wantDate[16];
            std::strftime(want, sizeof want, "%d.%m.%Y %H:%M:%S", std::localtime(&before));
            std::strftime(wantDate, sizeof wantDate, "%d%m%Y", std::localtime(&before));
            if (dateTime != want || date != wantDate)
                found += dateTime + " " + date + " expected " + want + " " + wantDate + "\n";
        }
        return found;
    });
    EXPECT_EQ(mismatches, "");
}

}  // namespace
