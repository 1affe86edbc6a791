/* The C interface as a C program uses it, against the simulated register.
   Usage: capi_test CASE, one of the cases at the end. */

#define _POSIX_C_SOURCE 200809L

#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "capi/verda.h"
#include "registers.h"

static int failures = 0;

#define CHECK(condition)                                                            \
    do {                                                                            \
        if (!(condition)) {                                                         \
            fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #condition); \
            ++failures;                                                             \
        }                                                                           \
    } while (0)

/* An int result and the one expected, both shown when they differ. */
#define CHECK_CODE(expression, expected)                                                         \
    do {                                                                                         \
        const int got_ = (expression);                                                           \
        if (got_ != (expected)) {                                                                \
            fprintf(stderr, "%s:%d: %s gave %d (%s), not %d\n", __FILE__, __LINE__, #expression, \
                    got_, verda_error_text(got_), (int)(expected));                              \
            ++failures;                                                                          \
        }                                                                                        \
    } while (0)

#define CHECK_TEXT(actual, expected)                                                          \
    do {                                                                                      \
        if (strcmp((actual), (expected)) != 0) {                                              \
            fprintf(stderr, "%s:%d: %s is \"%s\", not \"%s\"\n", __FILE__, __LINE__, #actual, \
                    (actual), (expected));                                                    \
            ++failures;                                                                       \
        }                                                                                     \
    } while (0)

/* A handle connected to r over TCP by the name "localhost". */
static verda_device* connect_tcp(const test_register* r) {
    verda_device* d = verda_device_new();
    CHECK(d != NULL);
    CHECK_CODE(verda_set_timeout(d, 500), VERDA_OK);
    CHECK_CODE(verda_open_socket(d, "localhost", test_register_port(r)), VERDA_OK);
    return d;
}

/* Opens a receipt, sells one line of price x 1, pays it in cash and closes
   it; gives the document number of the receipt. */
static int sell(verda_device* d, const char* name, double price) {
    int slip = 0, doc = 0, shift = 0, fd = 0, closing_doc = 0, closing_shift = 0;
    char status = 0, sign[32];
    double rest = 0;
    CHECK_CODE(
        verda_OpenFiscalInv(d, 1, "1", 1, VERDA_RECEIPT_SALE, "", "", "", "", &slip, &doc, &shift),
        VERDA_OK);
    CHECK_CODE(verda_RegisterSale(d, name, VERDA_TAX_GROUP_1, price, 1, 0, 1, VERDA_DISCOUNT_NONE,
                                  0, 0, 0, 0, 0, &slip),
               VERDA_OK);
    CHECK_CODE(verda_Total(d, VERDA_PAYMENT_CASH, price, '1', &status, &rest, &slip), VERDA_OK);
    CHECK_CODE(verda_CloseFiscalInv(d, &slip, &fd, sign, sizeof sign, &closing_doc, &closing_shift),
               VERDA_OK);
    CHECK(sign[0] != '\0');
    return doc;
}

/* A whole shift: identity, opening, a receipt with Cyrillic both ways, the
   Z report with its figures, and the handle's own log. */
