// The error catalogue and ReadingError, which falls back on it.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "wire/ErrorCatalogue.h"
#include "device/VR35.h"
#include "support/TestLog.h"

namespace {

// The codes with a row, as ranges of consecutive codes.
const std::vector<std::pair<int, int>> kCodeRanges = {
    {100001, 100006}, {100100, 100116}, {100400, 100413}, {100500, 100509}, {101000, 101001},
    {101003, 101013}, {102000, 102008}, {103000, 103004}, {104000, 104004}, {105000, 105011},
    {110100, 110111}, {110200, 110222}, {110300, 110301}, {110400, 110402}, {110500, 110511},
    {110601, 110601}, {110700, 110706}, {110900, 110909}, {110916, 110923}, {110932, 110932},
    {110960, 110962}, {110971, 110976}, {110979, 110979}, {111000, 111036}, {111040, 111074},
    {111080, 111080}, {112000, 112008},
};

TEST(ErrorCatalogue, HoldsExactlyTheKnownCodes) {
    std::vector<int> expected;
    for (const auto& range : kCodeRanges)
        for (int code = range.first; code <= range.second; ++code) expected.push_back(code);
    ASSERT_EQ(expected.size(), 262u);

    std::vector<int> present;
    for (int code = 0; code < 200000; ++code) {
        const char* text = errorText(code);
        if (text == nullptr) continue;
        present.push_back(code);
        EXPECT_NE(std::string(text), "") << code;
    }
    EXPECT_EQ(present, expected);
    for (int code : {-100001, -1, 100000, 100050, 101002, 112009, 2147483647, -2147483647 - 1})
        EXPECT_EQ(errorText(code), nullptr) << code;
}

TEST(ErrorCatalogue, TextsStandLetterForLetter) {
    const std::vector<std::pair<int, std::string>> samples = {
        {100001, "Ошибка ввода/вывода, устройство не отвечает"},
        {100003, "Конец данных"},
        {100401, "Ошибка принтера: Низкое напряжение ( 24V or 8V )"},
        {100406, "Ошибка принтера: Mark sensor - not used"},
        {101004, "Логическая ошибка: Неверный ввод. Переданные парамерты или данные некорректные"},
        {105008, "Ошибка ЭЖ: ЭЖ н не от этого устройства"},
        {105009, "Ошибка ЭЖ: ЭЖ почти заполенен"},
        {110213, "Ошибка сервера: Зарегестрирован"},
        {110400, "Ошибка соединеия: Ошибка инициализации подключения"},
        {110401, "Connection error: Неверные параметры"},
        {110511, "Ошибка модема: Failed lot days"},
        {110900, "Нет ошибок"},
        {111006, "Ошибка режима регистрации: Переполнение Цена*Количличество"},
        {111073, "Ошибка режима регистрации: Ошибка подкючения банковского терминала"},
    };
    for (const auto& sample : samples) {
        const char* text = errorText(sample.first);
        ASSERT_NE(text, nullptr) << sample.first;
        EXPECT_EQ(std::string(text), sample.second) << sample.first;
    }
    for (int code = 100408; code <= 100413; ++code)
        EXPECT_STREQ(errorText(code), "Ошибка принтера: Не используется") << code;
}

class ReadingError : public DriverTest {};

// The register's text wins; every way to get none ends in the catalogue,
// looked up by the code asked about, and a text the caller brought is kept.
TEST_P(ReadingError, TakesTheRegistersTextElseTheCatalogues) {
    struct Case {
        int code;
        std::string request, reply;
        const char* given;  // ErrorMessage passed in
        int result, ecode;
        std::string message;
    };
    const Case cases[] = {
        // "Конец" in the register's code page comes back in trail-byte form.
        {111003, "-111003\t", "0\t7\t\x8A\xAE\xAD\xA5\xE6\t", "", 0, 7, "\x9A\xBE\xBD\xB5\x86"},
        {111003, "-111003\t", "0\t7\t\t", "", 0, 7,
         "Ошибка режима регистрации: Операция невозможна"},
        {100004, "-100004\t", "0\t100003\t", "", 0, 100003, "Элемент не найден"},
        {101002, "-101002\t", "0\t3\t\t", "", 0, 3, ""},  // no row
        {0, "-0\t", "0\t0\t\t", "", 0, 0, ""},
        {100003, "-100003\t", "-5\t9\tignored\t", "", 5, 0, "Конец данных"},
        {100003, "-100003\t", "-5\t", "mine", 5, 0, "mine"},
        {100050, "-100050\t", "-5\t", "", 5, 0, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.code);
        device->replyAlways(c.reply);
        int ecode = 99;
        std::string message = c.given;
        EXPECT_EQ(VERDA::ReadingError(c.code, ecode, message), c.result == 0);
        EXPECT_EQ(g_ResultCode, c.result);
        EXPECT_EQ(ecode, c.ecode);
        EXPECT_EQ(message, c.message);
        EXPECT_EQ(device->requests().back().command, 0x64u);
        EXPECT_EQ(device->requests().back().data, c.request);
        const std::string error = c.result != 0 ? " ErrorCode: " + std::to_string(c.result) : "";
        const auto lines = log();
        EXPECT_EQ(lines.end()[-2], "Start ReadingError();");
        EXPECT_EQ(lines.back(), "ReadingError(ECode=" + std::to_string(c.ecode) +
                                    ",ErrorMessage=" + c.message + ");" + error);
    }
}

VERDA_BOTH_TRANSPORTS(ReadingError);

class ReadingErrorSilent : public DriverTest {};

TEST_P(ReadingErrorSilent, ExplainsTheCodeEvenWhenTheRegisterIsSilent) {
    int ecode = 99;
    std::string message;
    captureStdout([&] { EXPECT_FALSE(VERDA::ReadingError(100003, ecode, message)); });
    EXPECT_EQ(g_ResultCode, 100001);
    EXPECT_EQ(ecode, 0);
    EXPECT_EQ(message, "Конец данных");
    EXPECT_EQ(log().back(), "ReadingError(ECode=0,ErrorMessage=Конец данных); ErrorCode: 100001");
}

VERDA_TCP_ONLY(ReadingErrorSilent);

}  // namespace
