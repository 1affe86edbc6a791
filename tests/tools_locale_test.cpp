// The conversions through the "rus" locale, and the dates. Each check runs in
// a child process with its own LOCPATH or time zone.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "support/ChildRun.h"
#include "tools/stdTools.h"

namespace {

// body in a child process whose locales are looked up in path.
std::string withLocPath(const std::string& path, std::string (*body)()) {
    return runInChild([&path, body] {
        setenv("LOCPATH", path.c_str(), 1);
        return body();
    });
}

TEST(ToolsLocale, WithoutARusLocaleTheWideConversionsThrow) {
    TempDir empty;  // a locale path that holds nothing
    std::string (*const calls[])() = {[] { return ws2s(IntToStdWStr(5)); },
                                      [] { return ws2s(getWStrDate()); },
                                      [] { return std::to_string(fromWString<int>(L"5")); }};
    for (auto call : calls) {
        const std::string result = withLocPath(empty.path(), call);
        EXPECT_EQ(result.rfind("runtime_error: ", 0), 0u) << result;
    }
}

TEST(ToolsLocale, WithARusLocaleTheWideConversionsWork) {
    const RusLocale rus;
    if (!rus.built()) GTEST_SKIP() << rus.failure();
    // CP1251 like the application's text: А is a letter, not a digit, and
    // № is 0xB9. Wide results come back as UTF-8. A date taken across
    // midnight would read "other date".
    EXPECT_EQ(withLocPath(rus.path(),
                          [] {
                              const std::locale rus("rus");
                              return convUTF16ToUTF8(IntToStdWStr(-42) + L"|" +
                                                     StringToWString("\xC0\xFF", rus)) +
                                     "|" + WStringToString(L"\x0410\x2116", rus) + "|" +
                                     std::to_string(fromWString<int>(L" 17x")) + "|" +
                                     std::to_string(fromWString<int>(L"\x0410"
                                                                     L"5")) +
                                     "|" +
                                     (ws2s(getWStrDate()) == getStrDate() ? "date" : "other date");
                          }),
              "-42|\xD0\x90\xD1\x8F|\xC0\xB9|17|0|date");
}

// getDateTime and getStrDate against strftime of the same second, in time
// zones that between them bring every hour of the day.
TEST(ToolsLocale, DatesAreZeroFilledLocalTime) {
    EXPECT_EQ(runInChild([] {
                  std::string found;
                  for (int offset = -12; offset < 12; ++offset) {
                      setenv("TZ", ("UTC" + std::to_string(offset)).c_str(), 1);
                      tzset();
                      std::time_t now;
                      std::string dateTime, date;
                      do {  // again when a second passed during the calls
                          now = std::time(nullptr);
                          dateTime = getDateTime() + " " + getStrDate();
                      } while (std::time(nullptr) != now);
                      char want[40];
                      std::strftime(want, sizeof want, "%d.%m.%Y %H:%M:%S %d%m%Y",
                                    std::localtime(&now));
                      if (dateTime != want) found += dateTime + " instead of " + want + "\n";
                  }
                  return found;
              }),
              "");
}

}  // namespace