static void whole_shift(void) {
    test_register* r = test_register_tcp();
    CHECK(r != NULL);
    verda_device* d = connect_tcp(r);
    const char* logs = test_temp_dir();
    CHECK_CODE(verda_set_log_dir(d, logs), VERDA_OK);
    CHECK_CODE(verda_PrinterInit(d), VERDA_OK);

    char name[64], revision[16], date[16], time_[16], sum[16], sw[16], number[16];
    CHECK_CODE(verda_DiagnosticInfo(d, name, sizeof name, revision, sizeof revision, date,
                                    sizeof date, time_, sizeof time_, sum, sizeof sum, sw,
                                    sizeof sw, number, sizeof number),
               VERDA_OK);
    CHECK_TEXT(name, "ВЕРДА 35V-Ф"); /* the one-way form, restored */
    CHECK_TEXT(revision, "944124");

    int fd = 0, sign = 0, shift = 0;
    CHECK_CODE(verda_OpenShift(d, 1, "1", 1, "", "", "Ёлкина А.А.", "", &fd, &sign, &shift),
               VERDA_OK);
    CHECK(shift == 1 && fd > 0);

    char department[64] = "";
    CHECK_CODE(verda_Programming(d, "Dept_name", "0", department, sizeof department), VERDA_OK);
    CHECK_TEXT(department, "Отдел 1");
    CHECK_CODE(verda_DisplayUpper(d, "Итого: 45,50"), VERDA_OK); /* as-is: CP866 */

    const int doc = sell(d, "Хлеб ржаной", 45.5);
    CHECK(doc > 0);

    int items = 0, next_plu = 0, plu = 0, dep = 0, group = 0;
    char tax = 0, kind = 0, bars[4][32], article[64];
    double price = 0, values[3];
    CHECK_CODE(verda_PrgAndReadArticleP(d, 7, VERDA_TAX_GROUP_1, 1, 0, '0', 12.5, '0', 10, "", "",
                                        "", "", "Молоко", "шт", "", "", "", 0, 0),
               VERDA_OK);
    CHECK_CODE(verda_PrgAndReadArticleR(d, 7, &tax, &dep, &group, &kind, &price, &values[0],
                                        &values[1], &values[2], bars[0], 32, bars[1], 32, bars[2],
                                        32, bars[3], 32, article, sizeof article, bars[0], 32,
                                        bars[1], 32, bars[2], 32, bars[3], 32, &items, &next_plu),
               VERDA_OK);
    CHECK_TEXT(article, "Молоко"); /* fromDOStoASCII, restored */
    plu = 0;
    CHECK_CODE(verda_PrgAndReadArticleF(d, &plu, &tax, &dep, &group, &kind, &price, &values[0],
                                        &values[1], &values[2], bars[0], 32, bars[1], 32, bars[2],
                                        32, bars[3], 32, article, sizeof article),
               VERDA_OK);
    CHECK(plu == 7 && price == 12.5);
    CHECK_TEXT(article, "Молоко"); /* as-is: CP866 */

    int report = 0, report_fd = 0, report_sign = 0;
    double figures[24];
    CHECK_CODE(verda_PrintReport(
                   d, 'Z', &report, &report_fd, &report_sign, &figures[0], &figures[1], &figures[2],
                   &figures[3], &figures[4], &figures[5], &figures[6], &figures[7], &figures[8],
                   &figures[9], &figures[10], &figures[11], &figures[12], &figures[13],
                   &figures[14], &figures[15], &figures[16], &figures[17], &figures[18],
                   &figures[19], &figures[20], &figures[21], &figures[22], &figures[23]),
               VERDA_OK);
    CHECK(report == 1 &&
          figures[0] + figures[1] + figures[2] + figures[3] + figures[4] + figures[5] == 45.5);
    bool open = true, old = true;
    int opened = 0;
    CHECK_CODE(verda_GetStatusShift(d, &open, &old, &opened), VERDA_OK);
    CHECK(!open);

    const char* log = test_file_text(logs, "CorteliaVERDA.log");
    CHECK(strstr(log, "Start OpenShift();") != NULL);
    CHECK(strstr(log, "PrintReport(Type=Z") != NULL);
    verda_device_free(d);
    test_register_stop(r);
}

/* Refusals: the register's error with its catalogue text, the error's text
   from the register, and a link that cannot be made or breaks. */
static void refusals(void) {
    test_register* r = test_register_tcp();
    verda_device* d = connect_tcp(r);
    int slip = 7, fd = 7, doc = 7, shift = 7;
    char sign[16] = "x";
    const int code = verda_CloseFiscalInv(d, &slip, &fd, sign, sizeof sign, &doc, &shift);
    CHECK(code > 100001);
    CHECK(slip == 0 && fd == 0 && sign[0] == '\0'); /* cleared by the member */
    CHECK(strncmp(verda_error_text(code), "Ошибка", strlen("Ошибка")) == 0);

    int ecode = -1;
    char message[256];
    CHECK_CODE(verda_ReadingError(d, code, &ecode, message, sizeof message), VERDA_OK);
    CHECK(ecode == code && message[0] != '\0');
    verda_device_free(d);
    test_register_stop(r);

    verda_device* nowhere = verda_device_new();
    CHECK_CODE(verda_open_socket(nowhere, "no-such-host.invalid", 4999), VERDA_UNKNOWN_HOST);
    CHECK_CODE(verda_open_socket(nowhere, "127.0.0.1", test_dead_port()), VERDA_OPEN_FAILED);
    CHECK_CODE(verda_CheckConnection(nowhere), VERDA_EXCHANGE_FAILED);
    /* Without a register, the text comes from the catalogue. */
    CHECK_CODE(verda_ReadingError(nowhere, 100003, &ecode, message, sizeof message),
               VERDA_EXCHANGE_FAILED);
    CHECK_TEXT(message, "Конец данных");
    CHECK_CODE(verda_open_serial(nowhere, "/nonexistent/tty", 115200), VERDA_OPEN_FAILED);
    verda_device_free(nowhere);

    test_register* broken = test_register_short_frames();
    verda_device* b = connect_tcp(broken);
    CHECK_CODE(verda_CheckConnection(b), VERDA_REPLY_TOO_SHORT);
    verda_device_free(b);
    test_register_stop(broken);
}

/* Bad input is refused before anything is sent; a small buffer cuts a text
   and leaves the other outputs set. */
static void bad_input(void) {
    test_register* r = test_register_tcp();
    verda_device* d = connect_tcp(r);
    int slip = 0, doc = 0, shift = 0, number = 0, items = -1;
    char open = 0;
    double amount = 0, paid = 0;
    CHECK_CODE(verda_OpenShift(d, 1, "1", 1, "", "", "", "", &number, &doc, &shift), VERDA_OK);
    CHECK_CODE(
        verda_OpenFiscalInv(d, 1, "1", 1, VERDA_RECEIPT_SALE, "", "", "", "", &slip, &doc, &shift),
        VERDA_OK);

    static const struct {
        const char* name; /* a sale's name */
        int code;
    } names[] = {
        {"\xD0", VERDA_INVALID_UTF8},             /* cut sequence */
        {"\xC0\xAF", VERDA_INVALID_UTF8},         /* overlong "/" */
        {"\xED\xA0\x80", VERDA_INVALID_UTF8},     /* surrogate */
        {"Цена 5 €", VERDA_NOT_IN_CODE_PAGE},     /* no place in CP1251's letters */
        {"№ 5", VERDA_NOT_IN_CODE_PAGE},          /* converted to a blank by the register */
        {"Хлеб\tржаной", VERDA_NOT_IN_CODE_PAGE}, /* a tab would split the request */
        {"a\nb", VERDA_NOT_IN_CODE_PAGE},
    };
    for (size_t i = 0; i < sizeof names / sizeof names[0]; ++i)
        CHECK_CODE(verda_RegisterSale(d, names[i].name, VERDA_TAX_GROUP_1, 1, 1, 0, 1,
                                      VERDA_DISCOUNT_NONE, 0, 0, 0, 0, 0, &slip),
                   names[i].code);
    /* An as-is text carries what CP866 has, № too, but no emoji. */
    CHECK_CODE(verda_DisplayLower(d, "№ 5 ░"), VERDA_OK);
    CHECK_CODE(verda_DisplayLower(d, "🙂"), VERDA_NOT_IN_CODE_PAGE);

    CHECK_CODE(verda_CheckConnection(NULL), VERDA_NULL_ARGUMENT);
    CHECK_CODE(verda_RegisterSale(d, NULL, VERDA_TAX_GROUP_1, 1, 1, 0, 1, VERDA_DISCOUNT_NONE, 0, 0,
                                  0, 0, 0, &slip),
               VERDA_NULL_ARGUMENT);
    CHECK_CODE(verda_RegisterSale(d, "Хлеб", VERDA_TAX_GROUP_1, 1, 1, 0, 1, VERDA_DISCOUNT_NONE, 0,
                                  0, 0, 0, 0, NULL),
               VERDA_NULL_ARGUMENT);
    CHECK_CODE(verda_GetDateTime(d, NULL, 10), VERDA_NULL_ARGUMENT);
    CHECK_CODE(verda_open_socket(d, NULL, 1), VERDA_NULL_ARGUMENT);
    CHECK_CODE(verda_open_socket(d, "127.0.0.1", 70000), VERDA_INVALID_ARGUMENT);
    CHECK_CODE(verda_set_timeout(d, -1), VERDA_INVALID_ARGUMENT);
    CHECK_CODE(verda_set_timeout(d, 2560), VERDA_INVALID_ARGUMENT); /* beyond any link */
    CHECK_CODE(verda_set_log_dir(d, "/nonexistent/folder"), VERDA_INVALID_ARGUMENT);

    /* Nothing of the above reached the register: the receipt has no line. */
    CHECK_CODE(verda_FiscalTransactionsStatus(d, &open, &number, &items, &amount, &paid), VERDA_OK);
    CHECK(items == 0 && open == VERDA_DOCUMENT_RECEIPT);

    /* "ВЕРДА 35V-Ф" does not fit 8 bytes: "ВЕР" and its NUL, uncut letters. */
    char name[8], revision[16], date[16], time_[16], sum[16], sw[16], serial[4];
    CHECK_CODE(verda_DiagnosticInfo(d, name, sizeof name, revision, sizeof revision, date,
                                    sizeof date, time_, sizeof time_, sum, sizeof sum, sw,
                                    sizeof sw, serial, sizeof serial),
               VERDA_BUFFER_TOO_SMALL);
    CHECK_TEXT(name, "ВЕР");
    CHECK_TEXT(revision, "944124");
    CHECK_TEXT(serial, "000");

    verda_device_free(d);
    verda_device_free(NULL);
    test_register_stop(r);
}

/* Any operation by name, from the description of its parameters. */
static void by_name(void) {
    test_register* r = test_register_tcp();
    verda_device* d = connect_tcp(r);
    const verda_operation* op = verda_find_operation("GetStatusShift");
    CHECK(op != NULL && op->parameter_count == 3);
    CHECK(op->command_number == 0x4B);
    CHECK(op->parameters[2].type == VERDA_TYPE_INT && op->parameters[2].direction == VERDA_OUT);
    CHECK(verda_find_operation("NoSuchOperation") == NULL);
    size_t found = 0;
    for (size_t i = 0; i < verda_operation_count(); ++i)
        if (strcmp(verda_operation_at(i)->name, "OpenShift") == 0) ++found;
    CHECK(found == 1 && verda_operation_at(verda_operation_count()) == NULL);

    verda_value shift[11];
    memset(shift, 0, sizeof shift);
    char password[] = "1", empty[] = "", cashier[] = "Петров";
    shift[0].integer = 1;
    shift[1].text = password;
    shift[2].integer = 1;
    shift[3].text = shift[4].text = shift[6].text = empty;
    shift[5].text = cashier;
    CHECK_CODE(verda_call(d, "OpenShift", shift, 10), VERDA_OK);
    CHECK(shift[9].integer == 1); /* nShift */

    char value[64] = "";
    verda_value programming[3];
    memset(programming, 0, sizeof programming);
    char parameter[] = "Dept_name", index[] = "1";
    programming[0].text = parameter;
    programming[1].text = index;
    programming[2].text = value;
    programming[2].text_size = sizeof value;
    CHECK_CODE(verda_call(d, "Programming", programming, 3), VERDA_OK);
    CHECK_TEXT(value, "Отдел 2");

    verda_value status[3];
    memset(status, 0, sizeof status);
    CHECK_CODE(verda_call(d, "GetStatusShift", status, 3), VERDA_OK);
    CHECK(status[0].integer == 1); /* ShiftIsOpen */

    verda_value beep[2];
    memset(beep, 0, sizeof beep);
    beep[0].integer = 1LL << 40;
    CHECK_CODE(verda_call(d, "Beep", beep, 2), VERDA_INVALID_ARGUMENT);
    CHECK_CODE(verda_call(d, "Beep", beep, 3), VERDA_INVALID_ARGUMENT);
    CHECK_CODE(verda_call(d, "Boop", beep, 2), VERDA_UNKNOWN_OPERATION);
    verda_device_free(d);
    test_register_stop(r);
}

/* Two registers driven from two threads at once, and two threads sharing
   a third handle. */
struct worker {
    verda_device* d;
    int receipts;
    int first_doc, last_doc;
    int failures_seen;
};

static void* sell_receipts(void* argument) {
    struct worker* w = (struct worker*)argument;
    for (int i = 0; i < w->receipts; ++i) {
        const int doc = sell(w->d, "Товар", 10 + i);
        if (i == 0) w->first_doc = doc;
        w->last_doc = doc;
    }
    return NULL;
}

static void* ask_often(void* argument) {
    struct worker* w = (struct worker*)argument;
    char clock[32];
    for (int i = 0; i < w->receipts; ++i)
        if (verda_CheckConnection(w->d) != VERDA_OK ||
            verda_GetDateTime(w->d, clock, sizeof clock) != VERDA_OK)
            ++w->failures_seen;
    return NULL;
}

static void two_registers(void) {
    enum { receipts = 8 };
    test_register* registers[2] = {test_register_tcp(), test_register_tcp()};
    struct worker workers[2];
    pthread_t threads[2];
    int fd = 0, sign = 0, shift = 0;
    for (int i = 0; i < 2; ++i) {
        workers[i] = (struct worker){connect_tcp(registers[i]), receipts, 0, 0, 0};
        CHECK_CODE(verda_OpenShift(workers[i].d, 1, "1", 1, "", "", "", "", &fd, &sign, &shift),
                   VERDA_OK);
    }
    for (int i = 0; i < 2; ++i)
        CHECK(pthread_create(&threads[i], NULL, sell_receipts, &workers[i]) == 0);
    for (int i = 0; i < 2; ++i) pthread_join(threads[i], NULL);
    for (int i = 0; i < 2; ++i) {
        /* Each register counted its own receipts, one document each. */
        CHECK(workers[i].last_doc - workers[i].first_doc == receipts - 1);
        verda_device_free(workers[i].d);
    }

    verda_device* shared = connect_tcp(registers[0]);
    struct worker askers[2] = {{shared, 50, 0, 0, 0}, {shared, 50, 0, 0, 0}};
    for (int i = 0; i < 2; ++i)
        CHECK(pthread_create(&threads[i], NULL, ask_often, &askers[i]) == 0);
    for (int i = 0; i < 2; ++i) pthread_join(threads[i], NULL);
    CHECK(askers[0].failures_seen == 0 && askers[1].failures_seen == 0);
    verda_device_free(shared);
    for (int i = 0; i < 2; ++i) test_register_stop(registers[i]);
}

/* A serial line: the pseudo-terminal of the simulator, and the process's
   standard input left alone. */
static void serial_line(void) {
    test_register* r = test_register_pty();
    CHECK(r != NULL);
    if (fcntl(0, F_GETFD) == -1) open("/dev/null", O_RDONLY); /* something at descriptor 0 */
    const int stdin_flags = fcntl(0, F_GETFD);
    verda_device* d = verda_device_new();
    CHECK_CODE(verda_set_timeout(d, 50), VERDA_OK);
    CHECK_CODE(verda_open_serial(d, test_register_path(r), 115200), VERDA_OK);
    CHECK(fcntl(0, F_GETFD) == stdin_flags);
    CHECK_CODE(verda_CheckConnection(d), VERDA_OK);
    unsigned long long sent = 0, repeated = 9, naks = 9;
    CHECK_CODE(verda_link_counters(d, &sent, &repeated, &naks), VERDA_OK);
    CHECK(sent == 1 && repeated == 0 && naks == 0);
    CHECK_CODE(verda_close(d), VERDA_OK);
    CHECK_CODE(verda_CheckConnection(d), VERDA_EXCHANGE_FAILED);
    verda_device_free(d);
    test_register_stop(r);
}

int main(int argc, char** argv) {
    static const struct {
        const char* name;
        void (*run)(void);
    } cases[] = {
        {"whole_shift", whole_shift},     {"refusals", refusals},
        {"bad_input", bad_input},         {"by_name", by_name},
        {"two_registers", two_registers}, {"serial_line", serial_line},
    };
    for (size_t i = 0; argc == 2 && i < sizeof cases / sizeof cases[0]; ++i) {
        if (strcmp(argv[1], cases[i].name) == 0) {
            cases[i].run();
            if (failures > 0) fprintf(stderr, "%s: %d failed\n", argv[1], failures);
            return failures > 0 ? 1 : 0;
        }
    }
    fprintf(stderr, "usage: capi_test CASE\n");
    return 2;
}
